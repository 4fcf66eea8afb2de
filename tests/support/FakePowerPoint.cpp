// fake_powerpoint: stands in for PowerPoint running under Wine, for tests on X11.
//
//   fake_powerpoint [--instance NAME] [--class NAME] [--title TEXT]
//
// Maps a visible 300x200 top-level window whose WM_CLASS is NAME (instance) and NAME (class), both
// "powerpnt.exe" unless given, and whose WM_NAME is TEXT ("PowerPoint Slide Show" unless given). Once
// the window is mapped it prints the window id in decimal and a newline on stdout, flushed. It then
// stays until it is killed, its stdin reaches end of file or the X connection closes; so start it with
// stdin on a pipe that stays open (QProcess does that), not on /dev/null.
//
// Exit status: 0 after end of stdin, 1 when the display cannot be opened or the connection breaks,
// 2 on a wrong argument.

#include <xcb/xcb.h>

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct Options
{
    std::string instance = "powerpnt.exe";
    std::string wmClass = "powerpnt.exe";
    std::string title = "PowerPoint Slide Show";
};

bool parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (i + 1 >= argc)
            return false;
        const std::string value = argv[++i];
        if (option == "--instance")
            options.instance = value;
        else if (option == "--class")
            options.wmClass = value;
        else if (option == "--title")
            options.title = value;
        else
            return false;
    }
    return true;
}

xcb_atom_t atom(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

void setString(xcb_connection_t* c, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
               const std::string& value)
{
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<uint32_t>(value.size()), value.data());
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: fake_powerpoint [--instance NAME] [--class NAME] [--title TEXT]\n");
        return 2;
    }

    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "fake_powerpoint: cannot open the display\n");
        xcb_disconnect(c);
        return 1;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    const xcb_screen_t* screen = screens.data;

    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 100, 100, 300, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);

    const std::string wmClass = options.instance + '\0' + options.wmClass + '\0';
    setString(c, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, wmClass);
    setString(c, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, options.title);
    setString(c, window, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"), options.title);
    // WM_HINTS with only the input hint set: the window takes the keyboard focus when activated.
    const uint32_t wmHints[9] = {1, 1, 0, 0, 0, 0, 0, 0, 0};
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                        wmHints);
    xcb_map_window(c, window);
    xcb_flush(c);

    bool announced = false;
    pollfd fds[2] = {{xcb_get_file_descriptor(c), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            const bool mapped = (event->response_type & 0x7f) == XCB_MAP_NOTIFY;
            std::free(event);
            if (mapped && !announced) {
                std::printf("%u\n", static_cast<unsigned>(window));
                std::fflush(stdout);
                announced = true;
            }
        }
        if (xcb_connection_has_error(c)) {
            xcb_disconnect(c);
            return 1;
        }
        // Before the announcement stdin is not watched, so that a test reading the id always gets it.
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
