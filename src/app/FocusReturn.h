#pragma once

#include <functional>

/// Hands the keyboard back to the presentation application: PowerPoint where it runs, otherwise (unless the
/// presenter turned it off) the window they used before the panel. Every caller goes through here, so the
/// platform calls can be swapped for a recorder where a test needs to see who asked and when.
namespace FocusReturn {

void activatePowerPoint();

/// Replaces what activatePowerPoint() does; an empty function restores the platform's own.
void setActivator(std::function<void()> activator);

} // namespace FocusReturn
