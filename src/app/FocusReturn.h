#pragma once

#include <functional>

/// Hands the keyboard back to the presentation application. Every caller goes through here, so the one
/// platform call can be swapped for a recorder where a test needs to see who asked and when.
namespace FocusReturn {

void activatePowerPoint();

/// Replaces what activatePowerPoint() does; an empty function restores the platform's own.
void setActivator(std::function<void()> activator);

} // namespace FocusReturn
