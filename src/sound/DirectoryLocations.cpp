#include "DirectoryLocations.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace DirectoryLocations {

namespace {

std::optional<QString>& executableNameOverride()
{
    static std::optional<QString> name;
    return name;
}

QStringList searchPathsForDirectories(SearchPathDirectory directory, SearchPathDomainMask domainMask)
{
    if (!(domainMask & UserDomainMask))
        return {};
    switch (directory) {
    case ApplicationSupportDirectory:
        return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    }
    return {};
}

} // namespace

QString findOrCreateDirectory(SearchPathDirectory directory, SearchPathDomainMask domainMask,
                              const QString& appendPathComponent, std::optional<Error>* error)
{
    const QStringList paths = searchPathsForDirectories(directory, domainMask);
    if (paths.isEmpty() || paths.first().isEmpty()) {
        if (error) {
            *error = Error{errorDomain,
                           0,
                           {{localizedDescriptionKey,
                             QCoreApplication::translate("Errors", "No path found for directory in domain.")},
                            {searchPathDirectoryKey, qint64(directory)},
                            {searchPathDomainMaskKey, qint64(domainMask)}}};
        }
        return {};
    }
    QString path = paths.first();
    if (!appendPathComponent.isNull())
        path = QDir(path).filePath(appendPathComponent);
    if (!QDir().mkpath(path) || !QFileInfo(path).isDir()) {
        if (error) {
            *error = Error{QStringLiteral("NSCocoaErrorDomain"),
                           512,
                           {{localizedDescriptionKey,
                             QCoreApplication::translate("Errors", "The folder could not be created.")}}};
        }
        return {};
    }
    if (error)
        error->reset();
    return QDir::cleanPath(path);
}

QString applicationSupportDirectory()
{
    const QString name = executableName();
    // Without a name the Application Support folder itself is the sound folder.
    return findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask,
                                 name.isEmpty() ? QString() : name, nullptr);
}

QString executableName()
{
    if (executableNameOverride())
        return *executableNameOverride();
    if (!QCoreApplication::instance())
        return {};
    QString name = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    // The name, not the file: "brevlin.exe" and "brevlin" keep the same folder.
    if (name.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive))
        name.chop(4);
    return name;
}

void setExecutableNameOverride(std::optional<QString> name)
{
    executableNameOverride() = std::move(name);
}

} // namespace DirectoryLocations
