// X11 through xcb, on Qt's own connection. EWMH window managers own _NET_WM_STATE and _NET_WM_DESKTOP
// once a window is managed, so those change by client messages to the root window; before that the
// window's properties are what the manager reads when it maps the window.
//
// Every request whose error could come back is sent checked and its error collected here: an unchecked
// error would reach Qt's event loop, which logs it.

#include "Platform.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

namespace platform {
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

void activatePowerPointOn(xcb_connection_t* c)
{
    const std::vector<xcb_atom_t> atoms = internAtoms(c, {"_NET_CLIENT_LIST", "_NET_ACTIVE_WINDOW"});
    if (hasNone(atoms))
        return;
    const xcb_atom_t netClientList = atoms[0];
    const xcb_atom_t netActiveWindow = atoms[1];

    for (xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c)); it.rem;
         xcb_screen_next(&it)) {
        const xcb_window_t root = it.data->root;
        const std::vector<std::uint32_t> clients =
            values32(c, xcb_get_property(c, 0, root, netClientList, XCB_ATOM_WINDOW, 0, maxListLength),
                     XCB_ATOM_WINDOW);
        const xcb_window_t target = firstPowerPointWindow(c, clients);
        if (target == XCB_WINDOW_NONE)
            continue;
        collectErrors(
            c, {sendClientMessage(c, root, target, netActiveWindow, {sourcePager, XCB_CURRENT_TIME, 0})});
        return;
    }
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
}

} // namespace

void chooseWindowSystem() noexcept
{
    // An explicit choice (QT_QPA_PLATFORM, or -platform on the command line, which Qt reads later and
    // which wins over this) is respected; XWayland is only taken where it is there.
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
        qEnvironmentVariableIsEmpty("DISPLAY"))
        return;
    qputenv("QT_QPA_PLATFORM", "xcb");
}

void activatePowerPoint() noexcept
{
    try {
        if (xcb_connection_t* c = qtConnection())
            activatePowerPointOn(c);
    } catch (...) {
    }
}

void floatAboveEverything(NativeWindow window) noexcept
{
    try {
        if (window == 0 || window > 0xFFFFFFFFu)
            return;
        if (xcb_connection_t* c = qtConnection())
            floatAboveEverythingOn(c, static_cast<xcb_window_t>(window));
    } catch (...) {
    }
}

// Without a compositor X11 draws no shadows, and compositors decide on their own which windows get one.
void setWindowShadow(NativeWindow, bool) noexcept {}

} // namespace platform
