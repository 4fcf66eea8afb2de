#pragma once

// GNOME on Wayland (mutter, and GNOME Shell built on it), with the panel on XWayland.

#include "x11/X11WindowSystem.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWindow>

namespace platform::wayland {

class MutterWindowSystem final : public x11::X11WindowSystem
{
public:
    /// Whether the X server's window manager is mutter, as it is under GNOME on Wayland.
    static bool runsHere();

    MutterWindowSystem();

    bool panelBypassesWindowManager() override;
    bool activatePowerPoint() override;
    void activatePreviousWindow() override;
    void withholdKeyboard(NativeWindow panel) override;
    bool lendKeyboard(NativeWindow panel) override;

private:
    void showAgain();

    /// The panel that was lent the keyboard, until the next hand-back or until it lost the keyboard.
    std::uint32_t m_lent = 0;
    bool m_lentIsHeld = false;
    QPointer<QWindow> m_hidden;
    QElapsedTimer m_hiddenFor;
    QTimer m_showAgainAtTheLatest;
};

} // namespace platform::wayland
