#include "KWin.h"

#include "fake-input-client-protocol.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDebug>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <unistd.h>
#include <wayland-client.h>

namespace lab {

namespace {

constexpr std::uint32_t released = 0; // fake_input's key and button states, as wl_pointer's
constexpr std::uint32_t pressedState = 1;

struct Keycode
{
    std::uint32_t code = 0;
    bool shift = false;
};

/// The evdev key that types a keysym on KWin's default US layout; code 0 where the lab knows none.
Keycode evdevKey(std::uint32_t keysym)
{
    static const std::uint32_t letters[26] = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I,
                                              KEY_J, KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R,
                                              KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};
    if (keysym >= 'a' && keysym <= 'z')
        return {letters[keysym - 'a'], false};
    if (keysym >= 'A' && keysym <= 'Z')
        return {letters[keysym - 'A'], true};
    if (keysym == '0')
        return {KEY_0, false};
    if (keysym >= '1' && keysym <= '9')
        return {KEY_1 + (keysym - '1'), false};
    switch (keysym) {
    case ':':
        return {KEY_SEMICOLON, true};
    case ';':
        return {KEY_SEMICOLON, false};
    case ' ':
        return {KEY_SPACE, false};
    case '.':
        return {KEY_DOT, false};
    case '-':
        return {KEY_MINUS, false};
    case 0xff0d:
        return {KEY_ENTER, false}; // Return
    case 0xff09:
        return {KEY_TAB, false}; // Tab
    case 0xff1b:
        return {KEY_ESC, false}; // Escape
    case 0xff08:
        return {KEY_BACKSPACE, false}; // BackSpace
    case 0xff51:
        return {KEY_LEFT, false};
    case 0xff52:
        return {KEY_UP, false};
    case 0xff53:
        return {KEY_RIGHT, false};
    case 0xff54:
        return {KEY_DOWN, false};
    case 0xff55:
        return {KEY_PAGEUP, false}; // Prior
    case 0xff56:
        return {KEY_PAGEDOWN, false}; // Next
    case 0xffe1:
        return {KEY_LEFTSHIFT, false};
    case 0xffe3:
        return {KEY_LEFTCTRL, false};
    case 0xffe9:
        return {KEY_LEFTALT, false};
    default:
        return {};
    }
}

} // namespace

struct KWinRegistryListener
{
    static void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                       std::uint32_t version)
    {
        auto* self = static_cast<KWin*>(data);
        if (std::strcmp(interface, org_kde_kwin_fake_input_interface.name) != 0 || self->m_fakeInput)
            return;
        // Version 4 brings keyboard_key; 3 absolute pointer motion. Never more than the code here knows.
        self->m_fakeInputVersion =
            std::min<std::uint32_t>(version, org_kde_kwin_fake_input_interface.version);
        self->m_fakeInput = static_cast<org_kde_kwin_fake_input*>(
            wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, self->m_fakeInputVersion));
    }
    static void globalRemove(void*, wl_registry*, std::uint32_t) {}
};

static const wl_registry_listener registryListener = {KWinRegistryListener::global,
                                                      KWinRegistryListener::globalRemove};

KWin::~KWin()
{
    if (m_fakeInput)
        org_kde_kwin_fake_input_destroy(m_fakeInput);
    if (m_registry)
        wl_registry_destroy(m_registry);
    if (m_display)
        wl_display_disconnect(m_display);
}

bool KWin::connect(QString* why)
{
    // WAYLAND_DISPLAY of the session; the test's own Qt runs offscreen and has no connection to share.
    m_display = wl_display_connect(nullptr);
    if (!m_display) {
        *why = QStringLiteral("cannot connect to the Wayland display: %1")
                   .arg(QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &registryListener, this);
    wl_display_roundtrip(m_display);
    if (!m_fakeInput) {
        *why = QStringLiteral(
            "KWin offers no org_kde_kwin_fake_input (KWIN_WAYLAND_NO_PERMISSION_CHECKS unset?)");
        return false;
    }
    if (m_fakeInputVersion < 4) {
        *why =
            QStringLiteral("org_kde_kwin_fake_input version %1 has no keyboard_key").arg(m_fakeInputVersion);
        return false;
    }
    // KWin drops every event of a device that has not asked first; it grants every request.
    org_kde_kwin_fake_input_authenticate(m_fakeInput, "Brevlin lab", "stage tests");
    flush();
    if (screenshot().isNull()) {
        *why = QStringLiteral("no screenshot");
        return false;
    }
    return true;
}

void KWin::flush()
{
    // A round trip rather than a flush: the event has reached KWin before the test looks for its effect.
    if (wl_display_roundtrip(m_display) < 0)
        qWarning() << "fake input: the Wayland connection is broken";
}

void KWin::sendKeycode(std::uint32_t evdevCode, bool pressed)
{
    org_kde_kwin_fake_input_keyboard_key(m_fakeInput, evdevCode, pressed ? pressedState : released);
}

void KWin::key(std::uint32_t keysym, bool pressed)
{
    const Keycode k = evdevKey(keysym);
    if (k.code == 0) {
        qWarning("fake input: no key for keysym 0x%x", keysym);
        return;
    }
    if (k.shift && pressed)
        sendKeycode(KEY_LEFTSHIFT, true);
    sendKeycode(k.code, pressed);
    if (k.shift && !pressed)
        sendKeycode(KEY_LEFTSHIFT, false);
    flush();
}

void KWin::button(bool pressed)
{
    org_kde_kwin_fake_input_button(m_fakeInput, BTN_LEFT, pressed ? pressedState : released);
    flush();
}

void KWin::moveTo(QPoint at)
{
    org_kde_kwin_fake_input_pointer_motion_absolute(m_fakeInput, wl_fixed_from_int(at.x()),
                                                    wl_fixed_from_int(at.y()));
    flush();
}

QImage KWin::screenshot()
{
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return {};
    QDBusInterface screenshots(QStringLiteral("org.kde.KWin"), QStringLiteral("/org/kde/KWin/ScreenShot2"),
                               QStringLiteral("org.kde.KWin.ScreenShot2"), QDBusConnection::sessionBus());
    const QVariantMap options{{QStringLiteral("include-cursor"), false},
                              {QStringLiteral("native-resolution"), true}};
    const QDBusReply<QVariantMap> reply = screenshots.call(
        QStringLiteral("CaptureWorkspace"), options, QVariant::fromValue(QDBusUnixFileDescriptor(fds[1])));
    ::close(fds[1]); // the reader sees end of file once KWin, too, has closed its copy
    if (!reply.isValid()) {
        ::close(fds[0]);
        qWarning().noquote() << "screenshot:" << reply.error().message();
        return {};
    }
    QByteArray data;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n > 0)
            data.append(buffer, n);
        else if (n == 0 || errno != EINTR)
            break;
    }
    ::close(fds[0]);
    const QVariantMap results = reply.value();
    // "raw": the pixels as they are in KWin's QImage, described by these fields.
    const int width = results.value(QStringLiteral("width")).toInt();
    const int height = results.value(QStringLiteral("height")).toInt();
    const int stride = results.value(QStringLiteral("stride")).toInt();
    const auto format = QImage::Format(results.value(QStringLiteral("format")).toInt());
    if (results.value(QStringLiteral("type")).toString() != QLatin1String("raw") || width <= 0 ||
        height <= 0 || data.size() < qsizetype(stride) * height) {
        qWarning() << "screenshot: unexpected answer" << results << data.size();
        return {};
    }
    const QImage image(reinterpret_cast<const uchar*>(data.constData()), width, height, stride, format);
    m_lastSize = image.size();
    return image.convertToFormat(QImage::Format_RGB32); // a deep copy: data goes away
}

} // namespace lab
