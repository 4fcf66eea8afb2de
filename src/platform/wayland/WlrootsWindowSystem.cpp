// wlroots compositors on Wayland (sway; wlroots names its X window manager "wlroots wm"). They draw an
// override-redirect X window above everything, full-screen windows included, so the panel stays one, as
// on X11. But wlroots undoes X focus changes made behind its back, and sway gives an override-redirect
// window the keyboard only where it "wants focus", which a utility window (the panel) does not; one of
// the normal type it focuses when it is mapped, and on every click.
//
// So a click into the idle time lends the panel the keyboard by mapping it again as a normal window: sway
// focuses it, which gives it the keys of a native Wayland show. The keys of an X11 show stay with that
// show's X window all the same (the X focus does not move), so the panel also grabs XWayland's keyboard.
// The hand-back releases the grab and maps the panel again as the utility window it is, which makes sway
// focus the window it had focused before.

#include "WlrootsWindowSystem.h"

#include <string>

namespace platform::wayland {

bool WlrootsWindowSystem::runsHere()
{
    return windowManagerName() == "wlroots wm";
}

bool WlrootsWindowSystem::lendKeyboard(NativeWindow panel)
{
    if (panel == 0 || panel > 0xFFFFFFFFu)
        return false;
    const auto id = static_cast<std::uint32_t>(panel);
    const std::uint32_t normal = atom("_NET_WM_WINDOW_TYPE_NORMAL");
    if (normal == 0)
        return false;
    if (m_lent != id) {
        takeBack();
        m_ownTypes = windowTypes(id);
        m_lent = id;
    }
    setWindowTypes(id, {normal});
    remap(id);
    grabKeyboard(id);
    return true;
}

bool WlrootsWindowSystem::takeBack()
{
    if (m_lent == 0)
        return false;
    const std::uint32_t panel = m_lent;
    m_lent = 0;
    releaseKeyboard();
    // Unmapped first, so that sway gives the keyboard back; mapped again as what it was, which sway
    // leaves alone.
    setWindowTypes(panel, m_ownTypes);
    remap(panel);
    return true;
}

bool WlrootsWindowSystem::activatePowerPoint()
{
    takeBack();
    return X11WindowSystem::activatePowerPoint();
}

void WlrootsWindowSystem::activatePreviousWindow()
{
    // Where the panel never had the keyboard, it is still where the presenter left it.
    takeBack();
}

} // namespace platform::wayland
