// For window systems that let an application neither keep a window above others nor activate another
// application's window (Wayland among them): the panel then behaves as an ordinary window.

#include "Platform.h"

namespace platform {

void chooseWindowSystem() noexcept {}

bool panelBypassesWindowManager() noexcept
{
    return false;
}

bool activatePowerPoint() noexcept
{
    return false;
}

void watchActiveWindow() noexcept {}

void activatePreviousWindow() noexcept {}

void floatAboveEverything(NativeWindow) noexcept {}

void setWindowShadow(NativeWindow, bool) noexcept {}

bool drawsWindowShadow(NativeWindow, bool) noexcept
{
    return false;
}

void holdWindowLookups(bool) noexcept {}

unsigned long windowListReads() noexcept
{
    return 0;
}

void sendRepaintsWithoutWaiting() noexcept {}

void quitOnTerminationRequests() noexcept {}

} // namespace platform
