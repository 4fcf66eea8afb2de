// The real application on a real X server with a real window manager, driven with xdotool as a presenter
// would drive it, beside stand-ins for PowerPoint and for another program that shows slides.
#include "TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QWindow>

#include <functional>
#include <memory>

namespace {

QString run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10000);
    return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

QString xdotool(const QStringList& arguments)
{
    return run(QStringLiteral("xdotool"), arguments);
}

quint64 activeWindow()
{
    const QString out =
        run(QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_ACTIVE_WINDOW")});
    const auto match = QRegularExpression(QStringLiteral("0x[0-9a-f]+")).match(out);
    return match.hasMatch() ? match.captured().toULongLong(nullptr, 16) : 0;
}

/// The window that has the keyboard, as the X server says: what the next key press reaches.
quint64 keyboardWindow()
{
    return xdotool({QStringLiteral("getwindowfocus")}).toULongLong();
}

QRect geometryOf(quint64 window)
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

/// What the screen shows in that rectangle: the root window's pixels, whoever drew them.
QImage screenPixels(const QRect& area)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
        .toImage();
}

int countPixels(const QImage& image, const std::function<bool(QColor)>& wanted)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += wanted(image.pixelColor(x, y)) ? 1 : 0;
    return count;
}

/// The default panel as the presenter sees it: mostly white, with dark digits.
bool showsThePanel(const QRect& panel)
{
    const QImage image = screenPixels(panel);
    const int all = image.width() * image.height();
    const int white = countPixels(image, [](QColor c) { return c.lightness() > 240; });
    const int dark = countPixels(image, [](QColor c) { return c.lightness() < 60; });
    return all > 0 && white > all / 2 && dark > all / 50;
}

bool showsThePlayButton(const QRect& panel)
{
    const QImage image = screenPixels(panel);
    return countPixels(image, [](QColor c) { return c.green() > 100 && c.red() < 90 && c.blue() < 90; }) > 50;
}

} // namespace

class TestPanelX11 : public QObject
{
    Q_OBJECT

private:
    QProcess m_app;
    std::vector<std::unique_ptr<QProcess>> m_others;
    quint64 m_panel = 0;

    /// A stand-in top-level window of another program; PowerPoint's class unless given another.
    quint64 startOther(const QString& wmClass = QString())
    {
        auto process = std::make_unique<QProcess>();
        QStringList arguments;
        if (!wmClass.isEmpty())
            arguments << QStringLiteral("--class") << wmClass << QStringLiteral("--instance") << wmClass;
        process->start(QStringLiteral(FAKE_POWERPOINT), arguments);
        if (!process->waitForReadyRead(10000))
            return 0;
        const quint64 window = process->readLine().trimmed().toULongLong();
        m_others.push_back(std::move(process));
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(window)});
        return window;
    }

    bool startApp()
    {
        m_app.start(QStringLiteral(BREVLIN_APP), {});
        if (!m_app.waitForStarted(10000))
            return false;
        const QString ids =
            xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--class"), QStringLiteral("brevlin")});
        m_panel = ids.split(QLatin1Char('\n')).value(0).toULongLong();
        return m_panel != 0 && QTest::qWaitFor([this] { return showsThePanel(geometryOf(m_panel)); }, 5000);
    }

    void clickPanelAt(double fx, double fy)
    {
        const QRect g = geometryOf(m_panel);
        xdotool({QStringLiteral("mousemove"), QString::number(g.x() + int(g.width() * fx)),
                 QString::number(g.y() + int(g.height() * fy)), QStringLiteral("click"),
                 QStringLiteral("1")});
    }

    // The time sits left of the middle while idle (the play button is on the right), in the middle while
    // running.
    void clickIntoTheTime() { clickPanelAt(0.35, 0.5); }
    void clickTheBackground() { clickPanelAt(0.03, 0.08); }

    void typeAndReturn(const QString& time)
    {
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
        xdotool({QStringLiteral("type"), time});
        xdotool({QStringLiteral("key"), QStringLiteral("Return")});
    }

    static QSettings storedSettings()
    {
        return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                         QStringLiteral("Brevlin"));
    }

    static QString storedCountdownTime()
    {
        QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                           QStringLiteral("Brevlin"));
        settings.sync();
        return settings.value(QStringLiteral("BRVCountdownTime")).toString();
    }

    /// Checks, again and again over the given time, that the keyboard stays where it is expected.
    static bool keyboardStaysWith(quint64 window, int milliseconds)
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

private slots:
    void init()
    {
        // The application itself is not in test mode: its settings must land in the test's own home.
        QVERIFY(QDir::homePath().contains(QStringLiteral("brevlin-test.")));
        QStandardPaths::setTestModeEnabled(false);
        m_panel = 0;
    }

    void cleanup()
    {
        m_app.kill();
        m_app.waitForFinished();
        for (auto& process : m_others) {
            process->closeWriteChannel();
            process->waitForFinished(3000);
            process->kill();
            process->waitForFinished();
        }
        m_others.clear();
        QFile::remove(storedSettings().fileName());
    }

    void thePanelIsLeftOutOfTheWindowManagerAndSeenOnEveryDesktop()
    {
        QVERIFY(startApp());
        // Override-redirect: no window manager stacks it under a full-screen window or puts a frame on it.
        const QString info =
            run(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(m_panel)});
        QVERIFY2(info.contains(QStringLiteral("Override Redirect State: yes")), qPrintable(info));
        const QRect panel = geometryOf(m_panel);
        QVERIFY(showsThePanel(panel));
        const QString desktops = run(QStringLiteral("xdotool"), {QStringLiteral("get_num_desktops")});
        QVERIFY2(desktops.toInt() > 1, qPrintable(desktops));
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("1")});
        QTRY_COMPARE(xdotool({QStringLiteral("get_desktop")}), QStringLiteral("1"));
        QVERIFY(showsThePanel(panel));
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("0")});
    }

    void thePanelComesBackOnTopWhenAnotherWindowIsRestacked()
    {
        QVERIFY(startApp());
        const QRect panel = geometryOf(m_panel);
        const quint64 other = startOther(QStringLiteral("coveringwindow"));
        QVERIFY(other != 0);
        xdotool({QStringLiteral("windowsize"), QString::number(other), QStringLiteral("1280"),
                 QStringLiteral("800")});
        xdotool(
            {QStringLiteral("windowmove"), QString::number(other), QStringLiteral("0"), QStringLiteral("0")});
        QTRY_COMPARE(geometryOf(other).size(), QSize(1280, 800));
        // Pushed under the white window by hand, as a window manager might stack it...
        std::unique_ptr<QWindow> foreign(QWindow::fromWinId(static_cast<WId>(m_panel)));
        QVERIFY(foreign);
        foreign->lower();
        QTRY_VERIFY(!showsThePanel(panel));
        // ...the panel is raised again at the next change of the window manager's stacking.
        xdotool(
            {QStringLiteral("windowmove"), QString::number(other), QStringLiteral("1"), QStringLiteral("1")});
        QTRY_VERIFY(showsThePanel(panel));
        QCOMPARE(geometryOf(m_panel), panel);
    }

    void launchLeavesTheKeyboardWhereItWas()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(powerPoint != 0);
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QVERIFY(startApp());
        // Watched for a while: a late activation would take the slides' next key.
        QVERIFY(keyboardStaysWith(powerPoint, 2000));
        QCOMPARE(activeWindow(), powerPoint);
    }

    void aClickIntoTheTimeTakesTheKeyboardAndReturnHandsItToPowerPoint()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        QVERIFY(keyboardStaysWith(powerPoint, 300));
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        QVERIFY(keyboardStaysWith(m_panel, 500));
        typeAndReturn(QStringLiteral("0:0:42"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QTRY_COMPARE(activeWindow(), powerPoint);
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:42"));
        QVERIFY(showsThePanel(geometryOf(m_panel)));
    }

    void aClickOnTheBackgroundHandsTheKeyboardBack()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        clickTheBackground();
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QVERIFY(keyboardStaysWith(powerPoint, 500));
    }

    void aClickOnTheRunningTimePausesItWithoutTakingTheKeyboard()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        const QRect panel = geometryOf(m_panel);
        QTRY_VERIFY(!showsThePlayButton(panel));
        clickPanelAt(0.5, 0.5);
        // Paused: the play button is back and the digits stand still.
        QTRY_VERIFY(showsThePlayButton(panel));
        const QImage paused = screenPixels(panel);
        QTest::qWait(1500);
        QCOMPARE(screenPixels(panel), paused);
        QVERIFY(keyboardStaysWith(powerPoint, 300));
    }

    void afterAPauseEveryDigitTypedStaysInTheField()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        for (int round = 0; round < 10; ++round) {
            clickPanelAt(0.5, 0.5); // pause
            QTRY_VERIFY(showsThePlayButton(geometryOf(m_panel)));
            clickIntoTheTime();
            QTRY_COMPARE(keyboardWindow(), m_panel);
            const QString typed = QStringLiteral("0:%1:%2").arg(round + 1).arg(round + 10);
            typeAndReturn(typed);
            const QString shown = QStringLiteral("00:%1:%2")
                                      .arg(round + 1, 2, 10, QLatin1Char('0'))
                                      .arg(round + 10, 2, 10, QLatin1Char('0'));
            QTRY_COMPARE(storedCountdownTime(), shown);
            QTRY_COMPARE(keyboardWindow(), powerPoint);
        }
    }

    void withoutPowerPointTheKeyboardGoesBackToTheWindowUsedBefore()
    {
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        const quint64 elsewhere = startOther(QStringLiteral("someeditor"));
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(slides)});
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(keyboardWindow() != elsewhere);
    }

    void withPowerPointRunningItIsPreferredToTheWindowUsedBefore()
    {
        const quint64 powerPoint = startOther();
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
    }

    void withTheSettingOffOnlyPowerPointGetsTheKeyboardBack()
    {
        {
            QSettings settings = storedSettings();
            settings.setValue(QStringLiteral("ReturnFocusToPreviousWindow"), false);
        }
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:30"));
        QVERIFY(keyboardStaysWith(m_panel, 800));
    }

    void resizingThePanelHandsTheKeyboardBack()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        xdotool({QStringLiteral("windowsize"), QString::number(m_panel), QStringLiteral("500"),
                 QStringLiteral("180")});
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QTRY_COMPARE(geometryOf(m_panel).size(), QSize(500, 180));
    }

    void draggingTheBackgroundMovesThePanelAndDraggingAnEdgeResizesIt()
    {
        QVERIFY(startApp());
        const QRect before = geometryOf(m_panel);
        const QPoint grab = before.topLeft() + QPoint(before.width() / 2, 8);
        xdotool({QStringLiteral("mousemove"), QString::number(grab.x()), QString::number(grab.y()),
                 QStringLiteral("mousedown"), QStringLiteral("1")});
        for (int step = 1; step <= 10; ++step)
            xdotool({QStringLiteral("mousemove"), QString::number(grab.x() - 20 * step),
                     QString::number(grab.y() + 10 * step)});
        xdotool({QStringLiteral("mouseup"), QStringLiteral("1")});
        QTRY_COMPARE(geometryOf(m_panel).topLeft(), before.topLeft() + QPoint(-200, 100));
        QCOMPARE(geometryOf(m_panel).size(), before.size());

        const QRect moved = geometryOf(m_panel);
        const QPoint corner = moved.bottomRight() - QPoint(1, 1);
        xdotool({QStringLiteral("mousemove"), QString::number(corner.x()), QString::number(corner.y()),
                 QStringLiteral("mousedown"), QStringLiteral("1")});
        for (int step = 1; step <= 10; ++step)
            xdotool({QStringLiteral("mousemove"), QString::number(corner.x() + 10 * step),
                     QString::number(corner.y() + 5 * step)});
        xdotool({QStringLiteral("mouseup"), QStringLiteral("1")});
        QTRY_COMPARE(geometryOf(m_panel).size(), moved.size() + QSize(100, 50));
        QCOMPARE(geometryOf(m_panel).topLeft(), moved.topLeft());
        QVERIFY(showsThePanel(geometryOf(m_panel)));
    }

    void withoutPowerPointEverythingWorksSilently()
    {
        QVERIFY(startApp());
        clickTheBackground();
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:9"));
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:09"));
        xdotool({QStringLiteral("windowsize"), QString::number(m_panel), QStringLiteral("400"),
                 QStringLiteral("150")});
        QTest::qWait(300);
        QCOMPARE(m_app.state(), QProcess::Running);
        QCOMPARE(QString::fromLocal8Bit(m_app.readAllStandardError()), QString());
        QCOMPARE(QString::fromLocal8Bit(m_app.readAllStandardOutput()), QString());
    }

    void quitFromTheKeyboardEndsTheApplication()
    {
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+q")});
        QVERIFY(m_app.waitForFinished(5000));
        QCOMPARE(m_app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app.exitCode(), 0);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPanelX11)
#include "tst_panelx11.moc"
