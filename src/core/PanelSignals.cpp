#include "PanelSignals.h"

#include "SignalSettings.h"
#include "TextValues.h"

namespace PanelSignals {

namespace {

constexpr qint64 largestField = 999999;

// A field of a threshold: digits only, so "5m" or "-1" make the whole threshold malformed rather than
// silently something else.
qint64 fieldValue(const QString& field)
{
    const QString digits = field.trimmed();
    if (digits.isEmpty() || digits.size() > 6)
        return -1;
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
    }
    return digits.toLongLong();
}

} // namespace

qint64 thresholdSeconds(const QString& typed)
{
    const QStringList fields = componentsSeparatedByString(typed, QStringLiteral(":"));
    if (fields.size() != 3)
        return 0;
    qint64 seconds = 0;
    for (const QString& field : fields) {
        const qint64 value = fieldValue(field);
        if (value < 0 || value > largestField)
            return 0;
        seconds = seconds * 60 + value;
    }
    return seconds;
}

Look lookFor(qint32 remainingSeconds, const SignalSettings& settings)
{
    if (remainingSeconds < 0 && settings.overtimeColors)
        return Look::Overtime;
    if (!settings.changeColorsNearEnd)
        return Look::Stored;
    // Any time left at or below a threshold above 0 has reached it; overtime is below both.
    const qint64 left = remainingSeconds;
    const qint64 finalAt = thresholdSeconds(settings.finalAt);
    if (finalAt > 0 && left <= finalAt)
        return Look::Final;
    const qint64 warnAt = thresholdSeconds(settings.warnAt);
    if (warnAt > 0 && left <= warnAt)
        return Look::Warning;
    return Look::Stored;
}

ColorPair colorsFor(Look look, const SignalSettings& settings, const ColorPair& stored)
{
    switch (look) {
    case Look::Warning:
        return {settings.warnTextColor, settings.warnBgColor};
    case Look::Final:
        return {settings.finalTextColor, settings.finalBgColor};
    case Look::Overtime:
        return {settings.overtimeTextColor, settings.overtimeBgColor};
    case Look::Stored:
        break;
    }
    return stored;
}

ColorPair swapped(const ColorPair& pair)
{
    ColorPair result{pair.background, pair.text};
    result.text.setAlpha(255);
    result.background.setAlpha(255);
    return result;
}

int flashChangesAtTick(qint32 countBefore, qint32 countAfter, const SignalSettings& settings,
                       qint64 reminderIntervalSeconds)
{
    if (!settings.flashAtZero)
        return 0;
    if (countBefore == 0)
        return changesAtZero;
    if (countAfter < 0 && reminderIntervalSeconds > 0 &&
        static_cast<qint64>(countAfter) % reminderIntervalSeconds == 0)
        return changesAtReminder;
    return 0;
}

} // namespace PanelSignals
