// Loading a sound from any bytes: either no sound, or one with a sane format and length; never a crash,
// never a read outside the file.

#include "FuzzSupport.h"

#include "Sound.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

namespace {

QString g_path;

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication app(*argc, *argv);
    static QTemporaryDir folder;
    g_path = folder.filePath(QStringLiteral("input.sound"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QFile file(g_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char*>(data), qint64(size));
    file.close();
    const std::shared_ptr<Sound> sound = Sound::withContentsOfFile(g_path);
    if (!sound)
        return 0;
    FUZZ_CHECK(sound->sampleRate() > 0);
    FUZZ_CHECK(sound->channelCount() >= 1 && sound->channelCount() <= 8);
    FUZZ_CHECK(sound->duration() > 0);
    FUZZ_CHECK(!sound->isPlaying());
    return 0;
}
