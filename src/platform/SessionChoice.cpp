// Where one build serves several window systems (X11, and XWayland under a Wayland compositor), the
// session decides: the code for GNOME where mutter manages XWayland's windows, for wlroots compositors
// (sway) where wlroots does, X11's everywhere else.

#include "WindowSystem.h"
#include "wayland/MutterWindowSystem.h"
#include "wayland/WlrootsWindowSystem.h"
#include "x11/X11WindowSystem.h"

#include <QtGlobal>

namespace platform {

void prepareWindowSystem()
{
    // A tick repaints a few digits. Put through shared memory, every repaint costs a round trip (Qt waits
    // for the server before it reuses the segment), which wakes the process twice more each second; sent
    // inside the request, the digits cost nothing but the timer's own wake-up. A user's choice stands.
    if (!qEnvironmentVariableIsSet("QT_XCB_NO_MITSHM"))
        qputenv("QT_XCB_NO_MITSHM", "1");
    // An explicit choice (QT_QPA_PLATFORM, or -platform on the command line, which Qt reads later and
    // which wins over this) is respected; XWayland is only taken where it is there.
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
        qEnvironmentVariableIsEmpty("DISPLAY"))
        return;
    qputenv("QT_QPA_PLATFORM", "xcb");
}

std::unique_ptr<WindowSystem> makeWindowSystem()
{
    if (!x11::X11WindowSystem::available())
        return std::make_unique<WindowSystem>();
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        if (wayland::MutterWindowSystem::runsHere())
            return std::make_unique<wayland::MutterWindowSystem>();
        if (wayland::WlrootsWindowSystem::runsHere())
            return std::make_unique<wayland::WlrootsWindowSystem>();
    }
    return std::make_unique<x11::X11WindowSystem>();
}

} // namespace platform
