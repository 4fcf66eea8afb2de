#pragma once

// X11 through xcb, on Qt's own connection (see X11WindowSystem.cpp). Other backends that run on an X
// server (XWayland under a Wayland compositor) build on it.

#include "WindowSystem.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QWindow;

namespace platform::x11 {

class X11WindowSystem : public WindowSystem
{
public:
    bool panelBypassesWindowManager() override;
    bool activatePowerPoint() override;
    void watchActiveWindow() override;
    void activatePreviousWindow() override;
    void holdWindowLookups(bool hold) override;
    void floatAboveEverything(NativeWindow window) override;
    void sendRepaintsWithoutWaiting() override;
    // Without a compositor X11 draws no shadows, and compositors decide on their own which windows get
    // one: the defaults stand.

    /// True where Qt talks to an X server; then this backend is of use.
    static bool available();
    /// The name the window manager gives itself (_NET_WM_NAME of its _NET_SUPPORTING_WM_CHECK window);
    /// empty where none is running or it does not say.
    static std::string windowManagerName();

protected:
    /// This process's window of that id; null for another client's.
    static QWindow* ownWindow(std::uint32_t window);
    /// The window of another client that was active last, as _NET_ACTIVE_WINDOW named it; 0 if none is
    /// known or it is no longer managed. With forgetOnNone, an active window that no X window stands for
    /// (_NET_ACTIVE_WINDOW None: a Wayland client has the keyboard) counts as the last one, and 0 is given.
    std::uint32_t previousWindow(bool forgetOnNone);
    /// Asks the window manager to activate the window, as a pager would, with the time of the presenter's
    /// last key or click; with atOnce, as of now, whatever came since.
    void handOver(std::uint32_t window, bool atOnce = false);
    /// Called with the new value of _NET_ACTIVE_WINDOW whenever it changes; replaces an earlier one.
    void onActiveWindowChange(std::function<void(std::uint32_t)> call);
    /// Sets the ICCCM input hint of the window: whether the window manager may give it the keyboard.
    void setAcceptsKeyboard(std::uint32_t window, bool accepts);
    /// The atom of the name; 0 where the server would not intern it.
    std::uint32_t atom(const char* name);
    /// The window's _NET_WM_WINDOW_TYPE, most specific first; and a replacement for it.
    std::vector<std::uint32_t> windowTypes(std::uint32_t window);
    void setWindowTypes(std::uint32_t window, const std::vector<std::uint32_t>& types);
    /// Unmaps the window and maps it again at once, behind Qt's back: Qt follows the server's notices.
    void remap(std::uint32_t window);
    /// Sends every key of the X server to the window until releaseKeyboard(); false where refused.
    bool grabKeyboard(std::uint32_t window);
    void releaseKeyboard();
};

/// How many times the hand-back has read the window list from the server since the start: lets a test
/// see that a drag does not read it at every step.
unsigned long windowListReads() noexcept;

} // namespace platform::x11
