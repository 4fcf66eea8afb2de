#pragma once

// Whether a save kept a settings file's lines: every line of the original that does not hold the changed
// key must still be there, byte for byte and in order. Shared by the damaged-file test and the settings
// file's fuzz target.

#include "SettingsFileFormat.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace settingslines {

/// The lines that mean something, without their breaks: "\n", "\r\n" and a lone "\r" end a line; a file's
/// byte-order mark and blank lines are left out. Breaks are not compared because a lone "\r" before a
/// removed line and the "\n" after it become one "\r\n", and a last line gains a break when a key is added
/// after it; blank lines merge the same way.
inline QList<QByteArray> meaningfulLines(const QByteArray& file)
{
    QList<QByteArray> lines;
    const qsizetype skip = file.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    qsizetype start = skip;
    for (qsizetype i = skip; i <= file.size(); ++i) {
        if (i < file.size() && file[i] != '\n' && file[i] != '\r')
            continue;
        const QByteArray line = file.mid(start, i - start);
        if (!line.trimmed().isEmpty())
            lines.append(line);
        if (i < file.size() && file[i] == '\r' && i + 1 < file.size() && file[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    return lines;
}

/// Whether the line, read on its own, holds the key (under whatever section it sits).
inline bool holdsKey(const QByteArray& line, const QString& key)
{
    const QSettings::SettingsMap own = SettingsFileFormat::parse("[General]\n" + line);
    for (auto it = own.cbegin(); it != own.cend(); ++it) {
        if (it.key() == key || key.endsWith(QLatin1Char('/') + it.key()))
            return true;
    }
    return false;
}

/// Whether every meaningful line of the original that does not hold the key is in the saved file, in order.
inline bool keptAllBut(const QByteArray& original, const QByteArray& saved, const QString& key)
{
    const QList<QByteArray> after = meaningfulLines(saved);
    qsizetype at = 0;
    for (const QByteArray& line : meaningfulLines(original)) {
        if (holdsKey(line, key))
            continue;
        while (at < after.size() && after[at] != line)
            ++at;
        if (at == after.size())
            return false;
        ++at;
    }
    return true;
}

} // namespace settingslines
