#pragma once

#include <QColor>
#include <QString>

/// How the panel tells the presenter, without a sound, that the end is near or past: colour pairs from a
/// warning and a final threshold on, another pair in overtime, and a flash at zero. Every switch is off
/// by default, so a panel that was never set up looks exactly as it always did. The built-in values live
/// here and nowhere else; the store registers them from a default instance.
struct SignalSettings
{
    bool changeColorsNearEnd = false;
    /// Typed as hours:minutes:seconds; a text that is not three whole numbers is never reached.
    QString warnAt = QStringLiteral("0:05:00");
    QString finalAt = QStringLiteral("0:01:00");
    QColor warnTextColor = QColor(Qt::black);
    QColor warnBgColor = QColor(0xff, 0xbf, 0x00); // amber
    QColor finalTextColor = QColor(Qt::white);
    QColor finalBgColor = QColor(0xc6, 0x28, 0x28); // red, with white text well above 4.5:1
    bool overtimeColors = false;
    QColor overtimeTextColor = QColor(Qt::white);
    QColor overtimeBgColor = QColor(0x6a, 0x1b, 0x9a); // purple: past the end, unlike the final red
    bool flashAtZero = false;

    bool operator==(const SignalSettings& other) const;
    bool operator!=(const SignalSettings& other) const { return !(*this == other); }
};
