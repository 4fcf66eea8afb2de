#pragma once

#include <QColor>
#include <QString>
#include <QtGlobal>

struct SignalSettings;

/// What the panel shows, beyond the time, as a countdown nears and passes its end: which colour pair, and
/// when to flash. Pure arithmetic on the remaining seconds; the delegate carries it out.
namespace PanelSignals {

/// A threshold typed as hours:minutes:seconds, in seconds: three fields of digits only (white space
/// around each allowed), each at most 999999. Anything else, and 0:00:00, is 0: never reached.
qint64 thresholdSeconds(const QString& typed);

enum class Look
{
    Stored, ///< the presenter's own text and background colours
    Warning,
    Final,
    Overtime
};

/// The pair a running countdown shows with this many seconds left. A threshold is reached when the time
/// left is at or below it, so one longer than the whole countdown is reached at once, at the start. Past
/// zero the overtime pair holds where it is switched on; otherwise the pair last reached stays.
Look lookFor(qint32 remainingSeconds, const SignalSettings& settings);

struct ColorPair
{
    QColor text;
    QColor background;
};

/// The pair of a look; Stored gives the stored pair passed in.
ColorPair colorsFor(Look look, const SignalSettings& settings, const ColorPair& stored);

/// The two colours exchanged, each opaque so neither half of a flash can vanish.
ColorPair swapped(const ColorPair& pair);

/// A flash is a series of colour swaps, one every flashChangeMs: ten at zero (five seconds), two at each
/// reminder in overtime (one flash). Two changes a second stay well below the three flashes a second
/// that can trigger seizures (WCAG 2.3.1).
constexpr int flashChangeMs = 500;
constexpr int changesAtZero = 10;
constexpr int changesAtReminder = 2;

/// How many swaps begin at a tick of the countdown, from the count before and after it: at zero, with
/// the end sound (the tick that finds the count at zero, whether it then stops or goes on), and in
/// overtime with each reminder, at every multiple of the reminder interval (when it is above 0); 0 where
/// no flash begins, and always while the flash is off.
int flashChangesAtTick(qint32 countBefore, qint32 countAfter, const SignalSettings& settings,
                       qint64 reminderIntervalSeconds);

} // namespace PanelSignals
