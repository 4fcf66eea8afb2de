// A threshold of the panel's colours as the preferences window stores it, typed by hand: never negative,
// never beyond three six-digit fields, 0 (never reached) for anything that is not three fields of digits,
// and the colour pair it gives always one of the four.

#include "FuzzSupport.h"

#include "PanelSignals.h"
#include "SignalSettings.h"
#include "TextValues.h"

#include <limits>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString typed = fuzz::text(data, size);
    const qint64 seconds = PanelSignals::thresholdSeconds(typed);
    FUZZ_CHECK(seconds >= 0);
    FUZZ_CHECK(seconds <= 999999LL * 3661);
    if (componentsSeparatedByString(typed, QStringLiteral(":")).size() != 3)
        FUZZ_CHECK(seconds == 0);

    SignalSettings settings;
    settings.changeColorsNearEnd = true;
    settings.warnAt = typed;
    settings.finalAt = typed;
    for (const qint32 left :
         {std::numeric_limits<qint32>::min(), -1, 0, 1, 59, 60, 3600, std::numeric_limits<qint32>::max()}) {
        const PanelSignals::Look look = PanelSignals::lookFor(left, settings);
        // Reached exactly when the time left is at or below a threshold above 0.
        FUZZ_CHECK((look == PanelSignals::Look::Final) == (seconds > 0 && left <= seconds));
        FUZZ_CHECK(look == PanelSignals::Look::Final || look == PanelSignals::Look::Stored);
    }
    return 0;
}
