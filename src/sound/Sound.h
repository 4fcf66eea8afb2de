#pragma once

#include "Playable.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

class QAudioSink;
class QBuffer;

/// A sound held entirely in memory as 16-bit PCM, decoded once when it is loaded, so it plays the same
/// even after its file is removed or replaced. Playback goes through QAudioSink; the audio back end is
/// touched only by the first play(), never by loading.
class Sound : public Playable, public std::enable_shared_from_this<Sound>
{
public:
    /// Reads and decodes the whole file (WAV, FLAC, Ogg, MP3 and whatever else libsndfile reads) on the
    /// calling thread; the panel loads through SoundLoader instead. Null when the file is missing, not a
    /// regular file (or a link to one), unreadable, not audio, empty, or too long to hold in memory.
    static std::shared_ptr<Sound> withContentsOfFile(const QString& path);
    /// The same, for a worker thread: gives up (null) as soon as `cancelled` turns true.
    static std::shared_ptr<Sound> withContentsOfFile(const QString& path, const std::atomic<bool>& cancelled);

    ~Sound() override;

    /// Starts the whole sound once and returns at once; does nothing while this sound is still playing.
    /// A playing sound keeps itself alive until its playback ends, even when every handle to it is gone.
    void play() override;
    bool isPlaying() const { return m_sink != nullptr; }

    /// Plays the file once with an object of its own that lives until its playback ends (a preview).
    /// A file that does not load plays nothing. Returns whether playback started.
    static bool playFile(const QString& path);

    /// The file name extensions, lower case without the dot, of the formats withContentsOfFile() reads;
    /// for filtering a file dialog.
    static QStringList supportedFileTypes();

    int sampleRate() const { return m_sampleRate; }
    int channelCount() const { return m_channelCount; }
    /// Length in seconds.
    double duration() const;

private:
    Sound(QByteArray pcm, int sampleRate, int channelCount);
    void finish();

    QByteArray m_pcm;
    int m_sampleRate = 0;
    int m_channelCount = 0;
    // Both exist only while the sound plays.
    QAudioSink* m_sink = nullptr;
    QBuffer* m_source = nullptr;
    std::shared_ptr<Sound> m_keepAlive;
    bool m_finishing = false;
};
