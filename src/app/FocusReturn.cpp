#include "FocusReturn.h"

#include "Platform.h"
#include "PreferenceController.h"

namespace {
std::function<void()>& activator()
{
    static std::function<void()> instance;
    return instance;
}
} // namespace

namespace FocusReturn {

void activatePowerPoint()
{
    if (activator()) {
        activator()();
        return;
    }
    // Off the Mac, PowerPoint is rarely what shows the slides: then the keyboard goes back to whatever
    // the presenter was using, unless they asked for PowerPoint only.
    if (!platform::activatePowerPoint() && PreferenceController::preferenceReturnFocusToPreviousWindow())
        platform::activatePreviousWindow();
}

void setActivator(std::function<void()> replacement)
{
    activator() = std::move(replacement);
}

} // namespace FocusReturn
