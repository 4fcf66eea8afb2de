#pragma once

// What the timer needs from the window system that Qt cannot say portably. One implementation file per
// platform, chosen by CMake; none of them includes Qt headers in this interface. Every function swallows
// every failure: the panel must keep working on stage whatever the window system does.

#include <cstdint>

namespace platform {

/// A top-level window's native id, as QWidget::winId() gives it (an X11 window, an HWND, an NSView*).
using NativeWindow = std::uintptr_t;

/// Chooses the window system before the application object exists, where the user has not chosen one:
/// in a Wayland session the panel runs on XWayland, since Wayland lets no client keep itself above others
/// or activate another client's window. Call first thing in main().
void chooseWindowSystem() noexcept;

/// Makes the first running Microsoft PowerPoint the active application, all its windows forward.
/// Does nothing, silently, when PowerPoint is not running or the window system refuses.
void activatePowerPoint() noexcept;

/// Keeps the window above other applications' windows (full-screen slide shows included) and on every
/// desktop, and keeps it shown while another application is active. Call after every show and every change
/// of the window's flags: some window systems forget it then.
void floatAboveEverything(NativeWindow window) noexcept;

/// Turns the window system's drop shadow of the window on or off, where it draws one.
void setWindowShadow(NativeWindow window, bool hasShadow) noexcept;

} // namespace platform
