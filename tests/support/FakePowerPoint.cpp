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

#include "FakeClient.h"

#include <cstdio>
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

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: fake_powerpoint [--instance NAME] [--class NAME] [--title TEXT]\n");
        return 2;
    }

    const fakeclient::Display display = fakeclient::openDisplay("fake_powerpoint");
    xcb_connection_t* c = display.connection;
    if (!c)
        return 1;
    const xcb_screen_t* screen = display.screen;

    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 100, 100, 300, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    fakeclient::nameWindow(c, window, options.instance, options.wmClass, options.title);
    xcb_map_window(c, window);
    xcb_flush(c);

    return fakeclient::serve(c, window, [](const xcb_generic_event_t*, bool) {});
}
