#pragma once

// The one interface every window system's code implements, behind the free functions of Platform.h.
// Each default does nothing, which is right wherever a window system offers nothing better; a backend
// overrides only what its window system can do. Platform.cpp catches whatever a backend throws, so a
// backend need not. No Qt here: the Win32 and AppKit backends build without it.

#include "Platform.h"

#include <memory>

namespace platform {

class WindowSystem
{
public:
    WindowSystem() = default;
    WindowSystem(const WindowSystem&) = delete;
    WindowSystem& operator=(const WindowSystem&) = delete;
    virtual ~WindowSystem() = default;

    virtual bool panelBypassesWindowManager() { return false; }
    virtual bool activatePowerPoint() { return false; }
    virtual void watchActiveWindow() {}
    virtual void activatePreviousWindow() {}
    virtual void holdWindowLookups(bool) {}
    virtual void floatAboveEverything(NativeWindow) {}
    virtual void withholdKeyboard(NativeWindow) {}
    virtual bool lendKeyboard(NativeWindow) { return false; }
    virtual void setWindowShadow(NativeWindow, bool) {}
    virtual bool drawsWindowShadow(NativeWindow, bool) { return false; }
    virtual void sendRepaintsWithoutWaiting() {}
};

/// Before the application object exists: picks the window system Qt is to use (see chooseWindowSystem).
/// One definition per build, in the backend CMake chose.
void prepareWindowSystem();

/// Once the application object exists: the code for the window system this session runs on. One
/// definition per build; where one build serves several window systems, it chooses by what the session
/// offers.
std::unique_ptr<WindowSystem> makeWindowSystem();

} // namespace platform
