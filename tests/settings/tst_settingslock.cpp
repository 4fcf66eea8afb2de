#include "NotificationCenter.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "Processes.h"
#include "SettingsFile.h"
#include "StoredSettings.h"
#include "UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLockFile>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <cstdio>

// A lock on the settings file that cannot be taken must never stop the event loop, nor quitting, and must
// never lose a value. Every obstacle here also stops root, which runs these tests on the build machine.
//
// This executable doubles as the other processes involved:
//   --hold-lock PATH        takes a QLockFile, prints "locked", keeps it until its input ends
//   --write-and-quit KEY V  sets KEY to the text V through the store and ends normally, without saving first
//   --read KEY...           prints "KEY=value" or "KEY" (absent) per key, read with a fresh QSettings

namespace {

const QString TestKey = QStringLiteral("TestLockString");
const QString CountdownTime = PreferenceKeys::CountdownTime;
const QString DropShadow = PreferenceKeys::DropShadow;

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

QString lockPath()
{
    return defaults().filePath() + QStringLiteral(".lock");
}

int holdLock(const QString& path)
{
    QLockFile lock(path);
    if (!lock.tryLock(30000))
        return 1;
    std::printf("locked\n");
    std::fflush(stdout);
    while (std::fgetc(stdin) != EOF) {
    }
    return 0;
}

int writeAndQuit(const QStringList& args)
{
    if (args.size() != 2)
        return 2;
    defaults().setObject(args.at(1), args.at(0));
    return 0;
}

int readFresh(const QStringList& keys)
{
    const QSettings fresh(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                          QStringLiteral("Brevlin"));
    for (const QString& key : keys) {
        if (fresh.contains(key))
            std::printf("%s=%s\n", qPrintable(key), qPrintable(fresh.value(key).toString()));
        else
            std::printf("%s\n", qPrintable(key));
    }
    std::fflush(stdout);
    return 0;
}

// What a new launch would read from the file. Inside this process a new QSettings would share the store's
// unsaved values, so another process reads.
QHash<QString, QString> readOnDisk(const QStringList& keys)
{
    QByteArray output;
    QHash<QString, QString> values;
    if (!testsupport::runThisExecutable(QStringList{QStringLiteral("--read")} + keys, &output))
        return values;
    for (const QByteArray& line : output.split('\n')) {
        const qsizetype eq = line.indexOf('=');
        if (eq > 0)
            values.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    }
    return values;
}

// Lets the event loop run until a timer queued after the pending save fires; it returns only if the save
// let the loop go on.
bool eventLoopKeepsRunning()
{
    QEventLoop loop;
    bool fired = false;
    QTimer::singleShot(0, &loop, [&] {
        fired = true;
        loop.quit();
    });
    loop.exec();
    return fired;
}

// A folder where the lock file belongs: QLockFile can neither create nor remove it, whoever runs.
bool makeLockFolder()
{
    return QDir().mkpath(lockPath()) &&
           QFile(lockPath() + QStringLiteral("/keep")).open(QIODevice::WriteOnly);
}

} // namespace

class TestSettingsLock : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void changeIsSavedByTheEventLoopWhenTheLockIsFree();
    void firstSaveCreatesTheFolder();
    void lockFolderLeavesTheValueInMemory();
    void lockFolderDoesNotStopTheNotifications();
    void everyPendingValueIsSavedOnceTheLockFolderIsGone();
    void lockHeldByALiveProcessLeavesTheValueInMemory();
    void lockOfADeadProcessIsTakenOver();
    void quittingWithTheLockTakenDoesNotHang();
    void quittingWithTheLockTakenKeepsTheValuesBesideTheFile();
    void aSkippedSaveIsTriedAgainWithoutAFurtherChange();
    void quittingWithTheLockFreeSavesEverything();

private:
    void startLockHolder();
    void releaseLockHolder();

    QProcess* m_holder = nullptr;
};

void TestSettingsLock::init()
{
    QVERIFY(QDir().mkpath(QFileInfo(defaults().filePath()).absolutePath()));
    StoredSettings::forgetAll();
    defaults().removeObjectForKey(TestKey);
    QVERIFY(defaults().synchronize());
}

void TestSettingsLock::cleanup()
{
    if (m_holder) {
        m_holder->kill();
        m_holder->waitForFinished(-1);
        delete m_holder;
        m_holder = nullptr;
    }
    if (QFileInfo(lockPath()).isDir())
        QDir(lockPath()).removeRecursively();
    QFile::remove(lockPath());
    const QFileInfo file(defaults().filePath());
    for (const QString& aside :
         QDir(file.absolutePath()).entryList({file.fileName() + QStringLiteral(".unsaved-*")}))
        QFile::remove(QDir(file.absolutePath()).filePath(aside));
    QVERIFY(defaults().synchronize());
}

void TestSettingsLock::startLockHolder()
{
    m_holder = new QProcess;
    m_holder->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_holder->start(QCoreApplication::applicationFilePath(), {QStringLiteral("--hold-lock"), lockPath()});
    QVERIFY(m_holder->waitForStarted(-1));
    while (!m_holder->canReadLine())
        QVERIFY2(m_holder->waitForReadyRead(-1), "the lock holder ended before it took the lock");
    QCOMPARE(m_holder->readLine(), QByteArray("locked\n"));
}

void TestSettingsLock::releaseLockHolder()
{
    m_holder->closeWriteChannel();
    QVERIFY(m_holder->waitForFinished(-1));
    QCOMPARE(m_holder->exitCode(), 0);
    delete m_holder;
    m_holder = nullptr;
}

void TestSettingsLock::changeIsSavedByTheEventLoopWhenTheLockIsFree()
{
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:12:0"));
    QVERIFY(eventLoopKeepsRunning());
    // No synchronize(): the store saves on its own once the loop runs.
    QCOMPARE(SettingsFile::entries().value(CountdownTime), QStringLiteral("0:12:0"));
    QVERIFY(!QFileInfo::exists(lockPath()));
}

void TestSettingsLock::firstSaveCreatesTheFolder()
{
    // Without its folder the lock file cannot be made at all; that must not count as a lock held elsewhere.
    QVERIFY(QDir(QFileInfo(defaults().filePath()).absolutePath()).removeRecursively());
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:15:0"));
    QVERIFY(eventLoopKeepsRunning());
    QCOMPARE(SettingsFile::entries().value(CountdownTime), QStringLiteral("0:15:0"));
}

void TestSettingsLock::lockFolderLeavesTheValueInMemory()
{
    QVERIFY(makeLockFolder());
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:10:0"));
    QVERIFY(eventLoopKeepsRunning());
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("0:10:0"));
    QVERIFY(!SettingsFile::entries().contains(CountdownTime));
    QVERIFY(!defaults().synchronize());
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("0:10:0"));
    // Nothing that is not ours is removed.
    QVERIFY(QFileInfo(lockPath()).isDir());
    QVERIFY(QFileInfo::exists(lockPath() + QStringLiteral("/keep")));
}

void TestSettingsLock::lockFolderDoesNotStopTheNotifications()
{
    QVERIFY(makeLockFolder());
    bool seen = false;
    bool readBack = false;
    NotificationCenter::defaultCenter().addObserver(
        this, NotificationNames::DropShadowChanged, [&](const Notification&) {
            seen = true;
            readBack = PreferenceController::preferenceDropShadow();
        });
    PreferenceController::setPreferenceDropShadow(true);
    NotificationCenter::defaultCenter().removeObserver(this);
    QVERIFY(seen);
    QVERIFY(readBack);
    QVERIFY(eventLoopKeepsRunning());
    QVERIFY(PreferenceController::preferenceDropShadow());
}

void TestSettingsLock::everyPendingValueIsSavedOnceTheLockFolderIsGone()
{
    QVERIFY(makeLockFolder());
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:20:0"));
    QVERIFY(eventLoopKeepsRunning());
    PreferenceController::setPreferenceDropShadow(true);
    QVERIFY(eventLoopKeepsRunning());
    defaults().setObject(QStringLiteral("first"), TestKey);
    QVERIFY(eventLoopKeepsRunning());
    const QHash<QString, QString> before = SettingsFile::entries();
    QVERIFY(!before.contains(CountdownTime));
    QVERIFY(!before.contains(DropShadow));
    QVERIFY(!before.contains(TestKey));

    QVERIFY(QDir(lockPath()).removeRecursively());
    // The next change carries the earlier ones with it.
    defaults().setObject(QStringLiteral("second"), TestKey);
    QVERIFY(eventLoopKeepsRunning());
    const QHash<QString, QString> after = readOnDisk({CountdownTime, DropShadow, TestKey});
    QCOMPARE(after.value(CountdownTime), QStringLiteral("0:20:0"));
    QCOMPARE(after.value(DropShadow), QStringLiteral("true"));
    QCOMPARE(after.value(TestKey), QStringLiteral("second"));
    QVERIFY(!QFileInfo::exists(lockPath()));
}

void TestSettingsLock::lockHeldByALiveProcessLeavesTheValueInMemory()
{
    startLockHolder();
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:30:0"));
    QVERIFY(eventLoopKeepsRunning());
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("0:30:0"));
    QVERIFY(!SettingsFile::entries().contains(CountdownTime));
    QVERIFY(!defaults().synchronize());
    // The holder still owns its lock.
    qint64 pid = 0;
    QVERIFY(QLockFile(lockPath()).getLockInfo(&pid, nullptr, nullptr));
    QCOMPARE(pid, m_holder->processId());

    releaseLockHolder();
    PreferenceController::setPreferenceDropShadow(true);
    QVERIFY(eventLoopKeepsRunning());
    const QHash<QString, QString> after = readOnDisk({CountdownTime, DropShadow});
    QCOMPARE(after.value(CountdownTime), QStringLiteral("0:30:0"));
    QCOMPARE(after.value(DropShadow), QStringLiteral("true"));
}

void TestSettingsLock::lockOfADeadProcessIsTakenOver()
{
    startLockHolder();
    m_holder->kill();
    QVERIFY(m_holder->waitForFinished(-1));
    QVERIFY(QFileInfo::exists(lockPath()));
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:40:0"));
    QVERIFY(eventLoopKeepsRunning());
    QCOMPARE(SettingsFile::entries().value(CountdownTime), QStringLiteral("0:40:0"));
    QVERIFY(!QFileInfo::exists(lockPath()));
}

void TestSettingsLock::quittingWithTheLockTakenDoesNotHang()
{
    QVERIFY(makeLockFolder());
    QVERIFY(testsupport::runThisExecutable(
        {QStringLiteral("--write-and-quit"), TestKey, QStringLiteral("unsaved")}));
    QVERIFY(!SettingsFile::entries().contains(TestKey));
    QVERIFY(QFileInfo(lockPath()).isDir());
}

void TestSettingsLock::quittingWithTheLockTakenKeepsTheValuesBesideTheFile()
{
    QVERIFY(makeLockFolder());
    const QFileInfo file(defaults().filePath());
    QVERIFY(QDir(file.absolutePath()).entryList({file.fileName() + QStringLiteral(".unsaved-*")}).isEmpty());
    QVERIFY(testsupport::runThisExecutable(
        {QStringLiteral("--write-and-quit"), TestKey, QStringLiteral("kept aside")}));
    QVERIFY(!SettingsFile::entries().contains(TestKey));

    const QStringList aside =
        QDir(file.absolutePath()).entryList({file.fileName() + QStringLiteral(".unsaved-*")}, QDir::Files);
    QCOMPARE(aside.size(), 1);
    const QSettings kept(QDir(file.absolutePath()).filePath(aside.front()), QSettings::IniFormat);
    QCOMPARE(kept.value(TestKey).toString(), QStringLiteral("kept aside"));
    // Nothing but the settings file's own lock is left behind.
    QVERIFY(!QFileInfo::exists(QDir(file.absolutePath()).filePath(aside.front() + QStringLiteral(".lock"))));
}

void TestSettingsLock::aSkippedSaveIsTriedAgainWithoutAFurtherChange()
{
    QVERIFY(makeLockFolder());
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("0:25:0"));
    QVERIFY(eventLoopKeepsRunning());
    QVERIFY(!SettingsFile::entries().contains(CountdownTime));
    QVERIFY(QDir(lockPath()).removeRecursively());
    // No change, no synchronize(): the store comes back to it on its own.
    QVERIFY(QTest::qWaitFor([] { return SettingsFile::entries().contains(CountdownTime); }, 10000));
    QCOMPARE(readOnDisk({CountdownTime}).value(CountdownTime), QStringLiteral("0:25:0"));
}

void TestSettingsLock::quittingWithTheLockFreeSavesEverything()
{
    QVERIFY(testsupport::runThisExecutable(
        {QStringLiteral("--write-and-quit"), TestKey, QStringLiteral("saved at exit")}));
    QCOMPARE(readOnDisk({TestKey}).value(TestKey), QStringLiteral("saved at exit"));
}

int main(int argc, char** argv)
{
    // As BREVLIN_TEST_MAIN_CORE does, so that every process resolves the same settings file.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() == 3 && args.at(1) == QLatin1String("--hold-lock"))
        return holdLock(args.at(2));
    if (args.size() >= 2 && args.at(1) == QLatin1String("--write-and-quit"))
        return writeAndQuit(args.mid(2));
    if (args.size() >= 2 && args.at(1) == QLatin1String("--read"))
        return readFresh(args.mid(2));
    TestSettingsLock tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_settingslock.moc"
