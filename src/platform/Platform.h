#pragma once

// What the timer needs from the window system that Qt cannot say portably. One folder per window system
// implements WindowSystem.h, chosen by CMake and, where one build serves several (X11, XWayland under
// GNOME or sway), at start-up by what the session offers. No Qt headers in this interface. Every function
// swallows every failure: the panel must keep working on stage whatever the window system does.

#include <cstdint>

namespace platform {

/// A top-level window's native id, as QWidget::winId() gives it (an X11 window, an HWND, an NSView*).
using NativeWindow = std::uintptr_t;

/// Chooses the window system before the application object exists, where the user has not chosen one:
/// in a Wayland session the panel runs on XWayland, since core Wayland lets no client keep itself above
/// others or activate another client's window. Call first thing in main().
void chooseWindowSystem() noexcept;

/// True where no window manager keeps a window above a focused full-screen one, so the panel must stay
/// out of the window manager's hands (X11: an override-redirect window). Such a panel moves and resizes
/// itself, is never given the keyboard by the window system, and takes it itself, only when the presenter
/// clicks into its time field. Needs the application object.
bool panelBypassesWindowManager() noexcept;

/// Makes the first running Microsoft PowerPoint the active application, all its windows forward.
/// Returns false, silently, when no PowerPoint runs; true once it was asked, even if the window system
/// then refuses.
bool activatePowerPoint() noexcept;

/// Starts remembering which window of another application was last active, for activatePreviousWindow().
/// Call once at launch, before the panel can take the keyboard. Needs the application object.
void watchActiveWindow() noexcept;

/// Gives the keyboard back to the window the presenter used before the panel: the last active window of
/// another application, or, where that is gone, the topmost full-screen window. Silent where neither is.
void activatePreviousWindow() noexcept;

/// While held (the presenter drags the panel's edge or background), the hand-back looks up whom to give the
/// keyboard to once, at the first hand-back of the drag, and gives it to the same window at every further
/// step instead of reading the window list again each time. Releasing it forgets what was looked up.
void holdWindowLookups(bool hold) noexcept;

/// Keeps the window above other applications' windows (full-screen slide shows included) and on every
/// desktop, and keeps it shown while another application is active. Call after every show and every change
/// of the window's flags: some window systems forget it then. A window that bypasses the window manager is
/// raised again whenever another window is mapped or restacked above it.
void floatAboveEverything(NativeWindow window) noexcept;

/// Where the window manager would give the panel the keyboard on any click into it (click to focus), makes
/// the panel refuse it until lendKeyboard(), so that a press on its background or a drag leaves the slide
/// show in control. Call before every show. Does nothing where the window system never gives the panel
/// the keyboard by itself.
void withholdKeyboard(NativeWindow panel) noexcept;

/// Gives the panel the keyboard for typing where it is withheld (see withholdKeyboard), until the next
/// hand-back takes it away again. Returns false where the caller is to activate the panel itself.
bool lendKeyboard(NativeWindow panel) noexcept;

/// Turns the window system's drop shadow of the window on or off, where it draws one.
void setWindowShadow(NativeWindow window, bool hasShadow) noexcept;

/// Whether the window system draws a shadow around the window with this setting; where it does not and the
/// setting is on, the panel draws its own edge so that it stands out from a slide of its own colour.
bool drawsWindowShadow(NativeWindow window, bool hasShadow) noexcept;

/// Lets the window system connection take a repaint of the whole panel, on the largest screen, in one
/// write, so that drawing a tick never waits for the window system to read what came before. Call once,
/// after the application object exists. Does nothing where the platform has no such limit to raise.
void sendRepaintsWithoutWaiting() noexcept;

/// Makes a request to end the process from outside (SIGTERM, SIGINT and SIGHUP on POSIX systems) quit the
/// application the normal way, from its event loop, so that everything that happens at a normal quit
/// (pending settings reaching the disk among it) happens then too. Call once, after the application object
/// exists. Does nothing where the platform has no such requests or they already end the application
/// cleanly.
void quitOnTerminationRequests() noexcept;

/// Tunes the C library's allocator to hand back large blocks the program frees (mapped apart). Call first
/// thing in main, before any thread starts. Does nothing where the allocator needs no such help.
void tuneMemoryAllocator() noexcept;

} // namespace platform
