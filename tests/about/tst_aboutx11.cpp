// The about window on a real X server with a window manager, opened over a focused full-screen slide show
// made by another program: it must be seen (read from the root window's pixels, whoever drew them), on
// every desktop, and leave every key to the slides. The last two cases drive the real application's menu
// with the pointer and the keys, as a presenter would.
#include "AboutWindowController.h"

#include "DesktopDriver.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QFrame>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace desktop;

namespace {

// Whether the screen shows the window as it draws itself: nearly every pixel of its frame the same.
bool showsTheWindow(QWidget& window)
{
    return screenShows(window.grab().toImage(), window.frameGeometry());
}

} // namespace

class TestAboutX11 : public QObject
{
    Q_OBJECT

private:
    QProcess m_show;
    quint64 m_slides = 0;
    QProcess m_app;

    // Whether the app shows its menu: a window of its own besides the panel, taller than a tooltip.
    static bool showsTheMenu(quint64 panel)
    {
        const QStringList windows = xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                             QStringLiteral("--class"), QStringLiteral("brevlin")})
                                        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        return std::any_of(windows.begin(), windows.end(), [panel](const QString& window) {
            return window.toULongLong() != panel && geometryOf(window.toULongLong()).height() > 60;
        });
    }

    // Opens the panel's menu with a right click on its background and, once it is shown, picks the entry
    // that many rows down with the keys (Preferences…, User Guide, Contact Support, About Brevlin, Quit).
    // Right after a menu closes the app may still be ending its grab and drop a click, so, as a presenter
    // would, it clicks again when no menu came.
    static bool chooseFromMenu(quint64 panel, int down)
    {
        const QRect g = geometryOf(panel);
        bool shown = false;
        for (int attempt = 0; attempt < 3 && !shown; ++attempt) {
            xdotool({QStringLiteral("mousemove"), QString::number(g.x() + 6), QString::number(g.y() + 6),
                     QStringLiteral("click"), QStringLiteral("3")});
            shown = QTest::qWaitFor([panel] { return showsTheMenu(panel); }, 1500);
        }
        if (!shown)
            return false;
        for (int i = 0; i < down; ++i)
            xdotool({QStringLiteral("key"), QStringLiteral("Down")});
        xdotool({QStringLiteral("key"), QStringLiteral("Return")});
        return true;
    }

private slots:
    void init()
    {
        m_slides = startFocusedFullScreenShow(m_show, QStringLiteral(FAKE_SLIDESHOW));
        QVERIFY(m_slides != 0);
    }

    void cleanup()
    {
        endShow(m_show);
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("0")});
        m_app.kill();
        m_app.waitForFinished();
    }

    void itOpensInSightOverTheShowAndLeavesItTheKeyboard()
    {
        AboutWindowController controller;
        QFrame& window = *controller.aboutWindow();
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(showsTheWindow(window));
        QVERIFY(keyboardStaysWith(m_slides, 1000));
        // With BREVLIN_SHOTS_DIR set, what the screen shows is kept there, to be looked at.
        if (const QString shots = qEnvironmentVariable("BREVLIN_SHOTS_DIR"); !shots.isEmpty())
            screenPixels(QGuiApplication::primaryScreen()->geometry())
                .save(QDir(shots).filePath(QStringLiteral("about-over-show.png")));

        // A click on its close button closes it, and the show is seen again where it was.
        const QRect frame = window.frameGeometry();
        const QPoint button = controller.closeButton()->geometry().center();
        clickAt(window.winId(), double(button.x()) / window.width(), double(button.y()) / window.height());
        QTRY_VERIFY(!window.isVisible());
        QTRY_VERIFY(!showsTheWindow(window));
        const QImage after = screenPixels(frame);
        const int blue = countPixels(after, [](QColor c) { return c.blue() > 100 && c.red() < 40; });
        QVERIFY(blue > after.width() * after.height() / 2);
        QCOMPARE(keyboardWindow(), m_slides);
    }

    void itComesBackOnTopWhenAnotherWindowAppears()
    {
        AboutWindowController controller;
        QFrame& window = *controller.aboutWindow();
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(showsTheWindow(window));
        // Pushed under the show by hand, as a window manager might stack it...
        window.lower();
        QTRY_VERIFY(!showsTheWindow(window));
        // ...it is raised again at the next change of the stacking: another program maps a window.
        QProcess other;
        other.start(QStringLiteral(FAKE_SLIDESHOW), {QStringLiteral("--no-fullscreen"),
                                                     QStringLiteral("--class"), QStringLiteral("another")});
        QVERIFY(other.waitForReadyRead(10000));
        QTRY_VERIFY(showsTheWindow(window));
        other.closeWriteChannel();
        if (!other.waitForFinished(3000))
            other.kill();
        other.waitForFinished();
    }

    void noWindowManagerHandlesItSoItIsOnEveryDesktop()
    {
        AboutWindowController controller;
        QFrame& window = *controller.aboutWindow();
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QString info = testsupport::runProgram(
            QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(window.winId())});
        QVERIFY2(info.contains(QStringLiteral("Override Redirect State: yes")), qPrintable(info));

        QVERIFY(xdotool({QStringLiteral("get_num_desktops")}).toInt() >= 2);
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("1")});
        QTRY_COMPARE(xdotool({QStringLiteral("get_desktop")}).toInt(), 1);
        // The show stayed behind on its own desktop; the about window came along.
        QTRY_VERIFY(showsTheWindow(window));
    }

    void theAppsMenuOpensTheAboutWindowOverTheShow()
    {
        const quint64 panel = startPanel(m_app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel != 0);
        QVERIFY(keyboardStaysWith(m_slides, 500));
        QVERIFY(chooseFromMenu(panel, 4));
        const QString found =
            xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--name"), QStringLiteral("^About Brevlin$")});
        const quint64 about = found.section(QLatin1Char('\n'), 0, 0).toULongLong();
        QVERIFY(about != 0);
        const QRect g = geometryOf(about);
        const QSize screen = QGuiApplication::primaryScreen()->size();
        // In the middle of the screen, in sight: a light window, none of the show's blue.
        QVERIFY2(
            qAbs(g.center().x() - screen.width() / 2) <= 1 && qAbs(g.center().y() - screen.height() / 2) <= 1,
            qPrintable(QStringLiteral("%1,%2 %3x%4").arg(g.x()).arg(g.y()).arg(g.width()).arg(g.height())));
        QTRY_VERIFY(countPixels(screenPixels(g), [](QColor c) { return c.lightness() > 200; }) >
                    g.width() * g.height() * 8 / 10);
        // Exactly the show's colour: the window's icon has blues of its own.
        QCOMPARE(countPixels(screenPixels(g), [](QColor c) { return c.rgb() == qRgb(0x10, 0x20, 0x80); }), 0);
        QVERIFY(keyboardStaysWith(m_slides, 1000));
        xdotool({QStringLiteral("key"), QStringLiteral("Right")});
        QTRY_VERIFY(m_show.canReadLine() || m_show.waitForReadyRead(100));
        QCOMPARE(m_show.readLine().trimmed(), QByteArray("slide 2"));
    }

    void theAppsHelpEntriesGiveTheBrowserTheirExactAddresses()
    {
        // The browser is whatever xdg-open starts; here it only writes down what it was given.
        QTemporaryDir bin;
        QVERIFY(bin.isValid());
        const QString log = bin.filePath(QStringLiteral("opened.txt"));
        QFile opener(bin.filePath(QStringLiteral("xdg-open")));
        QVERIFY(opener.open(QIODevice::WriteOnly));
        opener.write(QStringLiteral("#!/bin/sh\nprintf '%s\\n' \"$*\" >> '%1'\n").arg(log).toUtf8());
        opener.close();
        opener.setPermissions(opener.permissions() | QFileDevice::ExeOwner);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           bin.path() + QLatin1Char(':') + environment.value(QStringLiteral("PATH")));
        environment.remove(QStringLiteral("BROWSER"));
        environment.remove(QStringLiteral("DEFAULT_BROWSER"));
        m_app.setProcessEnvironment(environment);
        const quint64 panel = startPanel(m_app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel != 0);

        const auto opened = [&log] {
            QFile file(log);
            return file.open(QIODevice::ReadOnly)
                       ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                       : QStringList();
        };
        QVERIFY(chooseFromMenu(panel, 2));
        QTRY_COMPARE(opened(), QStringList({QStringLiteral(BREVLIN_USER_GUIDE_URL)}));
        QVERIFY(chooseFromMenu(panel, 3));
        QTRY_COMPARE(opened(), QStringList({QStringLiteral(BREVLIN_USER_GUIDE_URL),
                                            QStringLiteral(BREVLIN_CONTACT_URL)}));
        // Opening a page leaves the keyboard with the slides.
        QCOMPARE(keyboardWindow(), m_slides);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestAboutX11)
#include "tst_aboutx11.moc"
