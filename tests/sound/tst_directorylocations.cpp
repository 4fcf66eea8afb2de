// The sound folder: found and created at every use, never cached, with the error record when the platform
// knows no such folder.
#include "DirectoryLocations.h"
#include "SoundFolder.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

using namespace DirectoryLocations;

class TestDirectoryLocations : public QObject
{
    Q_OBJECT

private:
    static QString genericData()
    {
        return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation).first();
    }

private slots:
    void init()
    {
        setExecutableNameOverride(std::nullopt);
        QDir(genericData()).removeRecursively();
    }

    void theFolderAndItsParentsAreCreated()
    {
        QVERIFY(!QFileInfo::exists(genericData()));
        std::optional<Error> error = Error{QStringLiteral("stale"), 7, {}};
        const QString path =
            findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask, QStringLiteral("Sub"), &error);
        QCOMPARE(path, QDir(genericData()).filePath(QStringLiteral("Sub")));
        QVERIFY(QFileInfo(path).isDir());
        // Success clears what an earlier failure left.
        QVERIFY(!error.has_value());
    }

    void aNullComponentGivesTheFolderItself()
    {
        const QString path =
            findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask, QString(), nullptr);
        QCOMPARE(path, QDir::cleanPath(genericData()));
        QVERIFY(QFileInfo(path).isDir());
    }

    void anExistingFolderIsLeftAlone()
    {
        const QString path =
            findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask, QStringLiteral("K"), nullptr);
        QFile file(QDir(path).filePath(QStringLiteral("keep.txt")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("kept");
        file.close();
        QCOMPARE(
            findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask, QStringLiteral("K"), nullptr),
            path);
        QVERIFY(QFileInfo::exists(file.fileName()));
    }

    void anUnknownDirectoryGivesTheErrorRecord()
    {
        std::optional<Error> error;
        const auto unknown = SearchPathDirectory(99);
        QVERIFY(findOrCreateDirectory(unknown, UserDomainMask, QStringLiteral("X"), &error).isNull());
        QVERIFY(error.has_value());
        QCOMPARE(error->domain, QStringLiteral("DirectoryLocationDomain"));
        QCOMPARE(error->code, 0);
        QCOMPARE(error->userInfo.size(), 3);
        QCOMPARE(error->userInfo.value(localizedDescriptionKey).toString(),
                 QStringLiteral("No path found for directory in domain."));
        QCOMPARE(error->userInfo.value(QStringLiteral("NSSearchPathDirectory")).toLongLong(), 99);
        QCOMPARE(error->userInfo.value(QStringLiteral("NSSearchPathDomainMask")).toLongLong(), 1);
        // Nothing was created for it.
        QVERIFY(!QFileInfo::exists(genericData()));
    }

    void aDomainWithoutFoldersGivesTheErrorRecord()
    {
        std::optional<Error> error;
        QVERIFY(findOrCreateDirectory(ApplicationSupportDirectory, SearchPathDomainMask(8), QString(), &error)
                    .isNull());
        QVERIFY(error.has_value());
        QCOMPARE(error->userInfo.value(QStringLiteral("NSSearchPathDirectory")).toLongLong(), 14);
        QCOMPARE(error->userInfo.value(QStringLiteral("NSSearchPathDomainMask")).toLongLong(), 8);
        // Without an out-parameter the failure is only the null result.
        QVERIFY(findOrCreateDirectory(SearchPathDirectory(99), UserDomainMask, QString(), nullptr).isNull());
    }

    void aFolderThatCannotBeCreatedGivesNullAndThePlatformError()
    {
        QVERIFY(QDir().mkpath(genericData()));
        QFile blocker(QDir(genericData()).filePath(QStringLiteral("Blocked")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        std::optional<Error> error;
        QVERIFY(findOrCreateDirectory(ApplicationSupportDirectory, UserDomainMask, QStringLiteral("Blocked"),
                                      &error)
                    .isNull());
        QVERIFY(error.has_value());
        QVERIFY(error->domain != QStringLiteral("DirectoryLocationDomain"));
    }

    void theSoundFolderIsNamedAfterTheExecutableAndComesBackAfterDeletion()
    {
        QCOMPARE(executableName(), QStringLiteral("tst_directorylocations"));
        const QString folder = applicationSupportDirectory();
        QCOMPARE(folder, QDir(genericData()).filePath(QStringLiteral("tst_directorylocations")));
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(!QFileInfo::exists(folder));
        QCOMPARE(applicationSupportDirectory(), folder);
        QVERIFY(QFileInfo(folder).isDir());
    }

    void withoutAnExecutableNameTheApplicationSupportFolderItselfIsUsed()
    {
        setExecutableNameOverride(QString());
        QCOMPARE(applicationSupportDirectory(), QDir::cleanPath(genericData()));
        QCOMPARE(SoundFolder::locationOfSound(QStringLiteral("a.wav")),
                 QDir(genericData()).filePath(QStringLiteral("a.wav")));
    }

    void onlyPlainFileNamesFormASoundLocation_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("plain");
        QTest::newRow("built-in") << QStringLiteral("School Bell.mp3") << true;
        QTest::newRow("dots inside") << QStringLiteral("..a..wav") << true;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("dot") << QStringLiteral(".") << false;
        QTest::newRow("dot dot") << QStringLiteral("..") << false;
        QTest::newRow("parent") << QStringLiteral("../x.wav") << false;
        QTest::newRow("absolute") << QStringLiteral("/etc/passwd") << false;
        QTest::newRow("subfolder") << QStringLiteral("a/b.wav") << false;
        QTest::newRow("backslash") << QStringLiteral("..\\x.wav") << false;
        QTest::newRow("nul") << QStringLiteral("a") + QChar(0) + QStringLiteral("b") << false;
    }

    void onlyPlainFileNamesFormASoundLocation()
    {
        QFETCH(QString, name);
        QFETCH(bool, plain);
        QCOMPARE(SoundFolder::isPlainFileName(name), plain);
        const QString location = SoundFolder::locationOfSound(name);
        QCOMPARE(location.isNull(), !plain);
        if (plain)
            QCOMPARE(QFileInfo(location).dir().path(), applicationSupportDirectory());
    }
};

BREVLIN_TEST_MAIN_CORE(TestDirectoryLocations)
#include "tst_directorylocations.moc"
