// SIGTERM, SIGINT and SIGHUP on POSIX systems (Linux, the BSDs, macOS) quit the application from its
// event loop, as the menu does, so that pending settings reach the disk.

#include "Platform.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace platform {
namespace {

// The self-pipe: the signal handler may only do async-signal-safe things, so it writes one byte, and the
// event loop, watching the other end, does the quitting.
int g_signalPipe[2] = {-1, -1};

void onTerminationSignal(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    // Nothing to do if it fails: the pipe is full, so a quit is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[1], &byte, 1);
    errno = savedErrno;
}

/// pipe2() is not on every POSIX system (macOS lacks it): both ends made close-on-exec and non-blocking
/// one at a time, before any signal handler can write.
bool openPipe(int ends[2])
{
    if (::pipe(ends) != 0)
        return false;
    for (int i = 0; i < 2; ++i) {
        const int fdFlags = ::fcntl(ends[i], F_GETFD);
        const int statusFlags = ::fcntl(ends[i], F_GETFL);
        if (fdFlags < 0 || statusFlags < 0 || ::fcntl(ends[i], F_SETFD, fdFlags | FD_CLOEXEC) != 0 ||
            ::fcntl(ends[i], F_SETFL, statusFlags | O_NONBLOCK) != 0) {
            ::close(ends[0]);
            ::close(ends[1]);
            ends[0] = ends[1] = -1;
            return false;
        }
    }
    return true;
}

} // namespace

void quitOnTerminationRequests() noexcept
{
    try {
        QCoreApplication* app = QCoreApplication::instance();
        if (!app || g_signalPipe[0] >= 0)
            return;
        if (!openPipe(g_signalPipe))
            return;
        auto* notifier = new QSocketNotifier(qintptr(g_signalPipe[0]), QSocketNotifier::Read, app);
        QObject::connect(notifier, &QSocketNotifier::activated, app, [] {
            char bytes[64];
            while (::read(g_signalPipe[0], bytes, sizeof bytes) > 0) {
            }
            QCoreApplication::quit();
        });
        struct sigaction action = {};
        action.sa_handler = onTerminationSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            ::sigaction(signal, &action, nullptr);
    } catch (...) {
    }
}

} // namespace platform
