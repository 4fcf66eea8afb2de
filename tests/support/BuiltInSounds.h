#pragma once

#include <QString>
#include <QStringList>

namespace testsupport {

/// The sounds every installation ships, in the order the settings list them. The one place tests name them.
inline const QStringList& builtInSounds()
{
    static const QStringList names{QStringLiteral("Left Coast Piano.mp3"), QStringLiteral("Piano 1.mp3"),
                                   QStringLiteral("School Bell.mp3"), QStringLiteral("Harp Compound.mp3"),
                                   QStringLiteral("click_tin.wav")};
    return names;
}

} // namespace testsupport
