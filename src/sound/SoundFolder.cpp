#include "SoundFolder.h"

#include "DirectoryLocations.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace SoundFolder {

namespace {

std::optional<QString>& resourceFolderOverride()
{
    static std::optional<QString> folder;
    return folder;
}

} // namespace

bool isPlainFileName(const QString& name)
{
    // Both separators count everywhere: a settings file can travel between systems.
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) && !name.contains(QChar(0));
}

QString locationOfSound(const QString& name)
{
    if (!isPlainFileName(name))
        return {};
    const QString folder = DirectoryLocations::applicationSupportDirectory();
    if (folder.isNull())
        return {};
    return QDir(folder).filePath(name);
}

QString resourceFolder()
{
    if (resourceFolderOverride())
        return *resourceFolderOverride();
    QStringList candidates;
    if (QCoreApplication::instance()) {
        // Relative to the executable, so that an unpacked or relocated installation finds its own:
        // Contents/MacOS/../Resources in a bundle, then beside the executable, then <prefix>/share.
        const QString executableFolder = QCoreApplication::applicationDirPath();
        candidates << executableFolder + QStringLiteral("/../Resources/sounds")
                   << executableFolder + QStringLiteral("/sounds")
                   << executableFolder + QStringLiteral("/../share/brevlin/sounds");
    }
#ifdef BREVLIN_BUILD_SOUNDS_DIR
    candidates << QStringLiteral(BREVLIN_BUILD_SOUNDS_DIR);
#endif
    if (candidates.isEmpty())
        return {};
    for (const QString& candidate : candidates) {
        if (QFileInfo(candidate).isDir())
            return QDir::cleanPath(candidate);
    }
    return QDir::cleanPath(candidates.last());
}

void setResourceFolderOverride(std::optional<QString> folder)
{
    resourceFolderOverride() = std::move(folder);
}

} // namespace SoundFolder
