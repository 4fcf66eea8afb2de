#pragma once

// Listens to the test's PulseAudio null sink, so a test can prove that a sound was actually heard.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QVector>
#include <QtGlobal>

#include <cmath>

class SinkRecorder
{
public:
    static constexpr int sampleRate = 44100;

    /// Starts recording the monitor of the sink isolated-run.sh created (mono, 16-bit).
    bool start()
    {
        const QString monitor = qEnvironmentVariable("BREVLIN_TEST_SINK_MONITOR");
        if (monitor.isEmpty())
            return false;
        m_process.start(QStringLiteral("parec"),
                        {QStringLiteral("--device=") + monitor, QStringLiteral("--format=s16le"),
                         QStringLiteral("--rate=%1").arg(sampleRate), QStringLiteral("--channels=1"),
                         QStringLiteral("--latency-msec=20"), QStringLiteral("--raw")});
        return m_process.waitForStarted(5000);
    }

    /// Waits until the sound server delivers the first samples: the recorder can take a while to connect
    /// on a busy machine, and what plays before then is not recorded.
    bool waitUntilRecording(int msecs = 5000)
    {
        return m_process.bytesAvailable() > 0 || m_process.waitForReadyRead(msecs);
    }

    /// Stops and returns the recorded samples.
    QVector<qint16> stop()
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
        const QByteArray raw = m_process.readAllStandardOutput();
        QVector<qint16> samples(raw.size() / 2);
        // Nothing recorded leaves both pointers null, which memcpy may not be given even for no bytes.
        if (!samples.isEmpty())
            memcpy(samples.data(), raw.constData(), size_t(samples.size()) * 2);
        return samples;
    }

    /// Root mean square level of the samples, 0 (silence) to 1 (full scale).
    static double rms(const QVector<qint16>& samples)
    {
        if (samples.isEmpty())
            return 0;
        double sum = 0;
        for (qint16 s : samples)
            sum += double(s) * double(s);
        return std::sqrt(sum / samples.size()) / 32768.0;
    }

    /// Sounds begun in the samples: a 10 ms window louder than the threshold (RMS) after at least
    /// quietWindows windows that were not.
    static int onsets(const QVector<qint16>& samples, double threshold, int quietWindows)
    {
        const int window = sampleRate / 100;
        int count = 0;
        int quiet = quietWindows;
        for (qsizetype start = 0; start + window <= samples.size(); start += window) {
            if (rms(samples.mid(start, window)) > threshold) {
                if (quiet >= quietWindows)
                    ++count;
                quiet = 0;
            } else {
                ++quiet;
            }
        }
        return count;
    }

private:
    QProcess m_process;
};

/// A mono 16-bit WAV file of a sine tone, made in the test so no sample file is needed.
inline QByteArray sineWav(double frequency, double seconds, double amplitude = 0.5, int rate = 44100)
{
    const int frames = int(seconds * rate);
    QByteArray data;
    data.resize(frames * 2);
    auto* out = reinterpret_cast<qint16*>(data.data());
    for (int i = 0; i < frames; ++i)
        out[i] = qint16(amplitude * 32767 * std::sin(2 * M_PI * frequency * i / rate));
    auto le32 = [](quint32 v) { return QByteArray(reinterpret_cast<const char*>(&v), 4); };
    auto le16 = [](quint16 v) { return QByteArray(reinterpret_cast<const char*>(&v), 2); };
    QByteArray wav = "RIFF" + le32(36 + quint32(data.size())) + "WAVEfmt " + le32(16) + le16(1) + le16(1) +
                     le32(quint32(rate)) + le32(quint32(rate * 2)) + le16(2) + le16(16) + "data" +
                     le32(quint32(data.size())) + data;
    return wav;
}
