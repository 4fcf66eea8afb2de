// Sound files that could hold up the panel: a FIFO or a link to /dev/zero in the sound folder under the
// selected sounds' names, with the real application, and a long sound previewed while the panel counts.
// The time must keep running on screen and a request to end must end the application.
#include "AppLaunch.h"
#include "BuiltInSounds.h"
#include "DesktopDriver.h"
#include "DirectoryLocations.h"
#include "FocusReturn.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "SoundFolder.h"
#include "StoredSettings.h"
#include "TestMain.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <sys/stat.h>

using namespace desktop;

namespace {

// The real application's sound folder: it runs outside the test mode of this process.
QString applicationSoundFolder()
{
    return qEnvironmentVariable("XDG_DATA_HOME", QDir::homePath() + QStringLiteral("/.local/share")) +
           QStringLiteral("/brevlin");
}

// Puts a FIFO, or a link to /dev/zero, in place of the file.
bool makeSpecial(const QString& path, const QString& kind)
{
    QFile::remove(path);
    if (kind == QLatin1String("fifo"))
        return ::mkfifo(QFile::encodeName(path).constData(), 0644) == 0;
    return QFile::link(QStringLiteral("/dev/zero"), path);
}

bool isSpecial(const QString& path, const QString& kind)
{
    const QFileInfo info(path);
    if (kind == QLatin1String("fifo")) {
        struct stat st = {};
        return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISFIFO(st.st_mode);
    }
    return info.isSymLink() && info.symLinkTarget() == QLatin1String("/dev/zero");
}

// Seconds left on the panel's time as it shows it ("00:09:58"), or -1 for anything else.
int secondsShown(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() != 3)
        return -1;
    return parts[0].toInt() * 3600 + parts[1].toInt() * 60 + parts[2].toInt();
}

} // namespace

class TestSoundStalls : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_sources;
    // Thirty minutes of a tone: 28 MB of FLAC, 159 MB decoded, which takes a while to decode.
    QString m_longSound;

private slots:
    void initTestCase()
    {
        QVERIFY(m_sources.isValid());
        FocusReturn::setActivator([] {});
        m_longSound = m_sources.filePath(QStringLiteral("Long Tone.flac"));
        QCOMPARE(QProcess::execute(QStringLiteral("sox"),
                                   {QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("44100"),
                                    QStringLiteral("-c"), QStringLiteral("1"), QStringLiteral("-b"),
                                    QStringLiteral("16"), m_longSound, QStringLiteral("synth"),
                                    QStringLiteral("1800"), QStringLiteral("sine"), QStringLiteral("440"),
                                    QStringLiteral("vol"), QStringLiteral("0.3")}),
                 0);
    }

    void init() { StoredSettings::forgetAll(); }

    void aSpecialFileAsTheSelectedSoundsLeavesThePanelCounting_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FIFO") << QStringLiteral("fifo");
        QTest::newRow("link to /dev/zero") << QStringLiteral("zero");
    }

    void aSpecialFileAsTheSelectedSoundsLeavesThePanelCounting()
    {
        QFETCH(QString, kind);
        const QDir folder(applicationSoundFolder());
        QVERIFY(QDir().mkpath(folder.path()));
        // The default end and reminder sounds: loaded at every launch, once the panel is drawn.
        const QString endSound = folder.filePath(QStringLiteral("Left Coast Piano.mp3"));
        const QString reminder = folder.filePath(QStringLiteral("click_tin.wav"));
        QVERIFY(makeSpecial(endSound, kind));
        QVERIFY(makeSpecial(reminder, kind));

        QProcess app;
        const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel != 0);
        // Past the loading, which starts at the first frame.
        QTest::qWait(500);
        clickAt(panel, 0.35, 0.5);
        QTest::qWait(300);
        typeAndReturn(QStringLiteral("0:1:0"));

        // The time on screen changes every second: six looks, a second apart, see six different pictures.
        const QRect area = geometryOf(panel);
        QList<QImage> looks;
        for (int i = 0; i < 6; ++i) {
            QTest::qWait(1000);
            looks << screenPixels(area);
        }
        int changes = 0;
        for (int i = 1; i < looks.size(); ++i)
            changes += looks[i] != looks[i - 1] ? 1 : 0;
        QVERIFY2(changes >= 4, qPrintable(QStringLiteral("%1 changes in 6 s").arg(changes)));
        QVERIFY(showsThePanel(area));

        QVERIFY(::kill(pid_t(app.processId()), SIGTERM) == 0);
        const bool ended = app.waitForFinished(5000);
        if (!ended) {
            app.kill();
            app.waitForFinished();
        }
        QVERIFY2(ended, "SIGTERM did not end the application");
        QCOMPARE(app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.exitCode(), 0);
        // Left as they were: nothing was copied over them.
        QVERIFY(isSpecial(endSound, kind));
        QVERIFY(isSpecial(reminder, kind));
        QFile::remove(endSound);
        QFile::remove(reminder);
    }

    void aQuitWhileALongSoundDecodesDoesNotWaitForIt()
    {
        // libsndfile tells a format by its content, so the long FLAC plays as the default end sound.
        const QDir folder(applicationSoundFolder());
        QVERIFY(QDir().mkpath(folder.path()));
        const QString endSound = folder.filePath(QStringLiteral("Left Coast Piano.mp3"));
        QFile::remove(endSound);
        QVERIFY(QFile::copy(m_longSound, endSound));

        QProcess app;
        QVERIFY(startPanel(app, QStringLiteral(BREVLIN_APP)) != 0);
        // The decode starts at the panel's first frame and takes longer than this.
        QTest::qWait(200);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(::kill(pid_t(app.processId()), SIGTERM) == 0);
        const bool ended = app.waitForFinished(5000);
        const qint64 took = clock.elapsed();
        if (!ended) {
            app.kill();
            app.waitForFinished();
        }
        QVERIFY(ended);
        QCOMPARE(app.exitCode(), 0);
        qInfo("the quit took %lld ms", took);
        QVERIFY2(took < 1000, qPrintable(QStringLiteral("the quit took %1 ms").arg(took)));
        QFile::remove(endSound);
    }

    void threePreviewsOfALongSoundKeepThePanelOnTime()
    {
        const QString name = QFileInfo(m_longSound).fileName();
        const QString source = m_longSound;
        const QString folder = DirectoryLocations::applicationSupportDirectory();
        QVERIFY(!folder.isEmpty());
        QVERIFY(QFile::copy(source, QDir(folder).filePath(name)));
        PreferenceController::setPreferenceSoundFiles(testsupport::builtInSounds() + QStringList{name});
        PreferenceController::setPreferenceReminderSoundIndex(5);

        auto d = testsupport::launchPanel();
        QVERIFY(QTest::qWaitForWindowExposed(d->panel()));
        QVERIFY(testsupport::waitForSounds(*d));
        PreferenceWindowController* c = PreferencesTest::openPreferencesFromMenu(*d);
        QVERIFY(c);
        QVERIFY(QTest::qWaitForWindowExposed(c->prefsWindow()));
        QCOMPARE(c->reminderSoundFilesDropdownList()->currentText(), name);

        testsupport::typeAndReturn(*d, QStringLiteral("0:10:0"));
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(secondsShown(d->input()->text()), 600);
        for (int i = 0; i < 3; ++i)
            PreferencesTest::click(c->previewReminderSoundButton());
        // Long enough for the three decodes to finish on two cores, and for the old way to fall behind.
        int worst = 0;
        while (clock.elapsed() < 10000) {
            QTest::qWait(50);
            const int shown = secondsShown(d->input()->text());
            QVERIFY2(shown >= 0, qPrintable(d->input()->text()));
            // The time shown is the time left, rounded up to the second; it may trail real time by the
            // moments a timer event waits for its turn, here up to 100 ms.
            const qint64 late = (600 - shown) * 1000 - clock.elapsed();
            worst = qMax(worst, int(qAbs(late)));
            QVERIFY2(
                qAbs(late) <= 1100,
                qPrintable(
                    QStringLiteral("%1 shown after %2 ms").arg(d->input()->text()).arg(clock.elapsed())));
        }
        qInfo("the time shown was at most %d ms off", worst);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSoundStalls)
#include "tst_soundstalls.moc"
