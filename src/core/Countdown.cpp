#include "Countdown.h"

#include "Brevlin.h"
#include "TextValues.h"

#include <limits>

namespace {

// Signed overflow is undefined in C++, so the 32-bit count is computed on unsigned values, where
// wrap-around is defined, and mapped back to the signed range by hand.
constexpr qint32 fromTwosComplement(quint32 value)
{
    if (value <= static_cast<quint32>(std::numeric_limits<qint32>::max()))
        return static_cast<qint32>(value);
    return static_cast<qint32>(value - 0x80000000u) + std::numeric_limits<qint32>::min();
}

constexpr quint32 bits(qint32 value)
{
    return static_cast<quint32>(value);
}

} // namespace

QString formatTime(qint32 hours, qint32 minutes, qint32 seconds, bool overtime)
{
    return QString::asprintf(overtime ? "-%02d:%02d:%02d" : "%02d:%02d:%02d", hours, minutes, seconds);
}

QString Countdown::start(const QString& typedText)
{
    const QStringList pieces = componentsSeparatedByString(typedText, QStringLiteral(":"));
    if (pieces.size() != 3)
        return {};

    m_shownHours = intValue(pieces.at(0));
    m_shownMinutes = intValue(pieces.at(1));
    m_shownSeconds = intValue(pieces.at(2));
    m_remainingSeconds =
        fromTwosComplement(bits(m_shownHours) * 3600u + bits(m_shownMinutes) * 60u + bits(m_shownSeconds));

    // A minus anywhere resumes a paused overtime such as -00:05:23. The hours were already read with
    // their own sign, so -01:05:00 resumes as 55 minutes left; presenters' saved times depend on this.
    if (typedText.contains(QLatin1Char('-'))) {
        m_remainingSeconds = fromTwosComplement(0u - bits(m_remainingSeconds));
        m_shownHours = fromTwosComplement(0u - bits(m_shownHours));
    }

    return formatTime(m_shownHours, m_shownMinutes, m_shownSeconds, m_remainingSeconds < 0);
}

Countdown::Step Countdown::tick(const Brevlin& settings)
{
    Step step;
    if (m_remainingSeconds == 0) {
        step.playEndSound = settings.playSound();
        if (!settings.continueCountdown()) {
            step.stopTimer = true;
            return step;
        }
    }

    m_remainingSeconds = fromTwosComplement(bits(m_remainingSeconds) - 1u);

    // The magnitude of the most negative count does not fit 32 bits; 64 bits hold every field exactly.
    const qint64 magnitude = qAbs(static_cast<qint64>(m_remainingSeconds));
    const qint64 hours = magnitude / 3600;
    const qint64 minutes = (magnitude - hours * 3600) / 60;
    const qint64 seconds = magnitude - hours * 3600 - minutes * 60;
    m_shownHours = static_cast<qint32>(hours);
    m_shownMinutes = static_cast<qint32>(minutes);
    m_shownSeconds = static_cast<qint32>(seconds);

    const bool overtime = m_remainingSeconds < 0;
    step.text = formatTime(m_shownHours, m_shownMinutes, m_shownSeconds, overtime);
    if (overtime) {
        const qint64 interval = settings.remindEveryIntervalSeconds();
        step.playReminderSound = settings.playReminderSound() && interval > 0 &&
                                 static_cast<qint64>(m_remainingSeconds) % interval == 0;
    }
    step.relayout = m_remainingSeconds == -1;
    return step;
}
