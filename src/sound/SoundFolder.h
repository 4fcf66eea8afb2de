#pragma once

#include <QString>

#include <optional>

/// Where sounds live: the user's sound folder and the application's own built-in sounds.
namespace SoundFolder {

/// Whether the name can only mean a file directly inside a folder: not empty, not "." or "..", and
/// without a path separator. Anything else could only come from a damaged settings file.
bool isPlainFileName(const QString& name);

/// The file of the named sound in the sound folder, which is found (and created) anew. A null string when
/// there is no sound folder or the name is not a plain file name, so no name reaches outside the folder.
QString locationOfSound(const QString& name);

/// The folder holding the built-in sounds shipped with the application: the first that exists of the
/// bundle's Resources/sounds (macOS), sounds beside the executable, share/brevlin/sounds beside the
/// executable's folder (an installed tree and the build tree), and the build tree's copy (not compiled
/// into a package build). The last candidate when none exists; a null string when there is none.
QString resourceFolder();

/// Replaces the resource folder for tests; std::nullopt restores the real search.
void setResourceFolderOverride(std::optional<QString> folder);

} // namespace SoundFolder
