#pragma once

// The settings file behind UserDefaults, read and replaced the way another program (or the user with an
// editor) would, bypassing QSettings and its in-process cache.

#include "UserDefaults.h"

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QString>

namespace SettingsFile {

/// The bytes of a literal that may hold NULs, without its terminator.
template <qsizetype N>
QByteArray bytesOf(const char (&text)[N])
{
    return QByteArray(text, N - 1);
}

/// The "key=value" lines of the file as they are on disk.
inline QHash<QString, QString> entries()
{
    QHash<QString, QString> result;
    QFile file(UserDefaults::standardUserDefaults().filePath());
    if (!file.open(QIODevice::ReadOnly))
        return result;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const qsizetype eq = line.indexOf('=');
        if (eq > 0)
            result.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    }
    return result;
}

/// Replaces the whole file. Its modification time is moved away from now, so that the next
/// synchronisation notices the change even when it lands in the same clock tick as the last save.
inline bool replace(const QByteArray& contents)
{
    const QString path = UserDefaults::standardUserDefaults().filePath();
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.commit())
        return false;
    QFile touched(path);
    return touched.open(QIODevice::ReadWrite) &&
           touched.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-3600),
                               QFileDevice::FileModificationTime);
}

} // namespace SettingsFile
