#pragma once

#include <QStringList>

/// What a file dialog may offer as a sound: exactly the files that Sound can load.
namespace SoundFileTypes {

/// One wildcard pattern per file name extension that Sound reads ("*.wav", "*.mp3", …), lower case.
QStringList fileNamePatterns();

/// The one name filter of a file dialog that offers only sounds: the patterns in lower and upper case,
/// since a case-sensitive file system would hide "TONE.WAV" from "*.wav".
QStringList fileDialogNameFilters();

} // namespace SoundFileTypes
