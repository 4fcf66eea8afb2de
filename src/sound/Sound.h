#pragma once

#include "Playable.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

/// A sound held entirely in memory as 16-bit PCM, decoded once when it is loaded, so it plays the same
/// even after its file is removed or replaced. Playback goes through AudioOutput, off the main thread where
/// it can wait; the sound server is touched only by play(), never by loading.
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
    /// From play() until the sound has been heard to its end, or the output gave up on it.
    bool isPlaying() const { return m_playing; }

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
    bool m_playing = false;
};
