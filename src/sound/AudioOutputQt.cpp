// Playback through Qt Multimedia's QAudioSink, on the main thread, where there is no libpulse (macOS,
// Windows, a Linux build without it). The system's own audio services answer there; a PulseAudio server
// that hangs would hold the main thread, which is why Linux has AudioOutputPulse.cpp.

#include "AudioOutput.h"

#include <QAudioFormat>
#include <QAudioSink>
#include <QBuffer>
#include <QCoreApplication>
#include <QTimer>

#include <climits>
#include <functional>
#include <utility>

namespace {

/// One playback: its own copy of the samples (shared, not copied), the sink, and whom to tell at the end.
class SinkPlayback : public QObject
{
public:
    SinkPlayback(const QByteArray& pcm, const QAudioFormat& format, std::function<void()> ended)
        : m_pcm(pcm)
        , m_format(format)
        , m_ended(std::move(ended))
    {
        m_source.setBuffer(&m_pcm);
        m_source.open(QIODevice::ReadOnly);
        m_sink = new QAudioSink(format, this);
    }

    // The sink goes before the buffer it reads.
    ~SinkPlayback() override { delete m_sink; }

    void start()
    {
        QObject::connect(m_sink, &QAudioSink::stateChanged, this, [this](QAudio::State state) {
            if (state == QAudio::StoppedState) {
                end();
                return;
            }
            // Idle with the whole buffer read is the end of reading, an idle moment before that only an
            // underrun. What the back end still holds is yet to be heard: stopping now would cut it off.
            if (state == QAudio::IdleState && m_source.atEnd() && !m_finishing) {
                m_finishing = true;
                const qint64 total =
                    m_format.durationForBytes(qint32(qMin<qsizetype>(m_pcm.size(), INT_MAX)));
                const qint64 buffered = m_format.durationForBytes(qint32(m_sink->bufferSize()));
                const qint64 left = qBound<qint64>(0, total - m_sink->processedUSecs(), buffered);
                QTimer::singleShot(int(left / 1000) + 60, this, [this] { end(); });
            }
        });
        m_sink->start(&m_source);
        // Without a sound server or device the sink stops at once; the sound is then simply not heard. The
        // end is told from the event loop, never before play() returns.
        if (m_sink->state() == QAudio::StoppedState)
            QTimer::singleShot(0, this, [this] { end(); });
    }

private:
    void end()
    {
        if (m_done)
            return;
        m_done = true;
        m_sink->disconnect(this);
        m_sink->stop();
        deleteLater();
        if (m_ended)
            std::exchange(m_ended, nullptr)();
    }

    QByteArray m_pcm;
    QBuffer m_source;
    QAudioFormat m_format;
    QAudioSink* m_sink = nullptr;
    std::function<void()> m_ended;
    bool m_finishing = false;
    bool m_done = false;
};

} // namespace

namespace AudioOutput {

bool play(const QByteArray& pcm, int sampleRate, int channelCount, std::function<void()> ended)
{
    if (!QCoreApplication::instance() || pcm.isEmpty())
        return false;
    QAudioFormat format;
    format.setSampleRate(sampleRate);
    format.setChannelCount(channelCount);
    format.setSampleFormat(QAudioFormat::Int16);
    auto* playback = new SinkPlayback(pcm, format, std::move(ended));
    playback->start();
    return true;
}

} // namespace AudioOutput
