// Watches a window from a second X client and records when its picture changes on the server: what the
// presenter sees, not when the program changed its text. Uses the Damage extension, which reports every
// drawing into the window as it is done on the server.
//
//   frame_watch WINDOW SECONDS
//
// Prints one line per frame on stdout: the CLOCK_MONOTONIC times in milliseconds when the first and the
// last damage of that frame arrived; the presenter sees the whole new time at the last. Damage that
// arrives within 100 ms of the previous one belongs to the same frame (a tick may reach the server as
// several requests, one a digit). Exit status 1 without the extension or the window.

#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>

namespace {

double nowMs()
{
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: frame_watch WINDOW SECONDS\n");
        return 2;
    }
    const auto window = static_cast<xcb_window_t>(std::strtoul(argv[1], nullptr, 0));
    const double seconds = std::atof(argv[2]);
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 1;
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_damage_id);
    if (!extension || !extension->present) {
        std::fprintf(stderr, "frame_watch: no Damage extension\n");
        return 1;
    }
    std::free(xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
    const xcb_damage_damage_t damage = xcb_generate_id(c);
    xcb_generic_error_t* error =
        xcb_request_check(c, xcb_damage_create_checked(c, damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY));
    if (error) {
        std::fprintf(stderr, "frame_watch: cannot watch window %u\n", window);
        std::free(error);
        return 1;
    }
    const double end = nowMs() + seconds * 1e3;
    double first = -1;
    double last = -1e9;
    const int fd = xcb_get_file_descriptor(c);
    while (nowMs() < end && !xcb_connection_has_error(c)) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            if ((event->response_type & 0x7f) == extension->first_event + XCB_DAMAGE_NOTIFY) {
                const double at = nowMs();
                // Report the next change too: the damage so far is taken back.
                xcb_damage_subtract(c, damage, XCB_NONE, XCB_NONE);
                xcb_flush(c);
                // A frame is told once the next one begins, or at the end.
                if (at - last > 100) {
                    if (first >= 0) {
                        std::printf("%.3f %.3f\n", first, last);
                        std::fflush(stdout);
                    }
                    first = at;
                }
                last = at;
            }
            std::free(event);
        }
        pollfd p{fd, POLLIN, 0};
        poll(&p, 1, 200);
    }
    if (first >= 0)
        std::printf("%.3f %.3f\n", first, last);
    xcb_disconnect(c);
    return 0;
}
