// X11 through xcb, on Qt's own connection. EWMH window managers own _NET_WM_STATE and _NET_WM_DESKTOP
// once a window is managed, so those change by client messages to the root window; before that the
// window's properties are what the manager reads when it maps the window.
//
// Every request whose error could come back is sent checked and its error collected here: an unchecked
// error would reach Qt's event loop, which logs it.
//
// A focused full-screen window sits above every "keep above" window on openbox, xfwm4, metacity, marco
// and KWin, and raising does not beat it; an override-redirect window, raised again whenever the root's
// stacking changes, stays in sight on all of them. So the panel bypasses the window manager, and a
// watcher on a connection of its own (so that Qt's own handling of the root window is left alone) keeps
// it on top and remembers which window the presenter was using. Windows that must stay managed (the
// preferences window takes typing and has a frame) are made transients of the topmost full-screen
// window instead, which openbox and xfwm4 stack above it (only they are asked: metacity, marco and KWin
// do not).

#include "X11WindowSystem.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QSocketNotifier>
#include <QWindow>

#include <xcb/xcb.h>

#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform::x11 {
namespace {

struct FreeDeleter
{
    void operator()(void* p) const noexcept { std::free(p); }
};

template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;

// Wine names a program's windows after its executable, in instance and class alike.
constexpr std::string_view powerPointWmClass = "powerpnt.exe";

constexpr std::uint32_t allDesktops = 0xFFFFFFFFu;
constexpr std::uint32_t netWmStateAdd = 1;
constexpr std::uint32_t sourceApplication = 1;
// A pager's request is one the window manager carries out; an application's may be refused as
// focus stealing.
constexpr std::uint32_t sourcePager = 2;
// Enough for any real client list; the server sends what there is.
constexpr std::uint32_t maxListLength = 1u << 16;

xcb_connection_t* qtConnection()
{
    auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!app)
        return nullptr;
#if QT_CONFIG(xcb)
    auto* x11 = app->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11)
        return nullptr;
    xcb_connection_t* connection = x11->connection();
    if (!connection || xcb_connection_has_error(connection))
        return nullptr;
    return connection;
#else
    return nullptr;
#endif
}

/// The atoms in the order of the names; XCB_ATOM_NONE for one the server would not intern.
std::vector<xcb_atom_t> internAtoms(xcb_connection_t* c, std::initializer_list<std::string_view> names)
{
    std::vector<xcb_intern_atom_cookie_t> cookies;
    cookies.reserve(names.size());
    for (std::string_view name : names)
        cookies.push_back(xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    std::vector<xcb_atom_t> atoms;
    atoms.reserve(names.size());
    for (xcb_intern_atom_cookie_t cookie : cookies) {
        xcb_generic_error_t* error = nullptr;
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(c, cookie, &error));
        std::free(error);
        atoms.push_back(reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE});
    }
    return atoms;
}

bool hasNone(const std::vector<xcb_atom_t>& atoms)
{
    return std::find(atoms.begin(), atoms.end(), xcb_atom_t{XCB_ATOM_NONE}) != atoms.end();
}

Reply<xcb_get_property_reply_t> takePropertyReply(xcb_connection_t* c, xcb_get_property_cookie_t cookie)
{
    xcb_generic_error_t* error = nullptr;
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(c, cookie, &error));
    std::free(error);
    return reply;
}

/// The 32-bit values of a property of the given type, empty when it is missing or of another shape.
std::vector<std::uint32_t> values32(xcb_connection_t* c, xcb_get_property_cookie_t cookie, xcb_atom_t type)
{
    const Reply<xcb_get_property_reply_t> reply = takePropertyReply(c, cookie);
    if (!reply || reply->type != type || reply->format != 32)
        return {};
    const auto* data = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    const int count = xcb_get_property_value_length(reply.get()) / 4;
    if (!data || count <= 0)
        return {};
    return std::vector<std::uint32_t>(data, data + count);
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char ch) {
            return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
        };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

/// WM_CLASS is the instance name and the class name, each ended by a NUL (the last one not always).
bool isPowerPointClass(const xcb_get_property_reply_t& reply)
{
    if (reply.format != 8)
        return false;
    const auto* data = static_cast<const char*>(xcb_get_property_value(&reply));
    const int length = xcb_get_property_value_length(&reply);
    if (!data || length <= 0)
        return false;
    const std::string_view value(data, static_cast<std::size_t>(length));
    const std::size_t end = value.find('\0');
    const std::string_view instance = value.substr(0, end);
    std::string_view wmClass;
    if (end != std::string_view::npos) {
        wmClass = value.substr(end + 1);
        wmClass = wmClass.substr(0, wmClass.find('\0'));
    }
    return equalsIgnoringAsciiCase(instance, powerPointWmClass) ||
           equalsIgnoringAsciiCase(wmClass, powerPointWmClass);
}

/// The first of the windows, in their order, whose WM_CLASS is PowerPoint's; XCB_WINDOW_NONE if none is.
xcb_window_t firstPowerPointWindow(xcb_connection_t* c, const std::vector<std::uint32_t>& windows)
{
    // All requests first, then the replies: one round trip however many windows there are.
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(windows.size());
    for (std::uint32_t window : windows)
        cookies.push_back(
            xcb_get_property(c, 0, window, XCB_ATOM_WM_CLASS, XCB_GET_PROPERTY_TYPE_ANY, 0, 256));
    xcb_window_t found = XCB_WINDOW_NONE;
    for (std::size_t i = 0; i < cookies.size(); ++i) {
        if (found != XCB_WINDOW_NONE) {
            xcb_discard_reply(c, cookies[i].sequence);
            continue;
        }
        // A window closed since the list was read answers with an error, which is dropped.
        const Reply<xcb_get_property_reply_t> reply = takePropertyReply(c, cookies[i]);
        if (reply && isPowerPointClass(*reply))
            found = windows[i];
    }
    return found;
}

xcb_void_cookie_t sendClientMessage(xcb_connection_t* c, xcb_window_t root, xcb_window_t window,
                                    xcb_atom_t type, std::initializer_list<std::uint32_t> data)
{
    xcb_client_message_event_t event;
    std::memset(&event, 0, sizeof event);
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    std::copy_n(data.begin(), std::min<std::size_t>(data.size(), 5), event.data.data32);
    return xcb_send_event_checked(c, 0, root,
                                  XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                                  reinterpret_cast<const char*>(&event));
}

/// Sends the requests, waits for their outcome and drops their errors, so that none reaches Qt.
void collectErrors(xcb_connection_t* c, std::initializer_list<xcb_void_cookie_t> cookies)
{
    for (xcb_void_cookie_t cookie : cookies)
        std::free(xcb_request_check(c, cookie));
}

/// This process's window of that id; null for another client's. Such windows are never where the keyboard
/// is handed back to.
QWindow* findOwnWindow(xcb_window_t window)
{
    const auto windows = QGuiApplication::allWindows();
    const auto found = std::find_if(windows.begin(), windows.end(), [window](const QWindow* w) {
        return w->handle() && w->winId() == static_cast<WId>(window);
    });
    return found != windows.end() ? *found : nullptr;
}

bool isOwnWindow(xcb_window_t window)
{
    return findOwnWindow(window) != nullptr;
}

xcb_window_t topmostFullScreenWindow(xcb_connection_t* c, const std::vector<std::uint32_t>& bottomToTop,
                                     xcb_atom_t netWmState, xcb_atom_t fullScreen);

class Watcher;
QPointer<Watcher>& watcherSlot()
{
    static QPointer<Watcher> slot;
    return slot;
}

/// Follows the root window on its own connection: remembers the last active window of another
/// application, and raises the windows it keeps on top again whenever a managed window is mapped or
/// restacked. On Qt's connection it only reads the time of the presenter's last key or click, which the
/// window manager wants with every activation.
class Watcher final : public QObject, public QAbstractNativeEventFilter
{
public:
    static Watcher* instance()
    {
        QPointer<Watcher>& slot = watcherSlot();
        if (!slot && QCoreApplication::instance()) {
            auto* watcher = new Watcher(QCoreApplication::instance());
            if (watcher->m_connection)
                slot = watcher;
            else
                delete watcher;
        }
        return slot.data();
    }

    ~Watcher() override
    {
        if (QCoreApplication* app = QCoreApplication::instance())
            app->removeNativeEventFilter(this);
        delete m_notifier;
        if (m_connection)
            xcb_disconnect(m_connection);
    }

    xcb_timestamp_t userTime() const { return m_userTime; }
    xcb_window_t previousWindow(bool forgetOnNone) const
    {
        return forgetOnNone && m_noneSincePrevious ? xcb_window_t{XCB_WINDOW_NONE} : m_previous;
    }
    xcb_connection_t* connection() const { return m_connection; }
    void onActiveWindowChange(std::function<void(std::uint32_t)> call) { m_onActiveChange = std::move(call); }

    void keepOnTop(xcb_window_t window)
    {
        if (std::find(m_onTop.begin(), m_onTop.end(), window) == m_onTop.end())
            m_onTop.push_back(window);
        raiseAll();
    }

    /// Keeps a managed window above whichever full-screen window of another application is topmost, by
    /// making it that window's transient (WM_TRANSIENT_FOR): openbox and xfwm4 stack a transient above
    /// its parent even when the parent is a focused full-screen window, whose layer no "keep above" window
    /// reaches. Call after every show: Qt clears the property then.
    void keepOverFullScreen(xcb_window_t window)
    {
        if (m_netWmState == XCB_ATOM_NONE)
            return;
        const auto found = std::find_if(m_overFullScreen.begin(), m_overFullScreen.end(),
                                        [window](const Follower& f) { return f.window == window; });
        if (found == m_overFullScreen.end())
            m_overFullScreen.push_back({window, XCB_WINDOW_NONE, false});
        else
            found->written = false;
        followFullScreen();
    }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override
    {
        if (eventType != "xcb_generic_event_t" || !message)
            return false;
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        switch (event->response_type & 0x7f) {
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE:
            m_userTime = reinterpret_cast<const xcb_key_press_event_t*>(event)->time;
            break;
        case XCB_BUTTON_PRESS:
        case XCB_BUTTON_RELEASE:
            m_userTime = reinterpret_cast<const xcb_button_press_event_t*>(event)->time;
            break;
        default:
            break;
        }
        return false;
    }

private:
    explicit Watcher(QObject* parent)
        : QObject(parent)
    {
        xcb_connection_t* c = xcb_connect(nullptr, nullptr);
        if (!c || xcb_connection_has_error(c)) {
            if (c)
                xcb_disconnect(c);
            return;
        }
        const std::vector<xcb_atom_t> atoms = internAtoms(c, {"_NET_ACTIVE_WINDOW"});
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        if (hasNone(atoms) || !screen) {
            xcb_disconnect(c);
            return;
        }
        m_connection = c;
        m_root = screen->root;
        m_netActiveWindow = atoms[0];
        const std::vector<xcb_atom_t> stackAtoms =
            internAtoms(c, {"_NET_CLIENT_LIST", "_NET_CLIENT_LIST_STACKING", "_NET_WM_STATE",
                            "_NET_WM_STATE_FULLSCREEN"});
        if (!hasNone(stackAtoms)) {
            m_clientList = stackAtoms[0];
            m_clientListStacking = stackAtoms[1];
            m_netWmState = stackAtoms[2];
            m_fullScreen = stackAtoms[3];
        }
        // Only this connection's own interest in the root window; Qt's is unaffected.
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        collectErrors(c, {xcb_change_window_attributes_checked(c, m_root, XCB_CW_EVENT_MASK, &mask)});
        rememberActiveWindow();
        m_notifier = new QSocketNotifier(xcb_get_file_descriptor(c), QSocketNotifier::Read);
        QObject::connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
        // Events that arrived with the replies above are already off the socket, which therefore stays
        // quiet about them.
        QMetaObject::invokeMethod(
            this, [this] { readEvents(); }, Qt::QueuedConnection);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    void readEvents()
    {
        bool raise = false;
        bool mappingChanged = false;
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            switch (event->response_type & 0x7f) {
            case XCB_PROPERTY_NOTIFY: {
                const auto* e = reinterpret_cast<const xcb_property_notify_event_t*>(event);
                if (e->window == m_root && e->atom == m_netActiveWindow)
                    rememberActiveWindow();
                break;
            }
            case XCB_CONFIGURE_NOTIFY: {
                // Override-redirect windows are left alone: menus and tooltips belong above the panel,
                // and two such windows raising each other would never stop.
                const auto* e = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
                raise |= e->event == m_root && !e->override_redirect && !keptOnTop(e->window);
                break;
            }
            case XCB_MAP_NOTIFY: {
                const auto* e = reinterpret_cast<const xcb_map_notify_event_t*>(event);
                raise |= e->event == m_root && !e->override_redirect && !keptOnTop(e->window);
                mappingChanged |= e->event == m_root && !e->override_redirect;
                break;
            }
            case XCB_UNMAP_NOTIFY: {
                const auto* e = reinterpret_cast<const xcb_unmap_notify_event_t*>(event);
                mappingChanged |= e->event == m_root;
                break;
            }
            case XCB_CIRCULATE_NOTIFY: {
                const auto* e = reinterpret_cast<const xcb_circulate_notify_event_t*>(event);
                raise |= e->event == m_root && !keptOnTop(e->window);
                break;
            }
            case XCB_DESTROY_NOTIFY: {
                const auto* e = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
                m_onTop.erase(std::remove(m_onTop.begin(), m_onTop.end(), e->window), m_onTop.end());
                m_overFullScreen.erase(
                    std::remove_if(m_overFullScreen.begin(), m_overFullScreen.end(),
                                   [e](const Follower& f) { return f.window == e->window; }),
                    m_overFullScreen.end());
                mappingChanged |= e->event == m_root;
                break;
            }
            default:
                // Errors of requests for windows that are gone meanwhile end here too, and are dropped.
                break;
            }
            std::free(event);
        }
        if (raise)
            raiseAll();
        if (mappingChanged)
            followFullScreen();
        if (xcb_connection_has_error(m_connection)) {
            // The server is gone; Qt's own connection will end the application.
            m_notifier->setEnabled(false);
        }
    }

    bool keptOnTop(xcb_window_t window) const
    {
        return std::find(m_onTop.begin(), m_onTop.end(), window) != m_onTop.end();
    }

    void raiseAll()
    {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        for (xcb_window_t window : m_onTop)
            xcb_configure_window(m_connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_flush(m_connection);
    }

    /// Makes every window kept over full-screen ones the transient of the topmost full-screen window of
    /// another application, or of none where there is no such window.
    void followFullScreen()
    {
        // Windows of ours that are gone are followed no longer.
        m_overFullScreen.erase(std::remove_if(m_overFullScreen.begin(), m_overFullScreen.end(),
                                              [](const Follower& f) { return !isOwnWindow(f.window); }),
                               m_overFullScreen.end());
        if (m_overFullScreen.empty() || m_netWmState == XCB_ATOM_NONE)
            return;
        const xcb_get_property_cookie_t stackingCookie = xcb_get_property(
            m_connection, 0, m_root, m_clientListStacking, XCB_ATOM_WINDOW, 0, maxListLength);
        const xcb_get_property_cookie_t clientsCookie =
            xcb_get_property(m_connection, 0, m_root, m_clientList, XCB_ATOM_WINDOW, 0, maxListLength);
        const std::vector<std::uint32_t> stacking = values32(m_connection, stackingCookie, XCB_ATOM_WINDOW);
        const std::vector<std::uint32_t> clients = values32(m_connection, clientsCookie, XCB_ATOM_WINDOW);
        // As in the hand-back: a window manager that leaves the stacking list empty (xfwm4) gets the
        // client list's order.
        const xcb_window_t show = topmostFullScreenWindow(m_connection, stacking.empty() ? clients : stacking,
                                                          m_netWmState, m_fullScreen);
        for (Follower& follower : m_overFullScreen) {
            if (follower.written && follower.transientFor == show)
                continue;
            if (show != XCB_WINDOW_NONE)
                xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, follower.window,
                                    XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, 32, 1, &show);
            else
                xcb_delete_property(m_connection, follower.window, XCB_ATOM_WM_TRANSIENT_FOR);
            follower.transientFor = show;
            follower.written = true;
        }
        // Errors for a window closed meanwhile come back as events, and readEvents() drops them.
        xcb_flush(m_connection);
    }

    void rememberActiveWindow()
    {
        const std::vector<std::uint32_t> active = values32(
            m_connection, xcb_get_property(m_connection, 0, m_root, m_netActiveWindow, XCB_ATOM_WINDOW, 0, 1),
            XCB_ATOM_WINDOW);
        const xcb_window_t window = active.empty() ? xcb_window_t{XCB_WINDOW_NONE} : active.front();
        if (window == XCB_WINDOW_NONE) {
            m_noneSincePrevious = true;
        } else if (!isOwnWindow(window)) {
            m_previous = window;
            m_noneSincePrevious = false;
        }
        // A show that takes the focus enters the window manager's full-screen layer only now.
        followFullScreen();
        // A copy: the call may replace what is called.
        if (const std::function<void(std::uint32_t)> call = m_onActiveChange)
            call(window);
    }

    xcb_connection_t* m_connection = nullptr;
    QSocketNotifier* m_notifier = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_atom_t m_netActiveWindow = XCB_ATOM_NONE;
    xcb_window_t m_previous = XCB_WINDOW_NONE;
    bool m_noneSincePrevious = false;
    std::function<void(std::uint32_t)> m_onActiveChange;
    xcb_timestamp_t m_userTime = XCB_CURRENT_TIME;
    std::vector<xcb_window_t> m_onTop;

    struct Follower
    {
        xcb_window_t window;
        xcb_window_t transientFor;
        // False until the property is written, and again after a show, at which Qt clears it.
        bool written;
    };
    std::vector<Follower> m_overFullScreen;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    xcb_atom_t m_clientListStacking = XCB_ATOM_NONE;
    xcb_atom_t m_netWmState = XCB_ATOM_NONE;
    xcb_atom_t m_fullScreen = XCB_ATOM_NONE;
};

xcb_timestamp_t userTime()
{
    const Watcher* watcher = watcherSlot().data();
    return watcher ? watcher->userTime() : XCB_CURRENT_TIME;
}

/// Asks the window manager to activate the window, as a pager would, with the time of the presenter's
/// last key or click. The panel took the keyboard without the window manager, which has noticed it
/// (openbox, xfwm4 and metacity all follow the focus to an override-redirect window), so the request is
/// carried out even for the window that was active before.
void handOver(xcb_connection_t* c, xcb_window_t root, xcb_window_t target, xcb_atom_t netActiveWindow,
              xcb_timestamp_t time = userTime())
{
    collectErrors(c, {sendClientMessage(c, root, target, netActiveWindow, {sourcePager, time, 0})});
}

/// Whom a hand-back goes to, kept while a drag holds the lookups (holdWindowLookups).
struct HandBackTargets
{
    bool held = false;
    xcb_connection_t* connection = nullptr;
    bool powerPointKnown = false;
    xcb_window_t powerPointRoot = XCB_WINDOW_NONE;
    xcb_window_t powerPoint = XCB_WINDOW_NONE;
    bool previousKnown = false;
    xcb_window_t previousRoot = XCB_WINDOW_NONE;
    xcb_window_t previous = XCB_WINDOW_NONE;
};

HandBackTargets& handBackTargets()
{
    static HandBackTargets targets;
    return targets;
}

/// Whether targets looked up earlier in this drag, on this connection, may be used.
bool heldFor(xcb_connection_t* c)
{
    const HandBackTargets& targets = handBackTargets();
    return targets.held && targets.connection == c;
}

unsigned long& windowListReadCount()
{
    static unsigned long count = 0;
    return count;
}

/// The atoms the hand-back uses, interned once per connection: an atom never changes while the server
/// runs.
struct HandBackAtoms
{
    xcb_atom_t clientList = XCB_ATOM_NONE;
    xcb_atom_t clientListStacking = XCB_ATOM_NONE;
    xcb_atom_t activeWindow = XCB_ATOM_NONE;
    xcb_atom_t wmState = XCB_ATOM_NONE;
    xcb_atom_t fullScreen = XCB_ATOM_NONE;
};

const HandBackAtoms* handBackAtoms(xcb_connection_t* c)
{
    static xcb_connection_t* internedOn = nullptr;
    static HandBackAtoms atoms;
    if (internedOn != c) {
        const std::vector<xcb_atom_t> interned =
            internAtoms(c, {"_NET_CLIENT_LIST", "_NET_CLIENT_LIST_STACKING", "_NET_ACTIVE_WINDOW",
                            "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN"});
        if (hasNone(interned))
            return nullptr;
        atoms = {interned[0], interned[1], interned[2], interned[3], interned[4]};
        internedOn = c;
    }
    return &atoms;
}

bool activatePowerPointOn(xcb_connection_t* c)
{
    const HandBackAtoms* atoms = handBackAtoms(c);
    if (!atoms)
        return false;
    HandBackTargets& targets = handBackTargets();
    if (heldFor(c) && targets.powerPointKnown) {
        if (targets.powerPoint == XCB_WINDOW_NONE)
            return false;
        handOver(c, targets.powerPointRoot, targets.powerPoint, atoms->activeWindow);
        return true;
    }

    ++windowListReadCount();
    xcb_window_t root = XCB_WINDOW_NONE;
    xcb_window_t target = XCB_WINDOW_NONE;
    for (xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c)); it.rem;
         xcb_screen_next(&it)) {
        const std::vector<std::uint32_t> clients = values32(
            c, xcb_get_property(c, 0, it.data->root, atoms->clientList, XCB_ATOM_WINDOW, 0, maxListLength),
            XCB_ATOM_WINDOW);
        target = firstPowerPointWindow(c, clients);
        if (target != XCB_WINDOW_NONE) {
            root = it.data->root;
            break;
        }
    }
    if (heldFor(c)) {
        targets.powerPointKnown = true;
        targets.powerPointRoot = root;
        targets.powerPoint = target;
    }
    if (target == XCB_WINDOW_NONE)
        return false;
    handOver(c, root, target, atoms->activeWindow);
    return true;
}

/// The topmost managed window, not this process's, that is full screen; XCB_WINDOW_NONE if none is.
xcb_window_t topmostFullScreenWindow(xcb_connection_t* c, const std::vector<std::uint32_t>& bottomToTop,
                                     xcb_atom_t netWmState, xcb_atom_t fullScreen)
{
    for (auto it = bottomToTop.rbegin(); it != bottomToTop.rend(); ++it) {
        if (isOwnWindow(*it))
            continue;
        const std::vector<std::uint32_t> states =
            values32(c, xcb_get_property(c, 0, *it, netWmState, XCB_ATOM_ATOM, 0, 64), XCB_ATOM_ATOM);
        if (std::find(states.begin(), states.end(), fullScreen) != states.end())
            return *it;
    }
    return XCB_WINDOW_NONE;
}

void activatePreviousWindowOn(xcb_connection_t* c)
{
    const HandBackAtoms* atoms = handBackAtoms(c);
    if (!atoms)
        return;
    HandBackTargets& targets = handBackTargets();
    if (heldFor(c) && targets.previousKnown) {
        if (targets.previous != XCB_WINDOW_NONE)
            handOver(c, targets.previousRoot, targets.previous, atoms->activeWindow);
        return;
    }

    ++windowListReadCount();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const xcb_get_property_cookie_t clientsCookie =
        xcb_get_property(c, 0, root, atoms->clientList, XCB_ATOM_WINDOW, 0, maxListLength);
    const xcb_get_property_cookie_t stackingCookie =
        xcb_get_property(c, 0, root, atoms->clientListStacking, XCB_ATOM_WINDOW, 0, maxListLength);
    const std::vector<std::uint32_t> clients = values32(c, clientsCookie, XCB_ATOM_WINDOW);
    const std::vector<std::uint32_t> stacking = values32(c, stackingCookie, XCB_ATOM_WINDOW);
    const Watcher* watcher = watcherSlot().data();
    xcb_window_t target = watcher ? watcher->previousWindow(false) : xcb_window_t{XCB_WINDOW_NONE};
    // A window that was closed, or withdrawn, is no longer in the window manager's list.
    if (target == XCB_WINDOW_NONE || std::find(clients.begin(), clients.end(), target) == clients.end()) {
        // Some window managers (xfwm4) announce the stacking list but never fill it; the client list is
        // then the best order there is.
        target = topmostFullScreenWindow(c, stacking.empty() ? clients : stacking, atoms->wmState,
                                         atoms->fullScreen);
    }
    if (heldFor(c)) {
        targets.previousKnown = true;
        targets.previousRoot = root;
        targets.previous = target;
    }
    if (target != XCB_WINDOW_NONE)
        handOver(c, root, target, atoms->activeWindow);
}

/// Whether the window manager of that name stacks a transient above its parent when the parent is a focused
/// full-screen window (tried with fake_slideshow: openbox and xfwm4 do; metacity, marco and KWin do not for
/// the preferences window).
bool stacksTransientsOverFullScreen(std::string_view windowManager)
{
    return equalsIgnoringAsciiCase(windowManager, "openbox") ||
           equalsIgnoringAsciiCase(windowManager, "xfwm4");
}

void floatAboveEverythingOn(xcb_connection_t* c, xcb_window_t window)
{
    const std::vector<xcb_atom_t> atoms =
        internAtoms(c, {"_NET_WM_STATE", "_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY", "_NET_WM_DESKTOP"});
    if (hasNone(atoms))
        return;
    const xcb_atom_t netWmState = atoms[0];
    const xcb_atom_t above = atoms[1];
    const xcb_atom_t sticky = atoms[2];
    const xcb_atom_t netWmDesktop = atoms[3];

    const xcb_get_geometry_cookie_t geometryCookie = xcb_get_geometry(c, window);
    const xcb_get_window_attributes_cookie_t attributesCookie = xcb_get_window_attributes(c, window);
    const xcb_get_property_cookie_t stateCookie =
        xcb_get_property(c, 0, window, netWmState, XCB_ATOM_ATOM, 0, maxListLength);

    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, geometryCookie, &error));
    std::free(error);
    error = nullptr;
    const Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, attributesCookie, &error));
    std::free(error);
    std::vector<std::uint32_t> states = values32(c, stateCookie, XCB_ATOM_ATOM);
    if (!geometry || !attributes)
        return;
    const xcb_window_t root = geometry->root;

    if (attributes->override_redirect) {
        // No window manager looks at it: the watcher keeps it on top, and it is on every desktop anyway.
        if (Watcher* watcher = Watcher::instance())
            watcher->keepOnTop(window);
        return;
    }

    if (attributes->map_state == XCB_MAP_STATE_UNMAPPED) {
        // Qt writes _NET_WM_STATE again at every show, keeping the atoms it does not manage itself;
        // these are kept here in the same way.
        for (xcb_atom_t state : {above, sticky}) {
            if (std::find(states.begin(), states.end(), state) == states.end())
                states.push_back(state);
        }
        collectErrors(
            c, {xcb_change_property_checked(c, XCB_PROP_MODE_REPLACE, window, netWmState, XCB_ATOM_ATOM, 32,
                                            static_cast<std::uint32_t>(states.size()), states.data()),
                xcb_change_property_checked(c, XCB_PROP_MODE_REPLACE, window, netWmDesktop, XCB_ATOM_CARDINAL,
                                            32, 1, &allDesktops)});
    }
    // Sent in every case: an unmapped window may be minimised rather than withdrawn, or be mapped by the
    // window manager at this very moment after reading the old properties. A window manager ignores
    // the messages for windows it does not manage.
    collectErrors(
        c, {sendClientMessage(c, root, window, netWmState, {netWmStateAdd, above, sticky, sourceApplication}),
            sendClientMessage(c, root, window, netWmDesktop, {allDesktops, sourceApplication})});

    // "Above" loses to a focused full-screen window; a transient of it does not, where the window manager
    // stacks transients above their parents across layers. Metacity and marco keep the show on top even
    // of its focused transient, which would then be hidden where it is seen today, so only the window
    // managers known to do it are asked. A dialog of ours stays the transient of its own window, which
    // carries it along.
    const QWindow* own = findOwnWindow(window);
    if (own && !own->transientParent() &&
        stacksTransientsOverFullScreen(X11WindowSystem::windowManagerName())) {
        if (Watcher* watcher = Watcher::instance())
            watcher->keepOverFullScreen(window);
    }
}

/// The root window of the connection's first screen; XCB_WINDOW_NONE if it has none.
xcb_window_t firstRoot(xcb_connection_t* c)
{
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    return screen ? screen->root : xcb_window_t{XCB_WINDOW_NONE};
}

bool isManaged(xcb_connection_t* c, xcb_window_t root, xcb_window_t window)
{
    const std::vector<xcb_atom_t> atoms = internAtoms(c, {"_NET_CLIENT_LIST"});
    if (hasNone(atoms))
        return false;
    const std::vector<std::uint32_t> clients = values32(
        c, xcb_get_property(c, 0, root, atoms[0], XCB_ATOM_WINDOW, 0, maxListLength), XCB_ATOM_WINDOW);
    return std::find(clients.begin(), clients.end(), window) != clients.end();
}

} // namespace

QWindow* X11WindowSystem::ownWindow(std::uint32_t window)
{
    return findOwnWindow(window);
}

bool X11WindowSystem::available()
{
    return qtConnection() != nullptr;
}

std::string X11WindowSystem::windowManagerName()
{
    xcb_connection_t* c = qtConnection();
    if (!c)
        return {};
    const std::vector<xcb_atom_t> atoms =
        internAtoms(c, {"_NET_SUPPORTING_WM_CHECK", "_NET_WM_NAME", "UTF8_STRING"});
    const xcb_window_t root = firstRoot(c);
    if (hasNone(atoms) || root == XCB_WINDOW_NONE)
        return {};
    const std::vector<std::uint32_t> check =
        values32(c, xcb_get_property(c, 0, root, atoms[0], XCB_ATOM_WINDOW, 0, 1), XCB_ATOM_WINDOW);
    if (check.empty())
        return {};
    const Reply<xcb_get_property_reply_t> name =
        takePropertyReply(c, xcb_get_property(c, 0, check.front(), atoms[1], atoms[2], 0, 256));
    if (!name || name->format != 8)
        return {};
    const auto* data = static_cast<const char*>(xcb_get_property_value(name.get()));
    const int length = xcb_get_property_value_length(name.get());
    if (!data || length <= 0)
        return {};
    return std::string(data, static_cast<std::size_t>(length));
}

bool X11WindowSystem::panelBypassesWindowManager()
{
    return available();
}

bool X11WindowSystem::activatePowerPoint()
{
    xcb_connection_t* c = qtConnection();
    return c && activatePowerPointOn(c);
}

void X11WindowSystem::watchActiveWindow()
{
    if (qtConnection())
        Watcher::instance();
}

void X11WindowSystem::activatePreviousWindow()
{
    if (xcb_connection_t* c = qtConnection())
        activatePreviousWindowOn(c);
}

void X11WindowSystem::sendRepaintsWithoutWaiting()
{
    // Pictures go inside the requests (see prepareWindowSystem), so a tick's digits on a large panel are
    // megabytes. With the socket's usual send buffer of a few hundred kilobytes the write stops several
    // times a tick until the server has read on, each stop one more wake-up. A buffer that holds the
    // whole panel lets the tick's write finish at once. The kernel caps what it grants at its own limit
    // (net.core.wmem_max) and only uses what is queued; a smaller grant still helps in proportion.
    xcb_connection_t* c = qtConnection();
    if (!c)
        return;
    qint64 largest = 0;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QSize pixels = screen->geometry().size() * screen->devicePixelRatio();
        largest = std::max(largest, qint64(pixels.width()) * pixels.height());
    }
    constexpr qint64 bytesPerPixel = 4;
    constexpr qint64 atMost = qint64(64) << 20;
    // What the socket holds counts its own bookkeeping too: ask for twice the pixels.
    const int wanted = int(std::min(largest * bytesPerPixel * 2, atMost));
    int current = 0;
    socklen_t length = sizeof current;
    const int fd = xcb_get_file_descriptor(c);
    if (::getsockopt(fd, SOL_SOCKET, SO_SNDBUF, &current, &length) == 0 && current >= wanted)
        return;
    // Refused or capped: the write waits as before, which is slower, never wrong.
    ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &wanted, sizeof wanted);
}

void X11WindowSystem::holdWindowLookups(bool hold)
{
    // Released, or held anew: what an earlier drag looked up is forgotten either way.
    HandBackTargets& targets = handBackTargets();
    targets = HandBackTargets{};
    targets.connection = hold ? qtConnection() : nullptr;
    targets.held = targets.connection != nullptr;
}

void X11WindowSystem::floatAboveEverything(NativeWindow window)
{
    if (window == 0 || window > 0xFFFFFFFFu)
        return;
    if (xcb_connection_t* c = qtConnection())
        floatAboveEverythingOn(c, static_cast<xcb_window_t>(window));
}

std::uint32_t X11WindowSystem::previousWindow(bool forgetOnNone)
{
    xcb_connection_t* c = qtConnection();
    const Watcher* watcher = watcherSlot().data();
    if (!c || !watcher)
        return XCB_WINDOW_NONE;
    const xcb_window_t previous = watcher->previousWindow(forgetOnNone);
    if (previous == XCB_WINDOW_NONE || !isManaged(c, firstRoot(c), previous))
        return XCB_WINDOW_NONE;
    return previous;
}

void X11WindowSystem::handOver(std::uint32_t window, bool atOnce)
{
    xcb_connection_t* c = qtConnection();
    const HandBackAtoms* atoms = c ? handBackAtoms(c) : nullptr;
    if (atoms && window != XCB_WINDOW_NONE)
        x11::handOver(c, firstRoot(c), window, atoms->activeWindow, atOnce ? XCB_CURRENT_TIME : userTime());
}

void X11WindowSystem::onActiveWindowChange(std::function<void(std::uint32_t)> call)
{
    if (Watcher* watcher = Watcher::instance())
        watcher->onActiveWindowChange(std::move(call));
}

void X11WindowSystem::setAcceptsKeyboard(std::uint32_t window, bool accepts)
{
    xcb_connection_t* c = qtConnection();
    if (!c || window == XCB_WINDOW_NONE)
        return;
    // WM_HINTS: flags, input, initial state, icon pixmap, icon window, icon x, icon y, icon mask, group.
    constexpr std::uint32_t inputHint = 1;
    constexpr std::size_t fields = 9;
    std::vector<std::uint32_t> hints =
        values32(c, xcb_get_property(c, 0, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 0, fields),
                 XCB_ATOM_WM_HINTS);
    hints.resize(fields, 0);
    if ((hints[0] & inputHint) && hints[1] == (accepts ? 1u : 0u))
        return;
    hints[0] |= inputHint;
    hints[1] = accepts ? 1 : 0;
    collectErrors(c, {xcb_change_property_checked(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS,
                                                  XCB_ATOM_WM_HINTS, 32, fields, hints.data())});
}

std::uint32_t X11WindowSystem::atom(const char* name)
{
    xcb_connection_t* c = qtConnection();
    return c ? internAtoms(c, {name}).front() : xcb_atom_t{XCB_ATOM_NONE};
}

std::vector<std::uint32_t> X11WindowSystem::windowTypes(std::uint32_t window)
{
    xcb_connection_t* c = qtConnection();
    const xcb_atom_t type = atom("_NET_WM_WINDOW_TYPE");
    if (!c || type == XCB_ATOM_NONE)
        return {};
    return values32(c, xcb_get_property(c, 0, window, type, XCB_ATOM_ATOM, 0, 32), XCB_ATOM_ATOM);
}

void X11WindowSystem::setWindowTypes(std::uint32_t window, const std::vector<std::uint32_t>& types)
{
    xcb_connection_t* c = qtConnection();
    const xcb_atom_t type = atom("_NET_WM_WINDOW_TYPE");
    if (!c || type == XCB_ATOM_NONE || types.empty())
        return;
    collectErrors(c, {xcb_change_property_checked(c, XCB_PROP_MODE_REPLACE, window, type, XCB_ATOM_ATOM, 32,
                                                  static_cast<std::uint32_t>(types.size()), types.data())});
}

void X11WindowSystem::remap(std::uint32_t window)
{
    if (xcb_connection_t* c = qtConnection())
        collectErrors(c, {xcb_unmap_window_checked(c, window), xcb_map_window_checked(c, window)});
}

bool X11WindowSystem::grabKeyboard(std::uint32_t window)
{
    xcb_connection_t* c = qtConnection();
    if (!c)
        return false;
    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(
        c, xcb_grab_keyboard(c, 0, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        &error));
    std::free(error);
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void X11WindowSystem::releaseKeyboard()
{
    if (xcb_connection_t* c = qtConnection())
        collectErrors(c, {xcb_ungrab_keyboard_checked(c, XCB_CURRENT_TIME)});
}

unsigned long windowListReads() noexcept
{
    return windowListReadCount();
}

} // namespace platform::x11
