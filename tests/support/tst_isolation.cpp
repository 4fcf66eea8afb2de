// The test runner must keep every test away from the user's real settings and folders.
#include "TestMain.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

class TestIsolation : public QObject
{
    Q_OBJECT

private slots:
    void homeIsAFreshTemporaryFolder()
    {
        const QString home = QDir::homePath();
        QVERIFY2(home.contains(QStringLiteral("brevlin-test.")), qPrintable(home));
        QVERIFY(QDir(home).exists());
    }

    void settingsAndDataResolveBelowTheTestHome()
    {
        const QString home = QDir::homePath();
        QVERIFY(QStandardPaths::isTestModeEnabled());
        for (auto location : {QStandardPaths::GenericDataLocation, QStandardPaths::GenericConfigLocation,
                              QStandardPaths::AppDataLocation}) {
            const QString path = QStandardPaths::writableLocation(location);
            QVERIFY2(path.startsWith(home), qPrintable(path));
        }
        QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                           QStringLiteral("Brevlin"));
        QVERIFY2(settings.fileName().startsWith(home), qPrintable(settings.fileName()));
    }

    void localeIsPinned() { QCOMPARE(qEnvironmentVariable("LC_ALL"), QStringLiteral("C.UTF-8")); }
};

BREVLIN_TEST_MAIN_CORE(TestIsolation)
#include "tst_isolation.moc"
