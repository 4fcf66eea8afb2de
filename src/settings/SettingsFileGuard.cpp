#include "SettingsFileGuard.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace SettingsFileGuard {

bool isSafeToRead(const QString& path)
{
    const QFileInfo info(path);
    // A dangling link reads as missing; QSettings then creates the file beside it, never through it.
    if (!info.exists() || info.isDir())
        return true;
    if (!info.isFile() || info.size() > MaxFileBytes)
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return true; // unreadable: QSettings reads nothing and writes nothing either
    const QByteArray mark = file.read(2);
    return mark != QByteArrayLiteral("\xFF\xFE") && mark != QByteArrayLiteral("\xFE\xFF");
}

QString setAsideIfUnsafe(const QString& path)
{
    if (isSafeToRead(path))
        return {};
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    QString aside = path + QStringLiteral(".damaged-") + stamp;
    for (int n = 2; QFileInfo(aside).exists() || QFileInfo(aside).isSymLink(); ++n)
        aside = path + QStringLiteral(".damaged-") + stamp + QLatin1Char('-') + QString::number(n);
    // rename() moves the entry itself: a link stays a link to what it named.
    if (!QFile::rename(path, aside))
        return {};
    qWarning("Brevlin: the settings file %s was not an ordinary settings file (a special file, one of many "
             "megabytes, or UTF-16); kept as %s, starting from the defaults",
             qPrintable(path), qPrintable(aside));
    return aside;
}

std::optional<QByteArray> read(const QString& path)
{
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    // The size on disk may change or lie (procfs); one byte beyond the bound tells it was too long.
    QByteArray contents = file.read(MaxFileBytes + 1);
    if (contents.size() > MaxFileBytes)
        return std::nullopt;
    return contents;
}

} // namespace SettingsFileGuard
