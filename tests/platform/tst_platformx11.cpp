// The X11 backend against a real X server and window manager (openbox), observed from outside with
// xprop, and with fake_powerpoint standing in for PowerPoint under Wine.

#include "Platform.h"
#include "Processes.h"
#include "TestMain.h"
#include "XcbReply.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QStandardPaths>
#include <QWidget>

#include <xcb/xcb.h>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr int settleMs = 300;

QList<quint32> windowIds(const QString& xpropOutput)
{
    QList<quint32> ids;
    const QRegularExpression hex(QStringLiteral("0x[0-9a-fA-F]+"));
    for (auto it = hex.globalMatch(xpropOutput.section(QLatin1Char('#'), 1)); it.hasNext();)
        ids.append(it.next().captured().toUInt(nullptr, 16));
    return ids;
}

quint32 activeWindow()
{
    const QList<quint32> ids = windowIds(testsupport::runProgram("xprop", {"-root", "_NET_ACTIVE_WINDOW"}));
    return ids.isEmpty() ? 0 : ids.first();
}

QList<quint32> clientList()
{
    return windowIds(testsupport::runProgram("xprop", {"-root", "_NET_CLIENT_LIST"}));
}

/// The atom names in the window's _NET_WM_STATE.
QStringList windowStates(WId window)
{
    const QString out = testsupport::runProgram("xprop", {"-id", QString::number(window), "_NET_WM_STATE"});
    const int equals = out.indexOf(QLatin1Char('='));
    if (equals < 0)
        return {};
    QStringList states = out.mid(equals + 1).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (QString& state : states)
        state = state.trimmed();
    return states;
}

QString desktopOf(WId window)
{
    const QString out = testsupport::runProgram("xprop", {"-id", QString::number(window), "_NET_WM_DESKTOP"});
    const int equals = out.indexOf(QLatin1Char('='));
    return equals < 0 ? QString() : out.mid(equals + 1).trimmed();
}

bool windowManagerSupports(const QString& atomName)
{
    const QString out = testsupport::runProgram("xprop", {"-root", "_NET_SUPPORTED"});
    return out.section(QLatin1Char('='), 1)
        .split(QLatin1Char(','), Qt::SkipEmptyParts)
        .contains(" " + atomName);
}

/// Above, sticky and on every desktop, as far as the window manager says it in the properties.
/// Openbox, for one, knows no _NET_WM_STATE_STICKY: it puts a sticky window on all desktops instead.
bool isFloating(WId window)
{
    static const bool stickyInState = windowManagerSupports("_NET_WM_STATE_STICKY");
    const QStringList states = windowStates(window);
    return states.contains("_NET_WM_STATE_ABOVE") &&
           (!stickyInState || states.contains("_NET_WM_STATE_STICKY")) && desktopOf(window) == "4294967295";
}

/// Sees the client messages sent to the root window from its creation on, as a pager would: selecting
/// SubstructureNotify there is allowed beside the window manager.
class RootMessageSpy
{
public:
    struct Message
    {
        xcb_atom_t type = XCB_ATOM_NONE;
        xcb_window_t window = XCB_WINDOW_NONE;
        std::array<std::uint32_t, 5> data{};
    };

    RootMessageSpy()
        : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection))
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        sync();
    }
    ~RootMessageSpy() { xcb_disconnect(m_connection); }
    RootMessageSpy(const RootMessageSpy&) = delete;
    RootMessageSpy& operator=(const RootMessageSpy&) = delete;

    bool isValid() const { return m_root != XCB_WINDOW_NONE; }

    xcb_atom_t atom(const char* name)
    {
        const testsupport::XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_connection,
            xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    /// The client messages sent so far. Complete once the sender has waited for the server to handle
    /// its requests: the round trip here comes after them on the server, and its reply after the events.
    std::vector<Message> messages()
    {
        sync();
        std::vector<Message> result;
        while (xcb_generic_event_t* event = xcb_poll_for_queued_event(m_connection)) {
            if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
                const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event);
                Message m;
                m.type = message->type;
                m.window = message->window;
                std::copy_n(message->data.data32, 5, m.data.begin());
                result.push_back(m);
            }
            testsupport::XcbReply<xcb_generic_event_t>{event};
        }
        return result;
    }

private:
    void sync()
    {
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};

struct ProbeResult
{
    bool finished = false;
    int exitCode = -1;
    QByteArray output;
};

/// Runs one call in platform_probe; its output includes the X errors the call caused.
ProbeResult runProbe(const QStringList& arguments)
{
    QProcess probe;
    probe.start(PLATFORM_PROBE, QStringList{"--report-x-errors"} + arguments);
    ProbeResult result;
    result.finished = probe.waitForFinished(5000) && probe.exitStatus() == QProcess::NormalExit;
    result.exitCode = probe.exitCode();
    result.output = probe.readAllStandardOutput() + probe.readAllStandardError();
    return result;
}

} // namespace

class TestPlatformX11 : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void floatAboveEverythingAfterShow();
    void floatAboveEverythingRightAfterShow();
    void floatAboveEverythingBeforeFirstShow();
    void floatAboveEverythingKeepsOtherStates();
    void floatAboveEverythingAsksTheWindowManager();
    void floatAboveEverythingInAnotherProcessPrintsNothing();
    void floatAboveEverythingToleratesBadWindows();
    void setWindowShadowIsHarmless();
    void sendRepaintsWithoutWaitingMakesRoomForAWholeScreen();

    void activatePowerPointActivatesIt();
    void activatePowerPointAsksTheWindowManagerAsAPager();
    void activatePowerPointWithoutPowerPointChangesNothing();
    void activatePowerPointActivatesOnlyTheFirst();
    void activatePowerPointMatchesTheWholeName_data();
    void activatePowerPointMatchesTheWholeName();
    void activatePowerPointInAnotherProcessPrintsNothing();
    void activatePowerPointWithoutGuiApplicationDoesNothing_data();
    void activatePowerPointWithoutGuiApplicationDoesNothing();

private:
    /// Starts a fake PowerPoint and waits until the window manager lists it; 0 on failure.
    quint32 startFake(const QStringList& arguments = {});
    /// Shows the panel-like window and makes it the active one; false on failure.
    bool activatePanel();

    std::vector<std::unique_ptr<QProcess>> m_fakes;
    std::unique_ptr<QWidget> m_panel;
};

void TestPlatformX11::initTestCase()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
    for (const char* tool : {"xprop", "xdotool"})
        QVERIFY2(!QStandardPaths::findExecutable(tool).isEmpty(), tool);
    QVERIFY2(!testsupport::runProgram("xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"}).isEmpty(),
             "no window manager");
}

void TestPlatformX11::init()
{
    m_panel =
        std::make_unique<QWidget>(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_panel->resize(240, 80);
}

void TestPlatformX11::cleanup()
{
    m_panel.reset();
    for (auto& fake : m_fakes) {
        fake->closeWriteChannel(); // its end of stdin ends it
        if (!fake->waitForFinished(2000)) {
            fake->kill();
            fake->waitForFinished(2000);
        }
    }
    m_fakes.clear();
    // Windows of one function must not be in the next one's client list.
    QTRY_VERIFY_WITH_TIMEOUT(clientList().isEmpty(), 3000);
}

quint32 TestPlatformX11::startFake(const QStringList& arguments)
{
    auto fake = std::make_unique<QProcess>();
    fake->start(FAKE_POWERPOINT, arguments);
    QProcess* process = fake.get();
    m_fakes.push_back(std::move(fake));
    if (!process->waitForStarted(5000))
        return 0;
    while (!process->canReadLine()) {
        if (!process->waitForReadyRead(5000))
            return 0;
    }
    const quint32 window = process->readLine().trimmed().toUInt();
    if (window == 0)
        return 0;
    QElapsedTimer timer;
    timer.start();
    while (!clientList().contains(window)) {
        if (timer.elapsed() > 5000)
            return 0;
        QTest::qWait(20);
    }
    return window;
}

bool TestPlatformX11::activatePanel()
{
    m_panel->show();
    if (!QTest::qWaitForWindowExposed(m_panel.get()))
        return false;
    const WId panel = m_panel->winId();
    QElapsedTimer timer;
    timer.start();
    while (activeWindow() != panel) {
        if (timer.elapsed() > 5000)
            return false;
        testsupport::runProgram("xdotool", {"windowactivate", QString::number(panel)});
        QTest::qWait(50);
    }
    return true;
}

void TestPlatformX11::floatAboveEverythingAfterShow()
{
    m_panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    const WId window = m_panel->winId();
    QTRY_VERIFY_WITH_TIMEOUT(clientList().contains(window), 3000); // managed by now
    QVERIFY(!isFloating(window));

    platform::floatAboveEverything(window);

    QTRY_VERIFY_WITH_TIMEOUT(isFloating(window), 3000);
}

void TestPlatformX11::floatAboveEverythingRightAfterShow()
{
    // The window manager may be mapping the window at this very moment.
    m_panel->show();
    const WId window = m_panel->winId();
    platform::floatAboveEverything(window);

    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    QTRY_VERIFY_WITH_TIMEOUT(isFloating(window), 3000);
}

void TestPlatformX11::floatAboveEverythingBeforeFirstShow()
{
    const WId window = m_panel->winId(); // creates the native window, still unmapped
    platform::floatAboveEverything(window);

    m_panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    QTRY_VERIFY_WITH_TIMEOUT(isFloating(window), 3000);
}

void TestPlatformX11::floatAboveEverythingKeepsOtherStates()
{
    const WId window = m_panel->winId();
    testsupport::runProgram("xprop", {"-id", QString::number(window), "-f", "_NET_WM_STATE", "32a", "-set",
                                      "_NET_WM_STATE", "_NET_WM_STATE_SKIP_TASKBAR"});
    QCOMPARE(windowStates(window), QStringList{"_NET_WM_STATE_SKIP_TASKBAR"});

    platform::floatAboveEverything(window);

    QStringList states = windowStates(window);
    states.sort();
    QCOMPARE(states,
             (QStringList{"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_STICKY"}));
    QCOMPARE(desktopOf(window), QStringLiteral("4294967295"));

    m_panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    QTRY_VERIFY_WITH_TIMEOUT(
        isFloating(window) && windowStates(window).contains("_NET_WM_STATE_SKIP_TASKBAR"), 3000);
}

void TestPlatformX11::floatAboveEverythingAsksTheWindowManager()
{
    m_panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    const auto window = static_cast<xcb_window_t>(m_panel->winId());
    RootMessageSpy spy;
    QVERIFY(spy.isValid());

    platform::floatAboveEverything(window);

    const std::vector<RootMessageSpy::Message> messages = spy.messages();
    QCOMPARE(messages.size(), std::size_t{2});
    QCOMPARE(messages[0].type, spy.atom("_NET_WM_STATE"));
    QCOMPARE(messages[0].window, window);
    const std::array<std::uint32_t, 5> addAboveAndSticky{1, spy.atom("_NET_WM_STATE_ABOVE"),
                                                         spy.atom("_NET_WM_STATE_STICKY"), 1, 0};
    QCOMPARE(messages[0].data, addAboveAndSticky);
    QCOMPARE(messages[1].type, spy.atom("_NET_WM_DESKTOP"));
    QCOMPARE(messages[1].window, window);
    const std::array<std::uint32_t, 5> allDesktops{0xFFFFFFFFu, 1, 0, 0, 0};
    QCOMPARE(messages[1].data, allDesktops);
}

void TestPlatformX11::floatAboveEverythingInAnotherProcessPrintsNothing()
{
    const quint32 fake = startFake();
    QVERIFY(fake);

    const ProbeResult result = runProbe({"float", QString::number(fake)});
    QVERIFY(result.finished);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray());
    QTRY_VERIFY_WITH_TIMEOUT(isFloating(fake), 3000);
}

void TestPlatformX11::floatAboveEverythingToleratesBadWindows()
{
    // A window id that names no window (the server hands out ids far below this one), and no window.
    for (const QString& id : {QStringLiteral("0x7ffffffe"), QStringLiteral("0")}) {
        const ProbeResult result = runProbe({"float", id});
        QVERIFY(result.finished);
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.output, QByteArray());
    }
    platform::floatAboveEverything(0);
    platform::floatAboveEverything(0x7ffffffe);
    platform::floatAboveEverything(~platform::NativeWindow{0});
}

namespace {

int sendBufferOf(int fd)
{
    int size = -1;
    socklen_t length = sizeof size;
    return ::getsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, &length) == 0 ? size : -1;
}

} // namespace

void TestPlatformX11::sendRepaintsWithoutWaitingMakesRoomForAWholeScreen()
{
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    QVERIFY(x11 && x11->connection());
    const int fd = xcb_get_file_descriptor(x11->connection());
    const int before = sendBufferOf(fd);
    QVERIFY(before > 0);

    platform::sendRepaintsWithoutWaiting();

    // A whole screen of 32-bit pixels, twice for the kernel's bookkeeping; the kernel grants at most
    // twice its limit.
    const QSize screen = QGuiApplication::primaryScreen()->geometry().size();
    QFile limitFile(QStringLiteral("/proc/sys/net/core/wmem_max"));
    QVERIFY(limitFile.open(QIODevice::ReadOnly));
    const qint64 limit = limitFile.readAll().trimmed().toLongLong();
    QVERIFY(limit > 0);
    const qint64 wanted = qint64(screen.width()) * screen.height() * 4 * 2;
    const qint64 granted = std::min(wanted, 2 * limit);
    const int after = sendBufferOf(fd);
    QVERIFY2(after >= granted, qPrintable(QStringLiteral("%1 < %2").arg(after).arg(granted)));
    QVERIFY(after >= before);

    // Asked again: nothing shrinks.
    platform::sendRepaintsWithoutWaiting();
    QCOMPARE(sendBufferOf(fd), after);
}

void TestPlatformX11::setWindowShadowIsHarmless()
{
    m_panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
    const WId window = m_panel->winId();
    const QStringList statesBefore = windowStates(window);

    for (const char* value : {"on", "off"}) {
        const ProbeResult result = runProbe({"shadow", QString::number(window), value});
        QVERIFY(result.finished);
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.output, QByteArray());
    }
    platform::setWindowShadow(window, true);
    platform::setWindowShadow(window, false);
    platform::setWindowShadow(0, true);

    QTest::qWait(settleMs);
    QVERIFY(m_panel->isVisible());
    QCOMPARE(windowStates(window), statesBefore);
}

void TestPlatformX11::activatePowerPointActivatesIt()
{
    const quint32 fake = startFake();
    QVERIFY(fake);
    QVERIFY(activatePanel());

    platform::activatePowerPoint();

    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), fake, 3000);
}

void TestPlatformX11::activatePowerPointAsksTheWindowManagerAsAPager()
{
    const quint32 fake = startFake();
    QVERIFY(fake);
    QVERIFY(activatePanel());
    RootMessageSpy spy;
    QVERIFY(spy.isValid());

    platform::activatePowerPoint();

    const std::vector<RootMessageSpy::Message> messages = spy.messages();
    QCOMPARE(messages.size(), std::size_t{1});
    QCOMPARE(messages[0].type, spy.atom("_NET_ACTIVE_WINDOW"));
    QCOMPARE(messages[0].window, fake);
    const std::array<std::uint32_t, 5> fromPagerNow{2, XCB_CURRENT_TIME, 0, 0, 0};
    QCOMPARE(messages[0].data, fromPagerNow);
}

void TestPlatformX11::activatePowerPointWithoutPowerPointChangesNothing()
{
    QVERIFY(startFake({"--instance", "libreoffice", "--class", "libreoffice-impress"}));
    QVERIFY(activatePanel());
    const quint32 panel = static_cast<quint32>(m_panel->winId());
    RootMessageSpy spy;
    QVERIFY(spy.isValid());

    platform::activatePowerPoint();

    QCOMPARE(spy.messages().size(), std::size_t{0});
    QTest::qWait(settleMs);
    QCOMPARE(activeWindow(), panel);
}

void TestPlatformX11::activatePowerPointActivatesOnlyTheFirst()
{
    const quint32 first = startFake();
    QVERIFY(first);
    const quint32 second = startFake();
    QVERIFY(second);
    const QList<quint32> clients = clientList();
    QVERIFY(clients.indexOf(first) < clients.indexOf(second));
    QVERIFY(activatePanel());
    RootMessageSpy spy;
    QVERIFY(spy.isValid());

    platform::activatePowerPoint();

    const std::vector<RootMessageSpy::Message> messages = spy.messages();
    QCOMPARE(messages.size(), std::size_t{1});
    QCOMPARE(messages[0].window, first);
    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), first, 3000);
}

void TestPlatformX11::activatePowerPointMatchesTheWholeName_data()
{
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("wmClass");
    QTest::addColumn<bool>("matches");

    QTest::newRow("both") << "powerpnt.exe"
                          << "powerpnt.exe" << true;
    QTest::newRow("class only, upper case") << "wine"
                                            << "POWERPNT.EXE" << true;
    QTest::newRow("instance only, mixed case") << "PowerPnt.exe"
                                               << "Wine" << true;
    QTest::newRow("name inside another") << "notpowerpnt.exe"
                                         << "notpowerpnt.exe" << false;
    QTest::newRow("name with a suffix") << "powerpnt.exe.so"
                                        << "powerpnt.exe2" << false;
    QTest::newRow("name without extension") << "powerpnt"
                                            << "PowerPoint" << false;
    QTest::newRow("empty") << ""
                           << "" << false;
}

void TestPlatformX11::activatePowerPointMatchesTheWholeName()
{
    QFETCH(QString, instance);
    QFETCH(QString, wmClass);
    QFETCH(bool, matches);

    // The candidate comes first in the client list; when it does not match, the real one after it is
    // the one to be activated, so both outcomes show without waiting for something not to happen.
    const quint32 candidate = startFake({"--instance", instance, "--class", wmClass});
    QVERIFY(candidate);
    const quint32 reference = startFake();
    QVERIFY(reference);
    QVERIFY(activatePanel());

    platform::activatePowerPoint();

    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), matches ? candidate : reference, 3000);
}

void TestPlatformX11::activatePowerPointInAnotherProcessPrintsNothing()
{
    QVERIFY(activatePanel());
    const quint32 panel = static_cast<quint32>(m_panel->winId());

    ProbeResult result = runProbe({"activate"});
    QVERIFY(result.finished);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(activeWindow(), panel);

    // The same process, with something to activate, does activate it: it is not silent by doing nothing.
    const quint32 fake = startFake();
    QVERIFY(fake);
    QVERIFY(activatePanel());
    result = runProbe({"activate"});
    QVERIFY(result.finished);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray());
    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), fake, 3000);
}

void TestPlatformX11::activatePowerPointWithoutGuiApplicationDoesNothing_data()
{
    QTest::addColumn<QString>("app");
    QTest::newRow("QCoreApplication") << "core";
    QTest::newRow("no application") << "none";
}

void TestPlatformX11::activatePowerPointWithoutGuiApplicationDoesNothing()
{
    QFETCH(QString, app);
    QVERIFY(startFake());
    QVERIFY(activatePanel());
    const quint32 panel = static_cast<quint32>(m_panel->winId());
    RootMessageSpy spy;
    QVERIFY(spy.isValid());

    const ProbeResult result = runProbe({"--app", app, "activate"});
    QVERIFY(result.finished);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray());

    QTest::qWait(settleMs);
    QCOMPARE(spy.messages().size(), std::size_t{0});
    QCOMPARE(activeWindow(), panel);
}

BREVLIN_TEST_MAIN_WIDGETS(TestPlatformX11)

#include "tst_platformx11.moc"
