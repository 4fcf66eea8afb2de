// The about window on a real X server with openbox, opened over a focused full-screen slide show made by
// another program: it must be seen (read from the root window's pixels, whoever drew them), on every
// desktop, and leave every key to the slides.
#include "AboutWindowController.h"

#include "DesktopDriver.h"
#include "TestMain.h"

#include <QFrame>
#include <QProcess>
#include <QPushButton>
#include <QTest>

using namespace desktop;

namespace {

// Whether the screen shows the window as it draws itself: nearly every pixel of its frame the same.
bool showsTheWindow(QWidget& window)
{
    const QImage own = window.grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QImage seen = screenPixels(window.frameGeometry()).convertToFormat(QImage::Format_RGB32);
    if (own.size() != seen.size() || own.isNull())
        return false;
    int same = 0;
    for (int y = 0; y < own.height(); ++y)
        for (int x = 0; x < own.width(); ++x)
            same += own.pixel(x, y) == seen.pixel(x, y) ? 1 : 0;
    return same > own.width() * own.height() * 95 / 100;
}

} // namespace

class TestAboutX11 : public QObject
{
    Q_OBJECT

private:
    QProcess m_show;
    quint64 m_slides = 0;

private slots:
    void init()
    {
        m_show.start(QStringLiteral(FAKE_SLIDESHOW), {});
        QVERIFY(m_show.waitForReadyRead(10000));
        m_slides = m_show.readLine().trimmed().toULongLong();
        QVERIFY(m_slides != 0);
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_slides)});
        QTRY_COMPARE(keyboardWindow(), m_slides);
        QTRY_COMPARE(geometryOf(m_slides).size(), QGuiApplication::primaryScreen()->size());
    }

    void cleanup()
    {
        m_show.closeWriteChannel();
        if (!m_show.waitForFinished(3000))
            m_show.kill();
        m_show.waitForFinished();
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("0")});
    }

    void itOpensInSightOverTheShowAndLeavesItTheKeyboard()
    {
        AboutWindowController controller;
        QFrame& window = *controller.aboutWindow();
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(showsTheWindow(window));
        QVERIFY(keyboardStaysWith(m_slides, 1000));

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
};

BREVLIN_TEST_MAIN_WIDGETS(TestAboutX11)
#include "tst_aboutx11.moc"
