#pragma once

// The running panel as the preferences tests need it: launched as main() launches it, and the preferences
// window opened from its context menu.

#include "AppDelegate.h"
#include "PreferenceWindowController.h"

#include <QAction>
#include <QMenu>

namespace PreferencesTest {

/// The context menu's entry that opens the preferences; null when the menu has none.
inline QAction* preferencesAction(const AppDelegate& d)
{
    for (QAction* action : d.rightClickMenu()->actions()) {
        if (action->text() == QStringLiteral("Preferences…"))
            return action;
    }
    return nullptr;
}

/// Chooses the menu's entry and returns the window's controller; null when no window opened.
inline PreferenceWindowController* openPreferencesFromMenu(const AppDelegate& d)
{
    if (QAction* action = preferencesAction(d))
        action->trigger();
    return d.prefsWindowController();
}

} // namespace PreferencesTest
