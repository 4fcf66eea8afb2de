#pragma once

// Driving a real X11 desktop as a presenter would (xdotool for the pointer and the keys, xprop for what the
// window manager says) and reading what is on screen from the root window's pixels, whoever drew them.

#include "PanelPixels.h"
#include "Processes.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QProcess>
#include <QRect>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QTest>

#include <functional>

namespace desktop {

inline QString xdotool(const QStringList& arguments)
{
    return testsupport::runProgram(QStringLiteral("xdotool"), arguments);
}

/// The window the window manager calls active.
inline quint64 activeWindow()
{
    const QString out = testsupport::runProgram(
        QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_ACTIVE_WINDOW")});
    const auto match = QRegularExpression(QStringLiteral("0x[0-9a-f]+")).match(out);
    return match.hasMatch() ? match.captured().toULongLong(nullptr, 16) : 0;
}

/// The window that has the keyboard, as the X server says: what the next key press reaches.
inline quint64 keyboardWindow()
{
    return xdotool({QStringLiteral("getwindowfocus")}).toULongLong();
}

/// Checks again and again, over the given time, that the keyboard stays with the window.
inline bool keyboardStaysWith(quint64 window, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        if (keyboardWindow() != window)
            return false;
        QTest::qWait(100);
    }
    return true;
}

inline QRect geometryOf(quint64 window)
{
    QRect g;
    const QString out =
        xdotool({QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QString::number(window)});
    for (const QString& line : out.split(QLatin1Char('\n'))) {
        const auto parts = line.split(QLatin1Char('='));
        if (parts.size() != 2)
            continue;
        const int value = parts.at(1).toInt();
        if (parts.at(0) == QLatin1String("X"))
            g.moveLeft(value);
        else if (parts.at(0) == QLatin1String("Y"))
            g.moveTop(value);
        else if (parts.at(0) == QLatin1String("WIDTH"))
            g.setWidth(value);
        else if (parts.at(0) == QLatin1String("HEIGHT"))
            g.setHeight(value);
    }
    return g;
}

/// A left click at a fraction of the window's width and height.
inline void clickAt(quint64 window, double fx, double fy)
{
    const QRect g = geometryOf(window);
    xdotool({QStringLiteral("mousemove"), QString::number(g.x() + int(g.width() * fx)),
             QString::number(g.y() + int(g.height() * fy)), QStringLiteral("click"), QStringLiteral("1")});
}

/// Presses the left button at `from`, moves by `by` in ten steps, and releases it.
inline void drag(QPoint from, QPoint by)
{
    xdotool({QStringLiteral("mousemove"), QString::number(from.x()), QString::number(from.y()),
             QStringLiteral("mousedown"), QStringLiteral("1")});
    for (int step = 1; step <= 10; ++step) {
        const QPoint at = from + by * step / 10;
        xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y())});
    }
    xdotool({QStringLiteral("mouseup"), QStringLiteral("1")});
}

inline void typeAndReturn(const QString& text)
{
    xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
    xdotool({QStringLiteral("type"), text});
    xdotool({QStringLiteral("key"), QStringLiteral("Return")});
}

/// What the screen shows there.
inline QImage screenPixels(const QRect& area)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
        .toImage();
}

using panelpixels::countPixels;

/// Whether the screen shows the default panel there: mostly white, with dark digits.
inline bool showsThePanel(const QRect& panel)
{
    const QImage image = screenPixels(panel);
    return panelpixels::showsThePanel(image, image.rect());
}

/// Whether the panel there shows its green play button, which it does only while idle.
inline bool showsThePlayButton(const QRect& panel)
{
    const QImage image = screenPixels(panel);
    return panelpixels::showsThePlayButton(image, image.rect());
}

/// The application's settings file in the test's home (the application itself is not in test mode).
inline QSettings applicationSettings()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                     QStringLiteral("Brevlin"));
}

inline QString storedCountdownTime()
{
    QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                       QStringLiteral("Brevlin"));
    settings.sync();
    return settings.value(QStringLiteral("BRVCountdownTime")).toString();
}

/// Starts the application and waits until its panel is mapped and drawn on screen. The panel's window,
/// or 0 when the application did not start or its panel never showed.
inline quint64 startPanel(QProcess& app, const QString& program)
{
    app.start(program, {});
    if (!app.waitForStarted(10000))
        return 0;
    const QString ids =
        xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                 QStringLiteral("--class"), QStringLiteral("brevlin")});
    const quint64 panel = ids.split(QLatin1Char('\n')).value(0).toULongLong();
    if (panel == 0 || !QTest::qWaitFor([panel] { return showsThePanel(geometryOf(panel)); }, 5000))
        return 0;
    return panel;
}

/// Whether the screen shows a window as it draws itself (its grab), in that area of the screen: nearly
/// every pixel the same.
inline bool screenShows(const QImage& picture, const QRect& area)
{
    const QImage own = picture.convertToFormat(QImage::Format_RGB32);
    const QImage seen = screenPixels(area).convertToFormat(QImage::Format_RGB32);
    if (own.size() != seen.size() || own.isNull())
        return false;
    int same = 0;
    for (int y = 0; y < own.height(); ++y)
        for (int x = 0; x < own.width(); ++x)
            same += own.pixel(x, y) == seen.pixel(x, y) ? 1 : 0;
    return same > own.width() * own.height() * 95 / 100;
}

/// Starts a stand-in slide show (it prints its window's id and runs until its input ends), gives it the
/// keyboard and waits until it covers the whole screen. Its window, or 0 when any of that did not happen.
inline quint64 startFocusedFullScreenShow(QProcess& show, const QString& program)
{
    show.start(program, {});
    if (!show.waitForReadyRead(10000))
        return 0;
    const quint64 slides = show.readLine().trimmed().toULongLong();
    if (slides == 0)
        return 0;
    xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(slides)});
    const bool ready = QTest::qWaitFor(
        [slides] {
            return keyboardWindow() == slides &&
                   geometryOf(slides).size() == QGuiApplication::primaryScreen()->size();
        },
        5000);
    return ready ? slides : 0;
}

/// Ends a show started with startFocusedFullScreenShow(): its input closed, killed if it lingers.
inline void endShow(QProcess& show)
{
    show.closeWriteChannel();
    if (!show.waitForFinished(3000))
        show.kill();
    show.waitForFinished();
}

} // namespace desktop
