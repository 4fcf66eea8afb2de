#pragma once

#include <QString>
#include <QVariantMap>
#include <QtGlobal>

#include <optional>

/// Finds the per-user folders the application keeps files in, creating them when missing.
namespace DirectoryLocations {

/// The directories that can be asked for, with the platform codes the names stand for.
enum SearchPathDirectory : qint64
{
    ApplicationSupportDirectory = 14,
};

/// The domains that can be searched; only the user's own has folders here.
enum SearchPathDomainMask : qint64
{
    UserDomainMask = 1,
};

/// What went wrong when no directory could be given.
struct Error
{
    QString domain;
    qint64 code = 0;
    /// "NSLocalizedDescription", "NSSearchPathDirectory", "NSSearchPathDomainMask" when the platform
    /// knows no such directory; the platform's own description when creating it failed.
    QVariantMap userInfo;
};

inline const QString errorDomain = QStringLiteral("DirectoryLocationDomain");
inline const QString localizedDescriptionKey = QStringLiteral("NSLocalizedDescription");
inline const QString searchPathDirectoryKey = QStringLiteral("NSSearchPathDirectory");
inline const QString searchPathDomainMaskKey = QStringLiteral("NSSearchPathDomainMask");

/// The path of the directory in the domain with appendPathComponent appended (a null component appends
/// nothing), created with any missing parents; it exists on return. A null string when the platform knows
/// no such directory or it cannot be created; the error, if asked for, says why, and is reset on success.
QString findOrCreateDirectory(SearchPathDirectory directory, SearchPathDomainMask domainMask,
                              const QString& appendPathComponent, std::optional<Error>* error);

/// The sound folder: the user's Application Support folder plus a folder named after the executable,
/// created again if it was removed. Found anew at every call, never cached; a null string when there is
/// none. The error is dropped.
QString applicationSupportDirectory();

/// The executable's name, which names the application's folder; empty when it cannot be told.
QString executableName();

/// Replaces the executable name for tests; std::nullopt restores the real one.
void setExecutableNameOverride(std::optional<QString> name);

} // namespace DirectoryLocations
