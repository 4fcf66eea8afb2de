#pragma once

// What the stand-in X clients (fake_powerpoint, fake_slideshow) share: opening the display, naming a
// window the way real applications do, and the loop that announces the window and lives until stdin
// closes. Plain xcb, no Qt: they must behave like someone else's program.

#include <xcb/xcb.h>

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace fakeclient {

inline xcb_atom_t atom(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

inline void setString(xcb_connection_t* c, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                      const std::string& value)
{
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<uint32_t>(value.size()), value.data());
}

struct Display
{
    xcb_connection_t* connection = nullptr;
    const xcb_screen_t* screen = nullptr;
};

/// The default display and its screen; connection is null (and a message on stderr) when it cannot be
/// opened.
inline Display openDisplay(const char* program)
{
    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "%s: cannot open the display\n", program);
        xcb_disconnect(c);
        return {};
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    return {c, screens.data};
}

/// WM_CLASS, both titles, and WM_HINTS with only the input hint set: the window takes the keyboard focus
/// when activated, as a slide program's does.
inline void nameWindow(xcb_connection_t* c, xcb_window_t window, const std::string& instance,
                       const std::string& wmClass, const std::string& title)
{
    setString(c, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, instance + '\0' + wmClass + '\0');
    setString(c, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
    setString(c, window, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"), title);
    const uint32_t wmHints[9] = {1, 1, 0, 0, 0, 0, 0, 0, 0};
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                        wmHints);
}

/// Hands every event to onEvent(event, firstMap) and, at the window's first MapNotify, prints the window
/// id on stdout first. Returns the exit status: 0 once stdin reaches end of file (watched only after the
/// announcement, so a test reading the id always gets it), 1 when the connection breaks.
template <typename OnEvent>
int serve(xcb_connection_t* c, xcb_window_t window, OnEvent onEvent)
{
    bool announced = false;
    pollfd fds[2] = {{xcb_get_file_descriptor(c), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            const bool firstMap = !announced && (event->response_type & 0x7f) == XCB_MAP_NOTIFY;
            if (firstMap) {
                std::printf("%u\n", static_cast<unsigned>(window));
                std::fflush(stdout);
                announced = true;
            }
            onEvent(event, firstMap);
            std::free(event);
        }
        if (xcb_connection_has_error(c)) {
            xcb_disconnect(c);
            return 1;
        }
        const nfds_t watched = announced ? 2 : 1;
        if (poll(fds, watched, -1) < 0) {
            if (errno == EINTR)
                continue;
            xcb_disconnect(c);
            return 1;
        }
        if (announced && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
            char buffer[256];
            const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
            if (n <= 0) {
                xcb_disconnect(c);
                return 0;
            }
        }
    }
}

} // namespace fakeclient
