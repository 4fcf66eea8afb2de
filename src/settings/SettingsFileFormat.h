#pragma once

// The settings file: an INI file that QSettings' own INI reader also understands, read and written by our
// own code so that a damaged file never changes itself. QSettings rewrites the whole file from what it
// parsed: keys under a header it could not read were moved into the general section, a hand-written value
// came back in another form, and a stored @Variant was decoded without a bound on its lengths. Here a save
// edits the file in place instead: a key that was not changed keeps its line byte for byte, lines that are
// not ours (comments, malformed headers and whatever follows them, garbage) stay where they are, a changed
// key replaces its own line, and a new key goes to the end of the general section.

#include <QByteArray>
#include <QIODevice>
#include <QSettings>
#include <QVariant>

namespace SettingsFileFormat {

/// The QSettings format that reads and writes the file this way, registered on first use. Its file has the
/// name and place of an INI file (".conf").
QSettings::Format format();

/// The keys a file holds, by full key ("Section/Key" outside the general section). Never fails: lines it
/// cannot read are left out, and keys after a header it cannot read are ignored. A key given twice reads as
/// its last value.
QSettings::SettingsMap parse(const QByteArray& file);

/// The file edited so that parse() of the result gives exactly the map: keys whose value is unchanged keep
/// their lines as they were, other lines that are not keys stay in place.
QByteArray rewrite(const QByteArray& original, const QSettings::SettingsMap& map);

/// One value as it appears after "key=" (comment and line end removed): texts, "@ByteArray(...)",
/// "@String(...)", "@Invalid()" and bounded "@Variant(...)" values of the simple kinds. Anything that is not
/// well formed reads as an invalid QVariant. Several values separated by unquoted commas read as one text,
/// joined with ", ".
QVariant decodeValue(const QByteArray& raw);

/// The value's text for the file, in the encoding QSettings' INI reader reads back to the same value.
QByteArray encodeValue(const QVariant& value);

} // namespace SettingsFileFormat
