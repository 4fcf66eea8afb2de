// A loaded sound is heard on the test's PulseAudio null sink: whole, once, from memory, and never twice at
// a time from the same object.
#include "BuiltInSounds.h"
#include "PrivatePulse.h"
#include "SinkRecorder.h"
#include "Sound.h"
#include "SoundFileTypes.h"
#include "SoundFolder.h"
#include "SoundLoader.h"
#include "TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <vector>

#include <sys/stat.h>

using testsupport::PrivatePulse;

namespace {

bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

// Seconds of the recording whose 10 ms windows are louder than the threshold (RMS, full scale 1).
double loudSeconds(const QVector<qint16>& samples, double threshold = 0.02)
{
    const int window = SinkRecorder::sampleRate / 100;
    int loud = 0;
    for (int start = 0; start + window <= samples.size(); start += window) {
        if (SinkRecorder::rms(samples.mid(start, window)) > threshold)
            ++loud;
    }
    return loud / 100.0;
}

double peak(const QVector<qint16>& samples)
{
    int highest = 0;
    for (qint16 s : samples)
        highest = std::max(highest, std::abs(int(s)));
    return highest / 32768.0;
}

// A silent 16-bit mono WAV file of exactly `bytes` bytes, header included.
QByteArray silentWavOfSize(qint64 bytes)
{
    QByteArray wav = sineWav(440, 0.0);
    const quint32 dataBytes = quint32(bytes - wav.size());
    const quint32 riffBytes = quint32(bytes - 8);
    wav.replace(4, 4, QByteArray(reinterpret_cast<const char*>(&riffBytes), 4));
    wav.replace(wav.size() - 4, 4, QByteArray(reinterpret_cast<const char*>(&dataBytes), 4));
    wav.append(QByteArray(qsizetype(dataBytes), '\0'));
    return wav;
}

// The mode bits of a file, as ls shows them in octal.
int modeOf(const QString& path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 07777) : -1;
}

// Makes a sound of `seconds` seconds of silence in `channels` channels with sox; false when sox fails.
bool soxSilence(const QString& path, int channels, int seconds)
{
    return QProcess::execute(QStringLiteral("sox"),
                             {QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("48000"),
                              QStringLiteral("-c"), QString::number(channels), QStringLiteral("-b"),
                              QStringLiteral("16"), path, QStringLiteral("trim"), QStringLiteral("0"),
                              QString::number(seconds)}) == 0;
}

// The threads of this process, as the kernel counts them.
int threadCount()
{
    return int(QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

} // namespace

class TestSound : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString toneFile(const QString& name, double seconds, double amplitude = 0.5, double frequency = 440)
    {
        const QString path = m_dir.filePath(name);
        if (!writeFile(path, sineWav(frequency, seconds, amplitude)))
            return {};
        return path;
    }

    static void waitUntilQuiet(const std::shared_ptr<Sound>& sound)
    {
        QTRY_VERIFY_WITH_TIMEOUT(!sound->isPlaying(), 10000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(!qEnvironmentVariableIsEmpty("BREVLIN_TEST_SINK_MONITOR"),
                 "run through isolated-run.sh --pulse");
    }

    void cleanup() { QVERIFY(PrivatePulse::restore()); }

    void aPlayedSoundIsHeardWholeAndOnce()
    {
        const auto sound = Sound::withContentsOfFile(toneFile(QStringLiteral("tone.wav"), 0.8));
        QVERIFY(sound);
        QCOMPARE(sound->sampleRate(), 44100);
        QCOMPARE(sound->channelCount(), 1);
        QVERIFY(qAbs(sound->duration() - 0.8) < 0.01);

        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        QElapsedTimer clock;
        clock.start();
        sound->play();
        // play() hands the sound to the audio back end and returns long before the sound is over.
        QVERIFY2(clock.elapsed() < 400, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(sound->isPlaying());
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const auto samples = recorder.stop();
        const double heard = loudSeconds(samples);
        qInfo("heard %.2f s, RMS %.3f, peak %.3f", heard, SinkRecorder::rms(samples), peak(samples));
        // The tail is not cut off when the back end reports the buffer drained, nor is anything repeated.
        QVERIFY2(heard > 0.72 && heard < 0.9, qPrintable(QString::number(heard)));
        QVERIFY(peak(samples) > 0.4 && peak(samples) < 0.6);
    }

    void playWhilePlayingAddsNothing()
    {
        const auto sound = Sound::withContentsOfFile(toneFile(QStringLiteral("long.wav"), 1.0, 0.3));
        QVERIFY(sound);
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        sound->play();
        QTest::qWait(300);
        QVERIFY(sound->isPlaying());
        sound->play();
        QTest::qWait(200);
        sound->play();
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const auto samples = recorder.stop();
        const double heard = loudSeconds(samples);
        // A second playback would lengthen the sound (queued or restarted) or double its amplitude (mixed).
        QVERIFY2(heard > 0.9 && heard < 1.1, qPrintable(QString::number(heard)));
        QVERIFY2(peak(samples) < 0.4, qPrintable(QString::number(peak(samples))));
    }

    void aFinishedSoundPlaysAgain()
    {
        const auto sound = Sound::withContentsOfFile(toneFile(QStringLiteral("again.wav"), 0.3));
        QVERIFY(sound);
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        sound->play();
        waitUntilQuiet(sound);
        sound->play();
        QVERIFY(sound->isPlaying());
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const double heard = loudSeconds(recorder.stop());
        QVERIFY2(heard > 0.54 && heard < 0.7, qPrintable(QString::number(heard)));
    }

    void aSoundPlaysFromMemoryAfterItsFileIsDeletedOrReplaced_data()
    {
        QTest::addColumn<bool>("replace");
        QTest::newRow("deleted") << false;
        QTest::newRow("replaced by silence") << true;
    }

    void aSoundPlaysFromMemoryAfterItsFileIsDeletedOrReplaced()
    {
        QFETCH(bool, replace);
        const QString path = toneFile(QStringLiteral("gone.wav"), 0.5);
        const auto sound = Sound::withContentsOfFile(path);
        QVERIFY(sound);
        QVERIFY(QFile::remove(path));
        if (replace)
            QVERIFY(writeFile(path, sineWav(440, 0.5, 0.0)));
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        sound->play();
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const double heard = loudSeconds(recorder.stop());
        QVERIFY2(heard > 0.45, qPrintable(QString::number(heard)));
    }

    void aSoundWithoutHandlesPlaysToItsEnd()
    {
        // A preview, or an end sound whose handle is replaced while it plays.
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        QVERIFY(Sound::playFile(toneFile(QStringLiteral("preview.wav"), 0.6)));
        {
            // Another pitch: the two start a moment apart, and one tone would cancel the other out at some
            // offsets.
            auto handle = Sound::withContentsOfFile(toneFile(QStringLiteral("replaced.wav"), 0.6, 0.25, 553));
            QVERIFY(handle);
            handle->play();
            handle = Sound::withContentsOfFile(toneFile(QStringLiteral("other.wav"), 0.1));
        }
        // Nothing tells when a sound without handles ends; the null sink renders with up to about two
        // seconds of latency when no stream asks for less.
        QTest::qWait(4000);
        const auto samples = recorder.stop();
        const double heard = loudSeconds(samples);
        QVERIFY2(heard > 0.55,
                 qPrintable(QStringLiteral("%1 s loud of %2 samples").arg(heard).arg(samples.size())));
        // Both played at once: the mix reaches above either alone.
        QVERIFY2(peak(samples) > 0.6, qPrintable(QString::number(peak(samples))));
    }

    void playReturnsAtOnceAndGivesUpOnAServerThatHangs()
    {
        QVERIFY(PrivatePulse::available());
        const auto sound = Sound::withContentsOfFile(toneFile(QStringLiteral("hung.wav"), 0.5));
        QVERIFY(sound);
        QVERIFY(PrivatePulse::freeze());
        QElapsedTimer clock;
        clock.start();
        sound->play();
        QVERIFY2(clock.elapsed() < 400, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(sound->isPlaying());
        // It ends while the server still hangs: nothing waits for it for ever.
        QTRY_VERIFY_WITH_TIMEOUT(!sound->isPlaying(), 10000);
        QVERIFY(PrivatePulse::thaw());

        // The same sound, once the server answers again, is heard.
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        sound->play();
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const double heard = loudSeconds(recorder.stop());
        QVERIFY2(heard > 0.45 && heard < 0.6, qPrintable(QString::number(heard)));
    }

    void soundsWaitingOnAServerThatHangsNeitherHoldUpOthersNorPileUpThreads()
    {
        const int threadsBefore = threadCount();
        std::vector<std::shared_ptr<Sound>> sounds;
        for (int i = 0; i < 30; ++i) {
            sounds.push_back(Sound::withContentsOfFile(toneFile(QStringLiteral("many%1.wav").arg(i), 0.2)));
            QVERIFY(sounds.back());
        }
        QVERIFY(PrivatePulse::freeze());
        // One sound waits on the server; another is started all the same, and so are more.
        sounds[0]->play();
        QTest::qWait(500);
        QVERIFY(sounds[0]->isPlaying());
        QElapsedTimer clock;
        clock.start();
        sounds[1]->play();
        QVERIFY(sounds[1]->isPlaying());
        for (const auto& sound : sounds)
            sound->play();
        QVERIFY2(clock.elapsed() < 400, qPrintable(QString::number(clock.elapsed())));
        const int threadsWhileHung = threadCount();
        qInfo("threads: %d before, %d with 30 sounds waiting on a hung server", threadsBefore,
              threadsWhileHung);
        QVERIFY2(threadsWhileHung - threadsBefore <= 10, qPrintable(QString::number(threadsWhileHung)));
        // Given up while the server still hangs, each thread ends.
        QTRY_VERIFY_WITH_TIMEOUT(
            std::none_of(sounds.begin(), sounds.end(), [](const auto& s) { return s->isPlaying(); }), 15000);
        QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= threadsBefore, 5000);
        QVERIFY(PrivatePulse::thaw());
    }

    void aSoundIsHeardOnceTheServerIsBack()
    {
        // Loaded while the server runs, played while there is none, played again once a new one runs.
        const auto sound = Sound::withContentsOfFile(toneFile(QStringLiteral("back.wav"), 0.5));
        QVERIFY(sound);
        QVERIFY(PrivatePulse::kill());
        sound->play();
        QTRY_VERIFY_WITH_TIMEOUT(!sound->isPlaying(), 10000);
        QVERIFY(PrivatePulse::start());
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        sound->play();
        QVERIFY(sound->isPlaying());
        waitUntilQuiet(sound);
        QTest::qWait(300);
        const double heard = loudSeconds(recorder.stop());
        QVERIFY2(heard > 0.45 && heard < 0.6, qPrintable(QString::number(heard)));
    }

    void whatIsNotAudioLoadsNothingAndSaysNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("exists");
        QTest::newRow("missing") << QByteArray() << false;
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("text") << QByteArray("Left Coast Piano, but only in name\n") << true;
        QTest::newRow("truncated header") << sineWav(440, 0.5).left(30) << true;
        QTest::newRow("header without samples") << sineWav(440, 0.0) << true;
        QTest::newRow("random bytes") << QByteArray(4096, '\xa5') << true;
    }

    void whatIsNotAudioLoadsNothingAndSaysNothing()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, exists);
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        const QString path = m_dir.filePath(QStringLiteral("not-audio.mp3"));
        QFile::remove(path);
        if (exists)
            QVERIFY(writeFile(path, content));
        QVERIFY(!Sound::withContentsOfFile(path));
        QVERIFY(!Sound::playFile(path));
    }

    void aFolderOrNoPathLoadsNothing()
    {
        QVERIFY(!Sound::withContentsOfFile(m_dir.path()));
        QVERIFY(!Sound::withContentsOfFile(QString()));
        QVERIFY(!Sound::withContentsOfFile(QStringLiteral("")));
    }

    void theSupportedTypesCoverTheCommonFormats()
    {
        const QStringList types = Sound::supportedFileTypes();
        for (const char* type : {"wav", "flac", "ogg", "mp3", "aiff"})
            QVERIFY2(types.contains(QLatin1String(type)), type);
        QVERIFY(!types.contains(QStringLiteral("raw")));
    }

    void theFileDialogOffersExactlyWhatLoads()
    {
        const QStringList patterns = SoundFileTypes::fileNamePatterns();
        QCOMPARE(patterns.size(), Sound::supportedFileTypes().size());
        const QStringList filters = SoundFileTypes::fileDialogNameFilters();
        QCOMPARE(filters.size(), 1);
        // Every built-in sound and a tone made here is offered, in either case; other files are not.
        QStringList offered;
        for (const char* name :
             {"Left Coast Piano.mp3", "Piano 1.mp3", "School Bell.mp3", "Harp Compound.mp3", "click_tin.wav",
              "Test Tone.wav", "LOUD.WAV", "take.flac", "take.ogg"})
            offered << QString::fromUtf8(name);
        const QString path = toneFile(QStringLiteral("Test Tone.wav"), 0.1);
        QVERIFY(Sound::withContentsOfFile(path));
        for (const QString& name : offered) {
            QVERIFY2(QDir::match(patterns, name.toLower()), qPrintable(name));
            QVERIFY2(filters.first().contains(QStringLiteral("*.") + name.section(QLatin1Char('.'), -1)),
                     qPrintable(name));
        }
        for (const char* name : {"notes.txt", "slides.pptx", "data.raw", "tone"})
            QVERIFY2(!QDir::match(patterns, QString::fromUtf8(name)), name);
    }

    void aFileThatIsNotRegularLoadsNothingAndNeverBlocks_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FIFO") << QStringLiteral("fifo");
        QTest::newRow("link to a FIFO") << QStringLiteral("link to fifo");
        QTest::newRow("/dev/zero") << QStringLiteral("/dev/zero");
        QTest::newRow("link to /dev/zero") << QStringLiteral("link to /dev/zero");
        QTest::newRow("link to /dev/urandom") << QStringLiteral("link to /dev/urandom");
    }

    void aFileThatIsNotRegularLoadsNothingAndNeverBlocks()
    {
        // Opening a FIFO waits for a writer and /dev/zero never ends: either would hang this test or
        // exhaust its memory, had the loader opened them.
        QFETCH(QString, kind);
        const QString fifo = m_dir.filePath(QStringLiteral("fifo.mp3"));
        QFile::remove(fifo);
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0644), 0);
        QString path = kind;
        if (kind.startsWith(QLatin1String("link to "))) {
            path = m_dir.filePath(QStringLiteral("link.mp3"));
            QFile::remove(path);
            const QString target = kind.mid(8) == QLatin1String("fifo") ? fifo : kind.mid(8);
            QVERIFY(QFile::link(target, path));
        } else if (kind == QLatin1String("fifo")) {
            path = fifo;
        }
        QVERIFY(!Sound::withContentsOfFile(path));
        QVERIFY(!Sound::playFile(path));
        QVERIFY(!SoundFiles::readRegularFile(path, 1024));
    }

    void aLinkToARegularSoundLoads()
    {
        const QString link = m_dir.filePath(QStringLiteral("linked.wav"));
        QFile::remove(link);
        QVERIFY(QFile::link(toneFile(QStringLiteral("target.wav"), 0.4), link));
        const auto sound = Sound::withContentsOfFile(link);
        QVERIFY(sound);
        QVERIFY(qAbs(sound->duration() - 0.4) < 0.01);
    }

    void theSizeLimitCountsTheBytesRead()
    {
        const QString path = m_dir.filePath(QStringLiteral("ten.bin"));
        QVERIFY(writeFile(path, "0123456789"));
        QCOMPARE(SoundFiles::readRegularFile(path, 10).value_or("none"), QByteArray("0123456789"));
        QVERIFY(!SoundFiles::readRegularFile(path, 9));
        // A regular file whose reported size is 0 but which holds more: its size is not believed.
        const QString proc = QStringLiteral("/proc/self/status");
        QCOMPARE(QFileInfo(proc).size(), 0);
        QVERIFY(QFileInfo(proc).isFile());
        const std::optional<QByteArray> status = SoundFiles::readRegularFile(proc, 1024 * 1024);
        QVERIFY(status && status->contains("Name:"));
        QVERIFY(!SoundFiles::readRegularFile(proc, 100));
    }

    void aSoundFileOfSixtyFourMegabytesLoadsAndOneByteMoreDoesNot()
    {
        const QString path = m_dir.filePath(QStringLiteral("large.wav"));
        QVERIFY(writeFile(path, silentWavOfSize(SoundFiles::maxFileBytes)));
        const auto atTheLimit = Sound::withContentsOfFile(path);
        QVERIFY(atTheLimit);
        QCOMPARE(qint64(atTheLimit->duration() * 44100 * 2 + 0.5), SoundFiles::maxFileBytes - 44);
        QFile file(path);
        QVERIFY(file.open(QIODevice::Append));
        QCOMPARE(file.write("x", 1), qint64(1));
        file.close();
        QVERIFY(!Sound::withContentsOfFile(path));
        QVERIFY(QFile::remove(path));
    }

    void aSoundOfMoreThanTwoHundredFiftySixMegabytesDecodedLoadsNothing()
    {
        // Eight channels of silence compress well, so the file is within its limit and only the decoded
        // length is over: 360 s at 48 kHz is 276 MB of 16-bit samples.
        const QString shorter = m_dir.filePath(QStringLiteral("shorter.flac"));
        const QString longer = m_dir.filePath(QStringLiteral("longer.flac"));
        QVERIFY(soxSilence(shorter, 8, 60));
        QVERIFY(soxSilence(longer, 8, 360));
        QVERIFY(QFileInfo(longer).size() < SoundFiles::maxFileBytes);
        const auto loaded = Sound::withContentsOfFile(shorter);
        QVERIFY(loaded);
        QCOMPARE(loaded->channelCount(), 8);
        QVERIFY(!Sound::withContentsOfFile(longer));
    }

    void aBackgroundLoadArrivesLaterOnTheContextsThread()
    {
        QObject context;
        std::optional<std::shared_ptr<Sound>> arrived;
        QThread* arrivedOn = nullptr;
        const SoundLoader::Request request = SoundLoader::load(
            toneFile(QStringLiteral("background.wav"), 0.7), &context, [&](std::shared_ptr<Sound> sound) {
                arrived = std::move(sound);
                arrivedOn = QThread::currentThread();
            });
        // Never from within the call: the caller never waits for a decode.
        QVERIFY(!arrived);
        QVERIFY(request.isPending());
        QTRY_VERIFY(arrived.has_value());
        QVERIFY(*arrived);
        QVERIFY(qAbs((*arrived)->duration() - 0.7) < 0.01);
        QCOMPARE(arrivedOn, context.thread());
        QVERIFY(!request.isPending());
    }

    void aBackgroundLoadOfWhatDoesNotLoadArrivesEmpty_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FIFO") << QStringLiteral("fifo");
        QTest::newRow("link to /dev/zero") << QStringLiteral("zero");
        QTest::newRow("missing") << QStringLiteral("missing");
    }

    void aBackgroundLoadOfWhatDoesNotLoadArrivesEmpty()
    {
        QFETCH(QString, kind);
        const QString path = m_dir.filePath(QStringLiteral("special.wav"));
        QFile::remove(path);
        if (kind == QLatin1String("fifo"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
        else if (kind == QLatin1String("zero"))
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
        QObject context;
        std::optional<std::shared_ptr<Sound>> arrived;
        SoundLoader::load(path, &context, [&](std::shared_ptr<Sound> sound) { arrived = std::move(sound); });
        QTRY_VERIFY(arrived.has_value());
        QVERIFY(!*arrived);
    }

    void aCancelledOrOrphanedLoadNeverArrives()
    {
        const QString path = toneFile(QStringLiteral("unwanted.wav"), 0.5);
        int arrivals = 0;
        QObject context;
        const SoundLoader::Request cancelled =
            SoundLoader::load(path, &context, [&](const std::shared_ptr<Sound>&) { ++arrivals; });
        cancelled.cancel();
        QVERIFY(!cancelled.isPending());
        auto orphan = std::make_unique<QObject>();
        SoundLoader::load(path, orphan.get(), [&](const std::shared_ptr<Sound>&) { ++arrivals; });
        orphan.reset();
        // A third one that does arrive tells when the others would have.
        bool third = false;
        SoundLoader::load(path, &context, [&](const std::shared_ptr<Sound>&) { third = true; });
        QTRY_VERIFY(third);
        QTest::qWait(200);
        QCOMPARE(arrivals, 0);
    }

    void aCopyTakesOnlyRegularFilesAndGivesTheUsersMode_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("copied");
        QTest::newRow("mode 0666") << QStringLiteral("0666") << true;
        QTest::newRow("mode 0600") << QStringLiteral("0600") << true;
        QTest::newRow("FIFO") << QStringLiteral("fifo") << false;
        QTest::newRow("/dev/zero") << QStringLiteral("/dev/zero") << false;
        QTest::newRow("link to /dev/zero") << QStringLiteral("zero") << false;
        QTest::newRow("one byte over the limit") << QStringLiteral("large") << false;
    }

    void aCopyTakesOnlyRegularFilesAndGivesTheUsersMode()
    {
        QFETCH(QString, kind);
        QFETCH(bool, copied);
        const mode_t umaskBefore = ::umask(022);
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        QString source = folder.filePath(QStringLiteral("source.wav"));
        const QByteArray tone = sineWav(440, 0.2);
        if (kind == QLatin1String("0666") || kind == QLatin1String("0600")) {
            QVERIFY(writeFile(source, tone));
            QCOMPARE(::chmod(QFile::encodeName(source).constData(), mode_t(kind.toInt(nullptr, 8))), 0);
        } else if (kind == QLatin1String("fifo")) {
            QCOMPARE(::mkfifo(QFile::encodeName(source).constData(), 0666), 0);
        } else if (kind == QLatin1String("zero")) {
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), source));
        } else if (kind == QLatin1String("large")) {
            QVERIFY(writeFile(source, silentWavOfSize(SoundFiles::maxFileBytes + 1)));
        } else {
            source = kind;
        }
        const QString destination = folder.filePath(QStringLiteral("copy.wav"));
        QCOMPARE(SoundFiles::copyRegularFile(source, destination), copied);
        ::umask(umaskBefore);
        QCOMPARE(QFileInfo::exists(destination), copied);
        if (copied) {
            QFile file(destination);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), tone);
            QCOMPARE(modeOf(destination), 0644);
            // Never over a file that is there.
            QVERIFY(writeFile(source, "changed"));
            QVERIFY(!SoundFiles::copyRegularFile(source, destination));
            file.seek(0);
            QCOMPARE(file.readAll(), tone);
        }
    }

    void everyBuiltInSoundDecodes_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : testsupport::builtInSounds())
            QTest::newRow(qPrintable(name)) << name;
    }

    void everyBuiltInSoundDecodes()
    {
        QFETCH(QString, name);
        const auto sound = Sound::withContentsOfFile(SoundFolder::resourceFolder() + QLatin1Char('/') + name);
        QVERIFY2(sound, qPrintable(SoundFolder::resourceFolder()));
        QVERIFY2(sound->duration() > 0.1 && sound->duration() < 3.0,
                 qPrintable(QString::number(sound->duration())));
    }
};

BREVLIN_TEST_MAIN_CORE(TestSound)
#include "tst_sound.moc"
