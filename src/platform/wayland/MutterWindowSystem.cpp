// GNOME on Wayland. mutter keeps a managed window that asks to stay above (_NET_WM_STATE_ABOVE) in its
// top layer, over full-screen windows, which sit in the normal layer; an override-redirect window is also
// in sight there, but mutter hands the Wayland keyboard to XWayland on a click into it and takes it back
// only when another window is clicked. _NET_ACTIVE_WINDOW can name only X windows, so it cannot hand the
// keyboard to a native Wayland slide show.
//
// So the panel is a managed "above" window that refuses the keyboard (ICCCM input hint false): clicks,
// drags and resizes leave the keyboard where it is. A click into the idle time lends it the keyboard
// (input hint true, then _NET_ACTIVE_WINDOW for itself). At the hand-back it refuses the keyboard again
// and gives it to PowerPoint or the previous X window where that is whom it goes to; where the window
// used before is a Wayland client, the panel is unmapped, which makes mutter focus the window it had
// focused before, and mapped again (without being focused) as soon as mutter has moved the keyboard on.

#include "MutterWindowSystem.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLoggingCategory>

#include <string>

namespace platform::wayland {
namespace {

Q_LOGGING_CATEGORY(handBack, "brevlin.handback", QtWarningMsg)

// How long the panel stays unmapped at most when mutter is not heard to move the keyboard on.
constexpr int longestHandBackHide = 250;

} // namespace

bool MutterWindowSystem::runsHere()
{
    // GNOME Shell names itself so; plain mutter "Mutter", and distributions' builds add a suffix.
    const std::string name = windowManagerName();
    return name == "GNOME Shell" || name.rfind("Mutter", 0) == 0;
}

MutterWindowSystem::MutterWindowSystem()
{
    m_showAgainAtTheLatest.setSingleShot(true);
    m_showAgainAtTheLatest.setInterval(longestHandBackHide);
    QObject::connect(&m_showAgainAtTheLatest, &QTimer::timeout, [this] { showAgain(); });
    // The presenter may leave the time for the show by clicking the show: the panel then refuses the
    // keyboard again, or mutter would give it the keyboard at the next click on its background.
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, &m_showAgainAtTheLatest,
                     [this](QWindow* focused) {
                         if (m_lent == 0)
                             return;
                         if (focused && focused == ownWindow(m_lent)) {
                             m_lentIsHeld = true;
                         } else if (m_lentIsHeld) {
                             setAcceptsKeyboard(m_lent, false);
                             m_lent = 0;
                             m_lentIsHeld = false;
                         }
                     });
}

bool MutterWindowSystem::panelBypassesWindowManager()
{
    return false;
}

bool MutterWindowSystem::activatePowerPoint()
{
    if (!X11WindowSystem::activatePowerPoint())
        return false;
    // PowerPoint runs under Wine, an X client: activated like any, the panel only stops accepting.
    if (m_lent != 0) {
        setAcceptsKeyboard(m_lent, false);
        m_lent = 0;
        m_lentIsHeld = false;
    }
    return true;
}

void MutterWindowSystem::activatePreviousWindow()
{
    if (m_lent == 0)
        return; // the panel never took the keyboard: it is still where the presenter left it
    const std::uint32_t panel = m_lent;
    m_lent = 0;
    m_lentIsHeld = false;
    setAcceptsKeyboard(panel, false);
    QWindow* window = ownWindow(panel);
    qCDebug(handBack) << "hand-back: panel" << Qt::hex << panel << "focused"
                      << (window && QGuiApplication::focusWindow() == window);
    if (!window || QGuiApplication::focusWindow() != window)
        return;
    if (const std::uint32_t previous = previousWindow(true)) {
        qCDebug(handBack) << "to the X window" << Qt::hex << previous;
        handOver(previous);
        return;
    }
    // A Wayland client had the keyboard before: mutter gives it back when its holder goes away.
    onActiveWindowChange([this, panel](std::uint32_t active) {
        if (active != panel)
            showAgain();
    });
    m_hidden = window;
    m_hiddenFor.start();
    window->setVisible(false);
    m_showAgainAtTheLatest.start();
}

void MutterWindowSystem::showAgain()
{
    m_showAgainAtTheLatest.stop();
    onActiveWindowChange({});
    if (QWindow* window = m_hidden.data()) {
        m_hidden.clear();
        qCDebug(handBack) << "unmapped for" << m_hiddenFor.nsecsElapsed() / 1000 << "us";
        // Shown without activation (the panel's own attribute), refusing the keyboard: mutter leaves it
        // with the show.
        window->setVisible(true);
    }
}

void MutterWindowSystem::withholdKeyboard(NativeWindow panel)
{
    if (panel != 0 && panel <= 0xFFFFFFFFu && panel != m_lent)
        setAcceptsKeyboard(static_cast<std::uint32_t>(panel), false);
}

bool MutterWindowSystem::lendKeyboard(NativeWindow panel)
{
    if (panel == 0 || panel > 0xFFFFFFFFu)
        return false;
    const auto id = static_cast<std::uint32_t>(panel);
    qCDebug(handBack) << "lent to" << Qt::hex << id;
    m_lent = id;
    m_lentIsHeld = QGuiApplication::focusWindow() == ownWindow(id);
    setAcceptsKeyboard(id, true);
    // Qt reads the pointer through XInput 2, whose clicks leave no time where the watcher looks: the last
    // time known may be a key's from before the last hand-back, which mutter would take as stale.
    handOver(id, true);
    return true;
}

} // namespace platform::wayland
