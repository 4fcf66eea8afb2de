#pragma once

// What the store lets QSettings read as its settings file. QSettings opens and reads whatever is at the
// path: opening a FIFO waits for a writer that never comes, a link to /dev/zero reads without end, and a
// file of a hundred megabytes keeps the panel blank for seconds at launch and at every save. None of these
// is a file the application wrote, so such a path is moved aside before anything reads it, and the store
// goes on from its defaults, as with a missing file. Nothing is deleted or overwritten. A UTF-16 file (as
// an editor may save it) is moved aside too: it cannot be read as it is, and a save would append UTF-8 to
// it.

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <optional>

namespace SettingsFileGuard {

/// The largest settings file that is read. A real one holds a few hundred bytes; the bound still leaves
/// room for ten megabytes of sound names, which load in a few tens of milliseconds.
inline constexpr qint64 MaxFileBytes = 16 * 1024 * 1024;

/// Whether reading the path can neither block nor take long, and a save cannot spoil it: nothing there, a
/// folder (which QSettings refuses at once), or a regular file (directly or through links) of at most
/// MaxFileBytes that is not UTF-16 (saved so by an editor: the settings file is UTF-8, and a save would
/// add UTF-8 lines to it).
bool isSafeToRead(const QString& path);

/// When the path is not safe to read, renames it (a link itself, never its target) to
/// "<name>.damaged-<UTC date and time>" in the same folder and returns the new path. Returns an empty text
/// when there was nothing to move or the move failed; isSafeToRead() tells which.
QString setAsideIfUnsafe(const QString& path);

/// The file's contents when it is a regular file within the bound, read without trusting its reported
/// size; nothing otherwise.
std::optional<QByteArray> read(const QString& path);

} // namespace SettingsFileGuard
