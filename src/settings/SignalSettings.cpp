#include "SignalSettings.h"

bool SignalSettings::operator==(const SignalSettings& other) const
{
    return changeColorsNearEnd == other.changeColorsNearEnd && warnAt == other.warnAt &&
           finalAt == other.finalAt && warnTextColor == other.warnTextColor &&
           warnBgColor == other.warnBgColor && finalTextColor == other.finalTextColor &&
           finalBgColor == other.finalBgColor && overtimeColors == other.overtimeColors &&
           overtimeTextColor == other.overtimeTextColor && overtimeBgColor == other.overtimeBgColor &&
           flashAtZero == other.flashAtZero;
}
