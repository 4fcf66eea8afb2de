// Measures how long a program takes to put its first window on the screen: from just before the fork to
// the first top-level window of the program being mapped, and to that window first holding drawn content.
// Plain xcb on the X server in DISPLAY, so it sees exactly what any other client of that server would see.
//
//   startup_probe [--timeout S] [--poll-ms N] [--detach] [--log FILE] [--dump FILE.ppm] -- program [args...]
//
// Prints one JSON object on stdout:
//   {"pid":..,"window":..,"width":..,"height":..,"map_ms":..,"drawn_ms":..,"polls":..}
// or {"pid":..,"error":"..."} (exit status 1). Without --detach the program is then ended (SIGTERM, and
// SIGKILL if it lingers); with --detach it is left running for the caller to measure and end.
//
// "Drawn" means: an image of the whole window read back from the server is no longer a single colour.
// Before a client paints, its window shows its background (none, so the black root of an Xvfb started
// with -br, or the window manager's frame colour), which is uniform. Nothing on the server tells when a
// client has painted without the Damage extension, so the window is read back every --poll-ms (default
// 2): the reported time is when the first non-uniform image arrived, late by at most one poll interval
// plus one read of the window.
//
// Which windows are the program's: those whose _NET_WM_PID is the program's process or one of its
// descendants (every Qt and GTK client sets it before mapping, override-redirect windows included), or,
// for a client that sets no pid, whose WM_CLASS instance is the program's file name. Override-redirect
// windows count as well: Brevlin's panel on X11 is one, and no program maps a menu or a tooltip before
// its first window. Windows of 1×1 pixels or less (helpers that some toolkits map off screen) do not count.
// --dump saves the first drawn image, to check what was seen.

#include "XcbReply.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

template <typename T>
using Reply = testsupport::XcbReply<T>;

/// Milliseconds on the monotonic clock (libstdc++'s steady_clock reads CLOCK_MONOTONIC).
double nowMs()
{
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

[[noreturn]] void usage()
{
    std::fprintf(stderr,
                 "usage: startup_probe [--timeout S] [--poll-ms N] [--detach] [--log FILE] [--dump FILE.ppm] "
                 "-- "
                 "program [args...]\n");
    std::exit(2);
}

/// The parent of a process, or 0 when it is gone.
pid_t parentOf(pid_t pid)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(pid));
    FILE* file = std::fopen(path, "r");
    if (!file)
        return 0;
    char buffer[1024];
    const size_t length = std::fread(buffer, 1, sizeof buffer - 1, file);
    std::fclose(file);
    buffer[length] = '\0';
    // The command name may hold spaces and parentheses; the fields after it start behind the last ')'.
    const char* end = std::strrchr(buffer, ')');
    if (!end)
        return 0;
    char state = 0;
    int parent = 0;
    if (std::sscanf(end + 1, " %c %d", &state, &parent) != 2)
        return 0;
    return static_cast<pid_t>(parent);
}

bool isSameOrDescendant(pid_t pid, pid_t ancestor)
{
    for (int depth = 0; pid > 1 && depth < 64; ++depth) {
        if (pid == ancestor)
            return true;
        pid = parentOf(pid);
    }
    return false;
}

struct Candidate
{
    bool checked = false; // ownership decided
    bool owned = false;
    bool mapped = false;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

class Probe
{
public:
    Probe(xcb_connection_t* c, xcb_window_t root, pid_t child, std::string programName)
        : m_c(c)
        , m_root(root)
        , m_child(child)
        , m_programName(std::move(programName))
    {
        xcb_intern_atom_cookie_t cookie = xcb_intern_atom(c, 0, 11, "_NET_WM_PID");
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(c, cookie, nullptr));
        m_netWmPid = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    void handle(xcb_generic_event_t* event)
    {
        switch (event->response_type & 0x7f) {
        case XCB_CREATE_NOTIFY: {
            const auto* e = reinterpret_cast<xcb_create_notify_event_t*>(event);
            if (e->parent != m_root)
                return;
            track(e->window, e->width, e->height);
            break;
        }
        case XCB_MAP_NOTIFY: {
            const auto* e = reinterpret_cast<xcb_map_notify_event_t*>(event);
            auto it = m_windows.find(e->window);
            if (it == m_windows.end())
                return;
            it->second.mapped = true;
            consider(e->window, it->second);
            break;
        }
        case XCB_UNMAP_NOTIFY: {
            const auto* e = reinterpret_cast<xcb_unmap_notify_event_t*>(event);
            auto it = m_windows.find(e->window);
            if (it != m_windows.end())
                it->second.mapped = false;
            if (e->window == m_window)
                m_window = XCB_WINDOW_NONE;
            break;
        }
        case XCB_CONFIGURE_NOTIFY: {
            const auto* e = reinterpret_cast<xcb_configure_notify_event_t*>(event);
            auto it = m_windows.find(e->window);
            if (it != m_windows.end()) {
                it->second.width = e->width;
                it->second.height = e->height;
            }
            break;
        }
        case XCB_DESTROY_NOTIFY: {
            const auto* e = reinterpret_cast<xcb_destroy_notify_event_t*>(event);
            m_windows.erase(e->window);
            if (e->window == m_window)
                m_window = XCB_WINDOW_NONE;
            break;
        }
        default:
            break;
        }
    }

    /// The window being watched for content, XCB_WINDOW_NONE before the first one is mapped.
    xcb_window_t window() const { return m_window; }
    double mapMs() const { return m_mapMs; }
    const Candidate* candidate() const
    {
        auto it = m_windows.find(m_window);
        return it == m_windows.end() ? nullptr : &it->second;
    }

    /// Reads the watched window back; true when it holds more than one colour. With a dump path, the
    /// first image that does is saved there as a PPM.
    bool isDrawn(const char* dumpPath)
    {
        const Candidate* window = candidate();
        if (!window || window->width == 0 || window->height == 0)
            return false;
        xcb_get_image_cookie_t cookie =
            xcb_get_image(m_c, XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, 0, 0, window->width, window->height, ~0u);
        xcb_generic_error_t* error = nullptr;
        Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(m_c, cookie, &error));
        // Not viewable yet (its frame is not mapped) or already gone: not drawn.
        std::free(error);
        if (!reply)
            return false;
        const std::uint8_t* data = xcb_get_image_data(reply.get());
        const int length = xcb_get_image_data_length(reply.get());
        const int pixel = std::max(1, reply->depth > 16 ? 4 : (reply->depth > 8 ? 2 : 1));
        if (length < 2 * pixel)
            return false;
        // Only the colour bits: a 24-bit visual's padding byte says nothing about what was painted.
        const std::uint32_t mask = reply->depth >= 32 ? 0xffffffffu : ((1u << reply->depth) - 1u);
        auto at = [&](int offset) {
            std::uint32_t value = 0;
            std::memcpy(&value, data + offset, static_cast<size_t>(pixel));
            return value & mask;
        };
        const std::uint32_t first = at(0);
        for (int offset = pixel; offset + pixel <= length; offset += pixel) {
            if (at(offset) != first) {
                if (dumpPath && pixel == 4)
                    dump(dumpPath, data, window->width, window->height);
                return true;
            }
        }
        return false;
    }

private:
    /// 32-bit pixels as the X server on a little-endian machine sends them: blue, green, red, padding.
    static void dump(const char* path, const std::uint8_t* data, int width, int height)
    {
        FILE* file = std::fopen(path, "wb");
        if (!file)
            return;
        std::fprintf(file, "P6\n%d %d\n255\n", width, height);
        for (int i = 0; i < width * height; ++i) {
            const std::uint8_t rgb[3] = {data[4 * i + 2], data[4 * i + 1], data[4 * i]};
            std::fwrite(rgb, 1, 3, file);
        }
        std::fclose(file);
    }

    void track(xcb_window_t window, std::uint16_t width, std::uint16_t height)
    {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_c, window, XCB_CW_EVENT_MASK, &mask);
        Candidate& candidate = m_windows[window];
        candidate.width = width;
        candidate.height = height;
        // It may have been mapped between its creation and the selection above.
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(m_c, xcb_get_window_attributes(m_c, window), nullptr));
        if (!attributes) {
            m_windows.erase(window);
            return;
        }
        if (attributes->map_state != XCB_MAP_STATE_UNMAPPED) {
            candidate.mapped = true;
            consider(window, candidate);
        }
    }

    void consider(xcb_window_t window, Candidate& candidate)
    {
        if (m_window != XCB_WINDOW_NONE)
            return;
        if (!candidate.checked) {
            candidate.checked = true;
            candidate.owned = ownedByChild(window);
        }
        if (!candidate.owned)
            return;
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_c, xcb_get_geometry(m_c, window), nullptr));
        if (geometry) {
            candidate.width = geometry->width;
            candidate.height = geometry->height;
        }
        if (candidate.width <= 1 || candidate.height <= 1)
            return;
        m_window = window;
        if (m_mapMs < 0)
            m_mapMs = nowMs();
    }

    bool ownedByChild(xcb_window_t window)
    {
        if (m_netWmPid != XCB_ATOM_NONE) {
            Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
                m_c, xcb_get_property(m_c, 0, window, m_netWmPid, XCB_ATOM_CARDINAL, 0, 1), nullptr));
            if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) >= 4) {
                std::uint32_t pid = 0;
                std::memcpy(&pid, xcb_get_property_value(reply.get()), 4);
                return isSameOrDescendant(static_cast<pid_t>(pid), m_child);
            }
        }
        Reply<xcb_get_property_reply_t> wmClass(xcb_get_property_reply(
            m_c, xcb_get_property(m_c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr));
        if (!wmClass || wmClass->format != 8)
            return false;
        const char* data = static_cast<const char*>(xcb_get_property_value(wmClass.get()));
        const int length = xcb_get_property_value_length(wmClass.get());
        const std::string instance(data, strnlen(data, static_cast<size_t>(length)));
        return !m_programName.empty() && instance == m_programName;
    }

    xcb_connection_t* m_c;
    xcb_window_t m_root;
    pid_t m_child;
    std::string m_programName;
    xcb_atom_t m_netWmPid = XCB_ATOM_NONE;
    std::map<xcb_window_t, Candidate> m_windows;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    double m_mapMs = -1;
};

void endChild(pid_t child)
{
    // The program runs in its own process group, so helpers it started end with it.
    kill(-child, SIGTERM);
    for (int i = 0; i < 300; ++i) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child)
            break;
        if (i == 299) {
            kill(-child, SIGKILL);
            waitpid(child, &status, 0);
        }
        usleep(10000);
    }
    // Anything of the group that outlived its leader.
    kill(-child, SIGKILL);
}

} // namespace

int main(int argc, char* argv[])
{
    double timeoutMs = 30000;
    int pollMs = 2;
    bool detach = false;
    const char* logPath = nullptr;
    const char* dumpPath = nullptr;
    int i = 1;
    for (; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--") {
            ++i;
            break;
        }
        if (arg == "--detach") {
            detach = true;
        } else if (arg == "--timeout" && i + 1 < argc) {
            timeoutMs = std::atof(argv[++i]) * 1e3;
        } else if (arg == "--poll-ms" && i + 1 < argc) {
            pollMs = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--log" && i + 1 < argc) {
            logPath = argv[++i];
        } else if (arg == "--dump" && i + 1 < argc) {
            dumpPath = argv[++i];
        } else {
            usage();
        }
    }
    if (i >= argc)
        usage();

    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "startup_probe: cannot connect to the X server\n");
        return 2;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int s = 0; s < screenNumber && screens.rem; ++s)
        xcb_screen_next(&screens);
    const xcb_window_t root = screens.data->root;

    // Watching the root's children before the program exists, so no window of it can be missed.
    const std::uint32_t rootMask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &rootMask);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: applied

    const double start = nowMs();
    const pid_t child = fork();
    if (child < 0) {
        std::perror("startup_probe: fork");
        return 2;
    }
    if (child == 0) {
        setpgid(0, 0);
        // The program's output must not mix with the result on stdout.
        const int out = logPath ? open(logPath, O_WRONLY | O_CREAT | O_APPEND, 0644) : dup(2);
        if (out >= 0) {
            dup2(out, 1);
            dup2(out, 2);
            close(out);
        }
        close(xcb_get_file_descriptor(c));
        execvp(argv[i], argv + i);
        std::fprintf(stderr, "startup_probe: cannot run %s: %s\n", argv[i], std::strerror(errno));
        _exit(127);
    }
    setpgid(child, child);

    const std::string program = argv[i];
    Probe probe(c, root, child, program.substr(program.find_last_of('/') + 1));
    double drawnMs = -1;
    long polls = 0;
    const char* error = nullptr;
    const int fd = xcb_get_file_descriptor(c);
    while (true) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            probe.handle(event);
            std::free(event);
        }
        if (xcb_connection_has_error(c)) {
            error = "lost the X connection";
            break;
        }
        if (probe.window() != XCB_WINDOW_NONE) {
            ++polls;
            if (probe.isDrawn(dumpPath)) {
                drawnMs = nowMs();
                break;
            }
        }
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) {
            error = "the program exited before drawing a window";
            break;
        }
        const double elapsed = nowMs() - start;
        if (elapsed > timeoutMs) {
            error = "timed out";
            break;
        }
        pollfd p{fd, POLLIN, 0};
        const int wait = probe.window() != XCB_WINDOW_NONE ? pollMs : std::min(50, pollMs * 5);
        poll(&p, 1, wait);
    }

    const Candidate* window = probe.candidate();
    if (error) {
        std::printf("{\"pid\":%d,\"error\":\"%s\",\"map_ms\":%.3f}\n", static_cast<int>(child), error,
                    probe.mapMs() < 0 ? -1.0 : probe.mapMs() - start);
    } else {
        std::printf("{\"pid\":%d,\"window\":%u,\"width\":%u,\"height\":%u,\"map_ms\":%.3f,"
                    "\"drawn_ms\":%.3f,\"polls\":%ld}\n",
                    static_cast<int>(child), probe.window(), window ? window->width : 0u,
                    window ? window->height : 0u, probe.mapMs() - start, drawnMs - start, polls);
    }
    std::fflush(stdout);
    xcb_disconnect(c);
    if (!detach || error)
        endChild(child);
    return error ? 1 : 0;
}
