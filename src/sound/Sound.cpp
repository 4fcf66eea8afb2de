#include "Sound.h"

#include "AudioOutput.h"
#include "SoundLoader.h"

#include <QFile>

#include <sndfile.h>

#include <cmath>
#include <cstring>

namespace {

// Sounds are cues of a few seconds; these limits only keep a huge or hostile file from exhausting memory.
constexpr qint64 maxPcmBytes = 256 * 1024 * 1024;
constexpr int maxChannels = 8;

// libsndfile reads the file from memory, so the file on disk is read exactly once.
struct MemoryFile
{
    const QByteArray* data;
    sf_count_t position;
};

sf_count_t memoryLength(void* user)
{
    return static_cast<MemoryFile*>(user)->data->size();
}

sf_count_t memorySeek(sf_count_t offset, int whence, void* user)
{
    auto* file = static_cast<MemoryFile*>(user);
    sf_count_t base = 0;
    if (whence == SEEK_CUR)
        base = file->position;
    else if (whence == SEEK_END)
        base = file->data->size();
    const sf_count_t target = base + offset;
    if (target < 0 || target > file->data->size())
        return -1;
    file->position = target;
    return file->position;
}

sf_count_t memoryRead(void* destination, sf_count_t count, void* user)
{
    auto* file = static_cast<MemoryFile*>(user);
    const sf_count_t available = file->data->size() - file->position;
    const sf_count_t n = qBound<sf_count_t>(0, count, available);
    std::memcpy(destination, file->data->constData() + file->position, size_t(n));
    file->position += n;
    return n;
}

sf_count_t memoryWrite(const void*, sf_count_t, void*)
{
    return 0;
}

sf_count_t memoryTell(void* user)
{
    return static_cast<MemoryFile*>(user)->position;
}

} // namespace

Sound::Sound(QByteArray pcm, int sampleRate, int channelCount)
    : m_pcm(std::move(pcm))
    , m_sampleRate(sampleRate)
    , m_channelCount(channelCount)
{}

Sound::~Sound() = default;

std::shared_ptr<Sound> Sound::withContentsOfFile(const QString& path)
{
    const std::atomic<bool> never{false};
    return withContentsOfFile(path, never);
}

std::shared_ptr<Sound> Sound::withContentsOfFile(const QString& path, const std::atomic<bool>& cancelled)
{
    const std::optional<QByteArray> read =
        SoundFiles::readRegularFile(path, SoundFiles::maxFileBytes, &cancelled);
    if (!read)
        return nullptr;
    const QByteArray& encoded = *read;

    MemoryFile memory{&encoded, 0};
    SF_VIRTUAL_IO io{memoryLength, memorySeek, memoryRead, memoryWrite, memoryTell};
    SF_INFO info{};
    SNDFILE* sndfile = sf_open_virtual(&io, SFM_READ, &info, &memory);
    if (!sndfile)
        return nullptr;
    if (info.channels < 1 || info.channels > maxChannels || info.samplerate < 1 || info.samplerate > 384000) {
        sf_close(sndfile);
        return nullptr;
    }
    // Floating-point sources (and the lossy codecs that decode to floats) are read as floats and turned
    // into 16 bits here. Asking libsndfile to do it (SFC_SET_SCALE_FLOAT_INT_READ) makes it decode the
    // whole file once more just to find its peak, and even for integer formats such as FLAC: seconds for
    // a long file, inside one call that nothing can interrupt.
    const int subformat = info.format & SF_FORMAT_SUBMASK;
    const bool normalised = subformat == SF_FORMAT_FLOAT || subformat == SF_FORMAT_DOUBLE ||
                            subformat == SF_FORMAT_VORBIS || subformat == SF_FORMAT_OPUS;
    const bool viaFloats = normalised || subformat == SF_FORMAT_MPEG_LAYER_I ||
                           subformat == SF_FORMAT_MPEG_LAYER_II || subformat == SF_FORMAT_MPEG_LAYER_III;
    const qsizetype sampleBytes = viaFloats ? qsizetype(sizeof(float)) : qsizetype(sizeof(short));

    // The frame count in a header can be absent or wrong, so read until the decoder stops. The limit is
    // on the 16-bit samples the sound keeps.
    QByteArray pcm;
    const sf_count_t chunkFrames = 8192;
    const qsizetype frameBytes = qsizetype(info.channels) * sampleBytes;
    const qsizetype frameBytesKept = qsizetype(info.channels) * qsizetype(sizeof(short));
    bool tooLong = false;
    for (;;) {
        if (cancelled) {
            sf_close(sndfile);
            return nullptr;
        }
        const qsizetype offset = pcm.size();
        if ((offset / frameBytes + chunkFrames) * frameBytesKept > maxPcmBytes) {
            tooLong = true;
            break;
        }
        pcm.resize(offset + chunkFrames * frameBytes);
        char* into = pcm.data() + offset;
        const sf_count_t read = viaFloats
                                    ? sf_readf_float(sndfile, reinterpret_cast<float*>(into), chunkFrames)
                                    : sf_readf_short(sndfile, reinterpret_cast<short*>(into), chunkFrames);
        pcm.resize(offset + qsizetype(qMax<sf_count_t>(read, 0)) * frameBytes);
        if (read < chunkFrames)
            break;
    }
    sf_close(sndfile);
    if (tooLong || pcm.isEmpty())
        return nullptr;
    if (viaFloats) {
        const qsizetype samples = pcm.size() / qsizetype(sizeof(float));
        float peak = 0;
        for (qsizetype i = 0; i < samples; ++i) {
            float sample;
            std::memcpy(&sample, pcm.constData() + i * qsizetype(sizeof(float)), sizeof sample);
            if (std::isfinite(sample))
                peak = qMax(peak, std::fabs(sample));
        }
        // As libsndfile scales: a floating-point source to its own peak, a decoded MPEG stream as it is.
        const double scale = !normalised ? 32767.0 : peak > 0 ? 32767.0 * 32767.0 / (32768.0 * peak) : 0.0;
        // Each 16-bit sample goes where the first half of its float was, so the floats still to be read
        // lie ahead of it.
        for (qsizetype i = 0; i < samples; ++i) {
            float sample;
            std::memcpy(&sample, pcm.constData() + i * qsizetype(sizeof(float)), sizeof sample);
            const double scaled = std::isfinite(sample) ? std::lrint(double(sample) * scale) : 0.0;
            const short value = short(qBound(-32768.0, scaled, 32767.0));
            std::memcpy(pcm.data() + i * qsizetype(sizeof(short)), &value, sizeof value);
        }
        pcm.resize(samples * qsizetype(sizeof(short)));
    }
    pcm.squeeze();
    return std::shared_ptr<Sound>(new Sound(std::move(pcm), info.samplerate, info.channels));
}

double Sound::duration() const
{
    return double(m_pcm.size()) / (double(m_sampleRate) * m_channelCount * 2);
}

void Sound::play()
{
    if (m_playing)
        return;
    // The playback holds the sound until it ends, so a sound whose handles are all gone is still heard
    // whole. The output never calls back before play() returns.
    const std::shared_ptr<Sound> self = shared_from_this();
    m_playing = AudioOutput::play(m_pcm, m_sampleRate, m_channelCount, [self] { self->finish(); });
}

void Sound::finish()
{
    m_playing = false;
}

QStringList Sound::supportedFileTypes()
{
    QStringList types;
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    for (int i = 0; i < count; ++i) {
        SF_FORMAT_INFO info{};
        info.format = i;
        if (sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &info, sizeof info) != 0 || !info.extension)
            continue;
        const QString extension = QString::fromLatin1(info.extension).toLower();
        // Header-less data cannot be told from any other file, so it never loads.
        if (extension == QLatin1String("raw"))
            continue;
        types << extension;
        // libsndfile names each container by one extension; files in the wild use these too.
        if (extension == QLatin1String("m1a"))
            types << QStringLiteral("mp3") << QStringLiteral("mp2") << QStringLiteral("mpga");
        else if (extension == QLatin1String("oga"))
            types << QStringLiteral("ogg") << QStringLiteral("opus");
        else if (extension == QLatin1String("aiff"))
            types << QStringLiteral("aif") << QStringLiteral("aifc");
    }
    types.removeDuplicates();
    return types;
}

bool Sound::playFile(const QString& path)
{
    const std::shared_ptr<Sound> sound = withContentsOfFile(path);
    if (!sound)
        return false;
    sound->play();
    return true;
}
