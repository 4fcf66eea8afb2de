#include "Sway.h"

#include "virtual-keyboard-unstable-v1-client.h"
#include "wlr-virtual-pointer-unstable-v1-client.h"

#include <QImage>
#include <QProcess>

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <cstring>
#include <map>
#include <sys/mman.h>
#include <unistd.h>

namespace lab {

namespace {

std::uint32_t now()
{
    using namespace std::chrono;
    return std::uint32_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

constexpr std::uint32_t evdevOffset = 8; // xkb keycodes are evdev's plus 8
constexpr std::uint32_t shiftKeysym = 0xffe1;

} // namespace

struct Sway::Wayland
{
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_seat* seat = nullptr;
    wl_output* output = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
    zwlr_virtual_pointer_manager_v1* pointers = nullptr;
    zwp_virtual_keyboard_v1* keyboard = nullptr;
    zwlr_virtual_pointer_v1* pointer = nullptr;
    QSize outputSize;

    xkb_context* context = nullptr;
    xkb_keymap* keymap = nullptr;
    xkb_state* state = nullptr;
    struct Place
    {
        xkb_keycode_t code;
        bool shifted;
    };
    std::map<std::uint32_t, Place> places;     // keysym -> the key (and level) that types it
    std::map<std::uint32_t, bool> shiftedByUs; // keysym held down -> we pressed Shift for it
    std::uint32_t sentMods[4] = {};

    ~Wayland()
    {
        if (keyboard)
            zwp_virtual_keyboard_v1_destroy(keyboard);
        if (pointer)
            zwlr_virtual_pointer_v1_destroy(pointer);
        if (keyboards)
            zwp_virtual_keyboard_manager_v1_destroy(keyboards);
        if (pointers)
            zwlr_virtual_pointer_manager_v1_destroy(pointers);
        if (output)
            wl_output_destroy(output);
        if (seat)
            wl_seat_destroy(seat);
        if (registry)
            wl_registry_destroy(registry);
        if (display)
            wl_display_disconnect(display);
        xkb_state_unref(state);
        xkb_keymap_unref(keymap);
        xkb_context_unref(context);
    }

    static void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                       std::uint32_t)
    {
        auto* self = static_cast<Wayland*>(data);
        if (!std::strcmp(interface, wl_seat_interface.name) && !self->seat)
            self->seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        else if (!std::strcmp(interface, wl_output_interface.name) && !self->output)
            self->output = static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, 1));
        else if (!std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name))
            self->keyboards = static_cast<zwp_virtual_keyboard_manager_v1*>(
                wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
        else if (!std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name))
            self->pointers = static_cast<zwlr_virtual_pointer_manager_v1*>(
                wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
    }
    static void globalRemove(void*, wl_registry*, std::uint32_t) {}

    static void geometry(void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                         std::int32_t, const char*, const char*, std::int32_t)
    {}
    static void mode(void* data, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height,
                     std::int32_t)
    {
        if (flags & WL_OUTPUT_MODE_CURRENT)
            static_cast<Wayland*>(data)->outputSize = QSize(width, height);
    }
    static void done(void*, wl_output*) {}
    static void scale(void*, wl_output*, std::int32_t) {}
    static void text(void*, wl_output*, const char*) {}

    /// The US layout that the compositor gets from us and that tells which key types which keysym.
    bool makeKeymap(QString* why)
    {
        context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
        keymap = context ? xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr;
        if (!keymap) {
            *why = QStringLiteral("cannot make an xkb keymap for \"us\"");
            return false;
        }
        state = xkb_state_new(keymap);
        for (xkb_keycode_t code = xkb_keymap_max_keycode(keymap); code >= xkb_keymap_min_keycode(keymap);
             --code) {
            // From the top down and level 0 last, so that the plain key wins over keypad and shifted ones.
            for (int level = 1; level >= 0; --level) {
                const xkb_keysym_t* syms = nullptr;
                const int count = xkb_keymap_key_get_syms_by_level(keymap, code, 0, level, &syms);
                if (count == 1)
                    places[syms[0]] = {code, level == 1};
            }
        }
        char* text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
        const std::size_t size = std::strlen(text) + 1;
        const int fd = memfd_create("brevlin-lab-keymap", MFD_CLOEXEC);
        const bool written = fd >= 0 && ::write(fd, text, size) == ssize_t(size);
        std::free(text);
        if (!written) {
            *why = QStringLiteral("cannot put the keymap into a memfd");
            if (fd >= 0)
                ::close(fd);
            return false;
        }
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd, std::uint32_t(size));
        ::close(fd); // sent: the compositor has its own copy of the descriptor
        return true;
    }

    /// The compositor takes a virtual keyboard's modifiers from us, not from its keys.
    void press(xkb_keycode_t code, bool pressed)
    {
        zwp_virtual_keyboard_v1_key(keyboard, now(), code - evdevOffset,
                                    pressed ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
        xkb_state_update_key(state, code, pressed ? XKB_KEY_DOWN : XKB_KEY_UP);
        const std::uint32_t mods[4] = {xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
                                       xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
                                       xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED),
                                       xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE)};
        if (std::memcmp(mods, sentMods, sizeof mods) != 0) {
            zwp_virtual_keyboard_v1_modifiers(keyboard, mods[0], mods[1], mods[2], mods[3]);
            std::memcpy(sentMods, mods, sizeof mods);
        }
    }

    /// Sent and handled by the compositor before the test goes on, as a real device's events would be.
    void sync() { wl_display_roundtrip(display); }
};

Sway::Sway() = default;
Sway::~Sway() = default;

bool Sway::connect(QString* why)
{
    auto wl = std::make_unique<Wayland>();
    // Our own connection: the test process itself runs offscreen, not as a Wayland client.
    wl->display = wl_display_connect(nullptr);
    if (!wl->display) {
        *why = QStringLiteral("cannot connect to WAYLAND_DISPLAY ") + qEnvironmentVariable("WAYLAND_DISPLAY");
        return false;
    }
    static const wl_registry_listener registryListener{&Wayland::global, &Wayland::globalRemove};
    wl->registry = wl_display_get_registry(wl->display);
    wl_registry_add_listener(wl->registry, &registryListener, wl.get());
    wl_display_roundtrip(wl->display);
    if (!wl->seat || !wl->output || !wl->keyboards || !wl->pointers) {
        *why = QStringLiteral("sway offers no seat, output, virtual keyboard or virtual pointer");
        return false;
    }
    static const wl_output_listener outputListener{&Wayland::geometry, &Wayland::mode, &Wayland::done,
                                                   &Wayland::scale,    &Wayland::text, &Wayland::text};
    wl_output_add_listener(wl->output, &outputListener, wl.get());
    wl->keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(wl->keyboards, wl->seat);
    wl->pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(wl->pointers, wl->seat);
    if (!wl->makeKeymap(why))
        return false;
    wl_display_roundtrip(wl->display);
    if (!wl->outputSize.isValid()) {
        *why = QStringLiteral("the output told no size");
        return false;
    }
    m_wl = std::move(wl);
    // A new keyboard's first key can get lost while clients learn its keymap: a Shift alone, before any
    // key that counts.
    tap(shiftKeysym);
    QTest::qWait(200);
    if (screenshot().isNull()) {
        *why = QStringLiteral("no screenshot from grim");
        return false;
    }
    return true;
}

void Sway::key(std::uint32_t keysym, bool pressed)
{
    const auto place = m_wl->places.find(keysym);
    if (place == m_wl->places.end()) {
        qWarning("lab: no key of the US layout types keysym 0x%x", keysym);
        return;
    }
    const xkb_keycode_t shift = m_wl->places.at(shiftKeysym).code;
    const bool shiftDown =
        xkb_state_mod_name_is_active(m_wl->state, XKB_MOD_NAME_SHIFT, XKB_STATE_MODS_DEPRESSED) > 0;
    if (pressed) {
        const bool addShift = place->second.shifted && !shiftDown;
        if (addShift)
            m_wl->press(shift, true);
        m_wl->shiftedByUs[keysym] = addShift;
        m_wl->press(place->second.code, true);
    } else {
        m_wl->press(place->second.code, false);
        if (m_wl->shiftedByUs[keysym])
            m_wl->press(shift, false);
        m_wl->shiftedByUs.erase(keysym);
    }
    m_wl->sync();
}

void Sway::button(bool pressed)
{
    constexpr std::uint32_t leftButton = 0x110; // BTN_LEFT
    zwlr_virtual_pointer_v1_button(m_wl->pointer, now(), leftButton,
                                   pressed ? WL_POINTER_BUTTON_STATE_PRESSED
                                           : WL_POINTER_BUTTON_STATE_RELEASED);
    zwlr_virtual_pointer_v1_frame(m_wl->pointer);
    m_wl->sync();
}

void Sway::moveTo(QPoint at)
{
    // In the output's own pixels: with one output at 0,0 the layout is the output.
    const QSize size = m_wl->outputSize;
    const auto motion = [this, size](int x, int y) {
        zwlr_virtual_pointer_v1_motion_absolute(m_wl->pointer, now(),
                                                std::uint32_t(qBound(0, x, size.width() - 1)),
                                                std::uint32_t(qBound(0, y, size.height() - 1)),
                                                std::uint32_t(size.width()), std::uint32_t(size.height()));
        zwlr_virtual_pointer_v1_frame(m_wl->pointer);
        m_wl->sync();
    };
    // A jump from one XWayland window onto another is only an enter for XWayland, which then still
    // places a click on the window it left; a mouse always moves a little inside the window too.
    motion(at.x() > 0 ? at.x() - 1 : at.x() + 1, at.y());
    motion(at.x(), at.y());
}

QImage Sway::screenshot()
{
    // PPM: no compression to wait for; grim leaves the pointer out unless told otherwise.
    const QString file = m_folder.filePath(QStringLiteral("screen.ppm"));
    QFile::remove(file);
    QProcess grim;
    grim.start(QStringLiteral("grim"), {QStringLiteral("-t"), QStringLiteral("ppm"), file});
    if (!grim.waitForFinished(10000) || grim.exitStatus() != QProcess::NormalExit || grim.exitCode() != 0) {
        qWarning().noquote() << "grim:" << grim.readAllStandardError().trimmed();
        return {};
    }
    const QImage image(file);
    return image.convertToFormat(QImage::Format_RGB32);
}

} // namespace lab
