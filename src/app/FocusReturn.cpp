#include "FocusReturn.h"

#include "Platform.h"

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
    if (activator())
        activator()();
    else
        platform::activatePowerPoint();
}

void setActivator(std::function<void()> replacement)
{
    activator() = std::move(replacement);
}

} // namespace FocusReturn
