#pragma once

#include <QString>
#include <QtGlobal>

class Brevlin;

/// The panel's text for a time: each field zero-padded to two digits and never truncated (100 hours show as
/// 100, a negative field keeps its own sign), with a leading minus in overtime.
QString formatTime(qint32 hours, qint32 minutes, qint32 seconds, bool overtime);

/// The countdown itself, without a clock or a window: the delegate feeds it the typed text and its timer's
/// ticks and carries out what each step asks for. All arithmetic on the count is 32-bit two's complement
/// with wrap-around, written without signed overflow.
class Countdown
{
public:
    /// What one tick asks of the panel, in the order the panel must do it.
    struct Step
    {
        bool playEndSound = false;
        bool stopTimer = false; ///< the count stops at zero; nothing else changes
        bool playReminderSound = false;
        QString text;          ///< the new display text; null when the timer stops
        bool relayout = false; ///< the text has just gained its minus sign
    };

    /// Takes the typed text as the new count when it has exactly three ":"-separated pieces and returns the
    /// text to show (which is also what gets persisted). Returns a null string, changing nothing, for any
    /// other text: a running count then keeps running.
    QString start(const QString& typedText);

    /// One second. Settings are read here, at the moment they matter, so a change made in the preferences
    /// is seen by the very next tick.
    Step tick(const Brevlin& settings);

    qint32 remainingSeconds() const { return m_remainingSeconds; }
    qint32 shownHours() const { return m_shownHours; }
    qint32 shownMinutes() const { return m_shownMinutes; }
    qint32 shownSeconds() const { return m_shownSeconds; }

private:
    qint32 m_remainingSeconds = 0;
    qint32 m_shownHours = 0;
    qint32 m_shownMinutes = 0;
    qint32 m_shownSeconds = 0;
};
