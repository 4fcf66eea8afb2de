#include "SoundFileTypes.h"

#include "Sound.h"

#include <QCoreApplication>

namespace SoundFileTypes {

QStringList fileNamePatterns()
{
    QStringList patterns;
    for (const QString& type : Sound::supportedFileTypes())
        patterns << QStringLiteral("*.") + type;
    return patterns;
}

QStringList fileDialogNameFilters()
{
    // Matching ignores case where the file system does; on Linux "*.WAV" must be listed as well.
    QStringList patterns = fileNamePatterns();
    const QStringList lower = patterns;
    for (const QString& pattern : lower)
        patterns << pattern.toUpper();
    return {
        QCoreApplication::translate("SoundFileTypes", "Sounds (%1)").arg(patterns.join(QLatin1Char(' ')))};
}

} // namespace SoundFileTypes
