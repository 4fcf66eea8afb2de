// fake_slideshow: stands in for a full-screen slide show (Impress, evince, pdfpc) on X11.
//
//   fake_slideshow [--class NAME] [--no-fullscreen]
//
// Maps a top-level window whose WM_CLASS is NAME ("fakeslideshow" unless given) that asks the window
// manager for full screen through _NET_WM_STATE_FULLSCREEN, both in _NET_WM_STATE before it is mapped
// and by a client message once it is. It takes the keyboard when activated (WM_HINTS input). It fills
// itself with a saturated dark blue and draws the slide number in large white segments, so that a
// screenshot of the root window tells the show from the panel.
//
// On stdout, flushed: first the window id in decimal once the window is mapped, then one line per key
// press: "slide N" after Right, space or Next (forward) and Left or Prior (back), else "key NAME" where
// NAME is the character for a printable keysym and the keysym in hex (0x...) otherwise. It stays until
// its stdin reaches end of file or the X connection closes.
//
// Exit status: 0 after end of stdin, 1 when the display cannot be opened or the connection breaks,
// 2 on a wrong argument.

#include "FakeClient.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr uint32_t showBlue = 0x102080;
constexpr uint32_t digitWhite = 0xffffff;

constexpr uint32_t keysymSpace = 0x20;
constexpr uint32_t keysymLeft = 0xff51;
constexpr uint32_t keysymRight = 0xff53;
constexpr uint32_t keysymPrior = 0xff55;
constexpr uint32_t keysymNext = 0xff56;

struct Options
{
    std::string wmClass = "fakeslideshow";
    bool fullScreen = true;
};

bool parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--no-fullscreen") {
            options.fullScreen = false;
        } else if (option == "--class" && i + 1 < argc) {
            options.wmClass = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

// The server's keycode to keysym table, read once: enough for a test's keys, no extra library.
struct KeyMap
{
    xcb_keycode_t first = 0;
    uint8_t perCode = 0;
    std::vector<xcb_keysym_t> syms;

    xcb_keysym_t lookup(xcb_keycode_t code, bool shifted) const
    {
        const size_t base = static_cast<size_t>(code - first) * perCode;
        if (code < first || perCode == 0 || base + perCode > syms.size())
            return 0;
        const xcb_keysym_t plain = syms[base];
        const xcb_keysym_t upper = perCode > 1 ? syms[base + 1] : 0;
        return shifted && upper != 0 ? upper : plain;
    }
};

KeyMap readKeyMap(xcb_connection_t* c)
{
    KeyMap map;
    const xcb_setup_t* setup = xcb_get_setup(c);
    map.first = setup->min_keycode;
    const auto count = static_cast<uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    xcb_get_keyboard_mapping_reply_t* reply =
        xcb_get_keyboard_mapping_reply(c, xcb_get_keyboard_mapping(c, map.first, count), nullptr);
    if (!reply)
        return map;
    map.perCode = reply->keysyms_per_keycode;
    const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(reply);
    map.syms.assign(syms, syms + xcb_get_keyboard_mapping_keysyms_length(reply));
    std::free(reply);
    return map;
}

// Seven segments per digit, each a filled rectangle: no font needed on a bare X server.
void drawNumber(xcb_connection_t* c, xcb_window_t window, xcb_gcontext_t gc, int number, int width,
                int height)
{
    static const uint8_t segments[10] = {0x3f, 0x06, 0x5b, 0x4f, 0x66, 0x6d, 0x7d, 0x07, 0x7f, 0x6f};
    const std::string digits = std::to_string(number);
    const int digitHeight = height / 2;
    const int digitWidth = digitHeight / 2;
    const int stroke = digitHeight / 8;
    const int gap = stroke * 2;
    const int total = static_cast<int>(digits.size()) * (digitWidth + gap) - gap;
    int x = (width - total) / 2;
    const int y = (height - digitHeight) / 2;
    const int half = digitHeight / 2;
    for (const char ch : digits) {
        const uint8_t on = segments[ch - '0'];
        const xcb_rectangle_t parts[7] = {
            {static_cast<int16_t>(x), static_cast<int16_t>(y), static_cast<uint16_t>(digitWidth),
             static_cast<uint16_t>(stroke)},
            {static_cast<int16_t>(x + digitWidth - stroke), static_cast<int16_t>(y),
             static_cast<uint16_t>(stroke), static_cast<uint16_t>(half)},
            {static_cast<int16_t>(x + digitWidth - stroke), static_cast<int16_t>(y + half),
             static_cast<uint16_t>(stroke), static_cast<uint16_t>(half)},
            {static_cast<int16_t>(x), static_cast<int16_t>(y + digitHeight - stroke),
             static_cast<uint16_t>(digitWidth), static_cast<uint16_t>(stroke)},
            {static_cast<int16_t>(x), static_cast<int16_t>(y + half), static_cast<uint16_t>(stroke),
             static_cast<uint16_t>(half)},
            {static_cast<int16_t>(x), static_cast<int16_t>(y), static_cast<uint16_t>(stroke),
             static_cast<uint16_t>(half)},
            {static_cast<int16_t>(x), static_cast<int16_t>(y + half - stroke / 2),
             static_cast<uint16_t>(digitWidth), static_cast<uint16_t>(stroke)},
        };
        for (int s = 0; s < 7; ++s) {
            if (on & (1U << s))
                xcb_poly_fill_rectangle(c, window, gc, 1, &parts[s]);
        }
        x += digitWidth + gap;
    }
}

std::string keyName(xcb_keysym_t sym)
{
    if (sym > 0x20 && sym < 0x7f)
        return std::string(1, static_cast<char>(sym));
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%x", static_cast<unsigned>(sym));
    return buffer;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: fake_slideshow [--class NAME] [--no-fullscreen]\n");
        return 2;
    }

    const fakeclient::Display display = fakeclient::openDisplay("fake_slideshow");
    xcb_connection_t* c = display.connection;
    if (!c)
        return 1;
    const xcb_screen_t* screen = display.screen;
    const KeyMap keys = readKeyMap(c);

    int width = options.fullScreen ? screen->width_in_pixels : 640;
    int height = options.fullScreen ? screen->height_in_pixels : 480;
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {showBlue, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE |
                                             XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, static_cast<uint16_t>(width),
                      static_cast<uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);

    fakeclient::nameWindow(c, window, options.wmClass, options.wmClass, "Slide Show");
    const xcb_atom_t wmState = fakeclient::atom(c, "_NET_WM_STATE");
    const xcb_atom_t fullScreen = fakeclient::atom(c, "_NET_WM_STATE_FULLSCREEN");
    if (options.fullScreen)
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, wmState, XCB_ATOM_ATOM, 32, 1, &fullScreen);

    const xcb_gcontext_t gc = xcb_generate_id(c);
    const uint32_t gcValues[] = {digitWhite, 0};
    xcb_create_gc(c, gc, window, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, gcValues);

    xcb_map_window(c, window);
    xcb_flush(c);

    int slide = 1;
    auto redraw = [&] {
        xcb_clear_area(c, 0, window, 0, 0, 0, 0);
        drawNumber(c, window, gc, slide, width, height);
        xcb_flush(c);
    };

    return fakeclient::serve(c, window, [&](const xcb_generic_event_t* event, bool firstMap) {
        const uint8_t type = event->response_type & 0x7f;
        if (firstMap) {
            // Some window managers only honour the request of a mapped window.
            if (options.fullScreen) {
                xcb_client_message_event_t message{};
                message.response_type = XCB_CLIENT_MESSAGE;
                message.format = 32;
                message.window = window;
                message.type = wmState;
                message.data.data32[0] = 1; // _NET_WM_STATE_ADD
                message.data.data32[1] = fullScreen;
                message.data.data32[3] = 1; // an application asks
                xcb_send_event(c, 0, screen->root,
                               XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                               reinterpret_cast<const char*>(&message));
            }
            redraw();
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto* configure = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
            if (configure->window == window && (configure->width != width || configure->height != height)) {
                width = configure->width;
                height = configure->height;
                redraw();
            }
        } else if (type == XCB_EXPOSE) {
            if (reinterpret_cast<const xcb_expose_event_t*>(event)->count == 0)
                redraw();
        } else if (type == XCB_KEY_PRESS) {
            const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(event);
            const xcb_keysym_t sym = keys.lookup(press->detail, press->state & XCB_MOD_MASK_SHIFT);
            if (sym == keysymRight || sym == keysymSpace || sym == keysymNext) {
                ++slide;
                std::printf("slide %d\n", slide);
                redraw();
            } else if ((sym == keysymLeft || sym == keysymPrior) && slide > 1) {
                --slide;
                std::printf("slide %d\n", slide);
                redraw();
            } else if (sym == keysymLeft || sym == keysymPrior) {
                std::printf("slide %d\n", slide);
            } else {
                std::printf("key %s\n", keyName(sym).c_str());
            }
            std::fflush(stdout);
        }
    });
}
