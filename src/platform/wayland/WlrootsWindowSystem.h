#pragma once

// wlroots compositors (sway and its kin) on Wayland, with the panel on XWayland.

#include "x11/X11WindowSystem.h"

#include <vector>

namespace platform::wayland {

class WlrootsWindowSystem final : public x11::X11WindowSystem
{
public:
    /// Whether the X server's window manager is wlroots' own, as under sway.
    static bool runsHere();

    bool activatePowerPoint() override;
    void activatePreviousWindow() override;
    bool lendKeyboard(NativeWindow panel) override;

private:
    /// Takes the keyboard back from the panel it was lent to, if any; true if it was.
    bool takeBack();

    std::uint32_t m_lent = 0;
    std::vector<std::uint32_t> m_ownTypes;
};

} // namespace platform::wayland
