#include "UserDefaults.h"

#include "Processes.h"
#include "SettingsFile.h"
#include "TestMain.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <cstdio>

// This executable doubles as a second process: run with one of these first arguments it writes or reads
// the settings like a separate launch of the application would, and exits normally.
//   --child-write KEY KIND VALUE   KIND is string, integer, bool or data (VALUE in base64 for data)
//   --child-read KEY...            prints one line per key, see describe()

namespace {

const QString TestKeys[] = {QStringLiteral("TestString"), QStringLiteral("TestInteger"),
                            QStringLiteral("TestBool"),   QStringLiteral("TestData"),
                            QStringLiteral("TestOther"),  QStringLiteral("TestRegistered")};

QString base64OrNull(const QByteArray& bytes, bool isNull)
{
    return isNull ? QStringLiteral("null") : QString::fromLatin1(bytes.toBase64());
}

// "KEY valid=1 string=<base64|null> integer=N bool=0|1 data=<base64|null>"
QString describe(const QString& key)
{
    UserDefaults& d = UserDefaults::standardUserDefaults();
    const QString text = d.stringForKey(key);
    const QByteArray data = d.dataForKey(key);
    return QStringLiteral("%1 valid=%2 string=%3 integer=%4 bool=%5 data=%6")
        .arg(key)
        .arg(d.objectForKey(key).isValid() ? 1 : 0)
        .arg(base64OrNull(text.toUtf8(), text.isNull()))
        .arg(d.integerForKey(key))
        .arg(d.boolForKey(key) ? 1 : 0)
        .arg(base64OrNull(data, data.isNull()));
}

int childWrite(const QStringList& args)
{
    if (args.size() != 3)
        return 2;
    const QString& key = args.at(0);
    const QString& kind = args.at(1);
    const QString& value = args.at(2);
    UserDefaults& d = UserDefaults::standardUserDefaults();
    if (kind == QLatin1String("string"))
        d.setObject(value, key);
    else if (kind == QLatin1String("integer"))
        d.setInteger(value.toLongLong(), key);
    else if (kind == QLatin1String("bool"))
        d.setBool(value == QLatin1String("1"), key);
    else if (kind == QLatin1String("data"))
        d.setObject(QByteArray::fromBase64(value.toLatin1()), key);
    else
        return 2;
    // Deliberately no synchronize(): the value must reach the disk because the process ends normally.
    return 0;
}

int childRead(const QStringList& keys)
{
    for (const QString& key : keys)
        std::printf("%s\n", qPrintable(describe(key)));
    std::fflush(stdout);
    return 0;
}

struct Reading
{
    bool valid = false;
    QString string;
    qint64 integer = 0;
    bool boolean = false;
    QByteArray data;
};

Reading parse(const QString& line)
{
    Reading r;
    const QStringList fields = line.split(QLatin1Char(' '));
    for (const QString& field : fields.mid(1)) {
        const qsizetype eq = field.indexOf(QLatin1Char('='));
        const QString name = field.left(eq);
        const QString value = field.mid(eq + 1);
        const bool isNull = value == QLatin1String("null");
        if (name == QLatin1String("valid"))
            r.valid = value == QLatin1String("1");
        else if (name == QLatin1String("string"))
            r.string = isNull ? QString() : QString::fromUtf8(QByteArray::fromBase64(value.toLatin1()));
        else if (name == QLatin1String("integer"))
            r.integer = value.toLongLong();
        else if (name == QLatin1String("bool"))
            r.boolean = value == QLatin1String("1");
        else if (name == QLatin1String("data"))
            r.data = isNull ? QByteArray() : QByteArray::fromBase64(value.toLatin1());
    }
    if (!r.string.isNull() && r.string.isEmpty())
        r.string = QStringLiteral("");
    if (!r.data.isNull() && r.data.isEmpty())
        r.data = QByteArray("", 0);
    return r;
}

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

QHash<QString, Reading> readInChild(const QStringList& keys)
{
    QByteArray output;
    QHash<QString, Reading> readings;
    if (!testsupport::runThisExecutable(QStringList{QStringLiteral("--child-read")} + keys, &output))
        return readings;
    for (const QByteArray& line : output.split('\n')) {
        if (!line.isEmpty())
            readings.insert(QString::fromUtf8(line.left(line.indexOf(' '))), parse(QString::fromUtf8(line)));
    }
    return readings;
}

} // namespace

class TestUserDefaults : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void absentKeyIsInvalid();
    void userValueIsReadBack();
    void registeredValueIsReadWhenTheUserHasNone();
    void userValueShadowsTheRegisteredOne();
    void removingTheUserValueUncoversTheRegisteredOne();
    void registeringMergesAndReplaces();
    void registeringSkipsNilValues();
    void removeRegisteredDefaultsKeepsUserValues();
    void settingNilRemovesTheUserValue_data();
    void settingNilRemovesTheUserValue();
    void emptyTextIsAValueNotAnAbsence();
    void emptyDataIsAValueNotAnAbsence();
    void dataForKeyOnlyReturnsData();
    void stringForKeyOfOtherKinds();
    void integerForKeyReadsNumbersAndTexts();
    void boolForKeyReadsNumbersAndTexts();
    void emptyKeyIsIgnored();
    void settingsFileLivesInTheTestHome();
    void registeredDefaultsNeverReachTheFile();

    void valueWrittenByAnotherProcessIsReadHere_data();
    void valueWrittenByAnotherProcessIsReadHere();
    void valueWrittenHereIsReadByAnotherProcess();
    void valuesKeepTheirKindThroughTheFile();
    void anotherProcessDoesNotLoseOurPendingValue();
    void damagedFileIsReadByAFreshProcess();
    void filesOtherThanTheUsersAreIgnored();
    void damagedFileKeepsItsOtherEntriesWhenWritten();
};

void TestUserDefaults::init()
{
    // Take in what the last test wrote behind the store's back first: QSettings only removes keys it has
    // already read.
    defaults().synchronize();
    for (const QString& key : TestKeys)
        defaults().removeObjectForKey(key);
    defaults().removeRegisteredDefaults();
    defaults().synchronize();
}

void TestUserDefaults::absentKeyIsInvalid()
{
    QVERIFY(!defaults().objectForKey(QStringLiteral("TestString")).isValid());
    QVERIFY(defaults().stringForKey(QStringLiteral("TestString")).isNull());
    QVERIFY(defaults().dataForKey(QStringLiteral("TestString")).isNull());
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestString")), qint64(0));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestString")), false);
}

void TestUserDefaults::userValueIsReadBack()
{
    defaults().setObject(QStringLiteral("00:10:00"), QStringLiteral("TestString"));
    QCOMPARE(defaults().objectForKey(QStringLiteral("TestString")), QVariant(QStringLiteral("00:10:00")));
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestString")), QStringLiteral("00:10:00"));
}

void TestUserDefaults::registeredValueIsReadWhenTheUserHasNone()
{
    defaults().registerDefaults({{QStringLiteral("TestRegistered"), QStringLiteral("built in")}});
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestRegistered")), QStringLiteral("built in"));
}

void TestUserDefaults::userValueShadowsTheRegisteredOne()
{
    defaults().registerDefaults({{QStringLiteral("TestRegistered"), true}});
    defaults().setBool(false, QStringLiteral("TestRegistered"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestRegistered")), false);
}

void TestUserDefaults::removingTheUserValueUncoversTheRegisteredOne()
{
    defaults().registerDefaults({{QStringLiteral("TestRegistered"), QVariant::fromValue(qint64(4))}});
    defaults().setInteger(2, QStringLiteral("TestRegistered"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestRegistered")), qint64(2));
    defaults().removeObjectForKey(QStringLiteral("TestRegistered"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestRegistered")), qint64(4));
}

void TestUserDefaults::registeringMergesAndReplaces()
{
    defaults().registerDefaults({{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}});
    defaults().registerDefaults({{QStringLiteral("b"), 3}, {QStringLiteral("c"), 4}});
    QCOMPARE(defaults().registeredDefaults(),
             (QVariantMap{{QStringLiteral("a"), 1}, {QStringLiteral("b"), 3}, {QStringLiteral("c"), 4}}));
}

void TestUserDefaults::registeringSkipsNilValues()
{
    defaults().registerDefaults({{QStringLiteral("a"), QVariant()},
                                 {QStringLiteral("b"), QString()},
                                 {QStringLiteral("c"), QByteArray()},
                                 {QStringLiteral("d"), QStringLiteral("")}});
    QCOMPARE(defaults().registeredDefaults(), (QVariantMap{{QStringLiteral("d"), QStringLiteral("")}}));
}

void TestUserDefaults::removeRegisteredDefaultsKeepsUserValues()
{
    defaults().registerDefaults({{QStringLiteral("TestRegistered"), 1}});
    defaults().setObject(QStringLiteral("mine"), QStringLiteral("TestString"));
    defaults().removeRegisteredDefaults();
    QVERIFY(defaults().registeredDefaults().isEmpty());
    QVERIFY(!defaults().objectForKey(QStringLiteral("TestRegistered")).isValid());
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestString")), QStringLiteral("mine"));
}

void TestUserDefaults::settingNilRemovesTheUserValue_data()
{
    QTest::addColumn<QVariant>("nil");
    QTest::newRow("invalid") << QVariant();
    QTest::newRow("null text") << QVariant(QString());
    QTest::newRow("null data") << QVariant(QByteArray());
}

void TestUserDefaults::settingNilRemovesTheUserValue()
{
    QFETCH(QVariant, nil);
    defaults().registerDefaults({{QStringLiteral("TestString"), QStringLiteral("registered")}});
    defaults().setObject(QStringLiteral("mine"), QStringLiteral("TestString"));
    defaults().setObject(nil, QStringLiteral("TestString"));
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestString")), QStringLiteral("registered"));
    defaults().synchronize();
    QVERIFY(!SettingsFile::entries().contains(QStringLiteral("TestString")));
}

void TestUserDefaults::emptyTextIsAValueNotAnAbsence()
{
    defaults().registerDefaults({{QStringLiteral("TestString"), QStringLiteral("registered")}});
    defaults().setObject(QStringLiteral(""), QStringLiteral("TestString"));
    const QString text = defaults().stringForKey(QStringLiteral("TestString"));
    QVERIFY(!text.isNull());
    QVERIFY(text.isEmpty());
    defaults().synchronize();
    QCOMPARE(SettingsFile::entries().value(QStringLiteral("TestString"), QStringLiteral("missing")),
             QString());
}

void TestUserDefaults::emptyDataIsAValueNotAnAbsence()
{
    defaults().setObject(QByteArray("", 0), QStringLiteral("TestData"));
    const QByteArray data = defaults().dataForKey(QStringLiteral("TestData"));
    QVERIFY(!data.isNull());
    QVERIFY(data.isEmpty());
}

void TestUserDefaults::dataForKeyOnlyReturnsData()
{
    const QByteArray bytes("\x00\x01\xff", 3);
    defaults().setObject(bytes, QStringLiteral("TestData"));
    QCOMPARE(defaults().dataForKey(QStringLiteral("TestData")), bytes);
    defaults().setObject(QStringLiteral("text"), QStringLiteral("TestString"));
    QVERIFY(defaults().dataForKey(QStringLiteral("TestString")).isNull());
    defaults().setInteger(3, QStringLiteral("TestInteger"));
    QVERIFY(defaults().dataForKey(QStringLiteral("TestInteger")).isNull());
}

void TestUserDefaults::stringForKeyOfOtherKinds()
{
    defaults().setInteger(-12, QStringLiteral("TestInteger"));
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestInteger")), QStringLiteral("-12"));
    defaults().setObject(QByteArray("text"), QStringLiteral("TestData"));
    QVERIFY(defaults().stringForKey(QStringLiteral("TestData")).isNull());
}

void TestUserDefaults::integerForKeyReadsNumbersAndTexts()
{
    defaults().setInteger(qint64(1) << 40, QStringLiteral("TestInteger"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestInteger")), qint64(1) << 40);
    defaults().setObject(QStringLiteral("12abc"), QStringLiteral("TestString"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestString")), qint64(12));
    defaults().setObject(QStringLiteral("abc"), QStringLiteral("TestString"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestString")), qint64(0));
    defaults().setBool(true, QStringLiteral("TestBool"));
    QCOMPARE(defaults().integerForKey(QStringLiteral("TestBool")), qint64(1));
}

void TestUserDefaults::boolForKeyReadsNumbersAndTexts()
{
    defaults().setBool(true, QStringLiteral("TestBool"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestBool")), true);
    defaults().setBool(false, QStringLiteral("TestBool"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestBool")), false);
    defaults().setObject(QStringLiteral("YES"), QStringLiteral("TestString"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestString")), true);
    defaults().setInteger(0, QStringLiteral("TestInteger"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestInteger")), false);
}

void TestUserDefaults::emptyKeyIsIgnored()
{
    defaults().setObject(QStringLiteral("mine"), QStringLiteral("TestString"));
    defaults().setObject(QStringLiteral("x"), QString());
    defaults().removeObjectForKey(QString());
    defaults().removeObjectForKey(QStringLiteral(""));
    QVERIFY(!defaults().objectForKey(QString()).isValid());
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestString")), QStringLiteral("mine"));
}

void TestUserDefaults::settingsFileLivesInTheTestHome()
{
    const QString path = defaults().filePath();
    QVERIFY2(path.startsWith(QDir::homePath() + QLatin1Char('/')), qPrintable(path));
    QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Brevlin.conf"));
    QCOMPARE(QFileInfo(path).dir().dirName(), QStringLiteral("Brevlin"));
}

void TestUserDefaults::registeredDefaultsNeverReachTheFile()
{
    defaults().registerDefaults({{QStringLiteral("TestRegistered"), QStringLiteral("registered")},
                                 {QStringLiteral("TestBool"), true},
                                 {QStringLiteral("TestData"), QByteArray("abc")}});
    defaults().setObject(QStringLiteral("written"), QStringLiteral("TestString"));
    // Reading the registered values must not copy them into the user's values either.
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestRegistered")), QStringLiteral("registered"));
    QCOMPARE(defaults().boolForKey(QStringLiteral("TestBool")), true);
    defaults().synchronize();

    const QHash<QString, QString> entries = SettingsFile::entries();
    QCOMPARE(entries.value(QStringLiteral("TestString")), QStringLiteral("written"));
    QVERIFY(!entries.contains(QStringLiteral("TestRegistered")));
    QVERIFY(!entries.contains(QStringLiteral("TestBool")));
    QVERIFY(!entries.contains(QStringLiteral("TestData")));
}

void TestUserDefaults::valueWrittenByAnotherProcessIsReadHere_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("text") << "TestString"
                          << "string"
                          << "0:10:0" << QVariant(QStringLiteral("0:10:0"));
    QTest::newRow("integer") << "TestInteger"
                             << "integer"
                             << "-42" << QVariant(qint64(-42));
    QTest::newRow("bool") << "TestBool"
                          << "bool"
                          << "1" << QVariant(true);
    QTest::newRow("data") << "TestData"
                          << "data" << QString::fromLatin1(QByteArray("\x00\x01\xfe", 3).toBase64())
                          << QVariant(QByteArray("\x00\x01\xfe", 3));
}

void TestUserDefaults::valueWrittenByAnotherProcessIsReadHere()
{
    QFETCH(QString, key);
    QFETCH(QString, kind);
    QFETCH(QString, value);
    QFETCH(QVariant, expected);
    QVERIFY(testsupport::runThisExecutable({QStringLiteral("--child-write"), key, kind, value}));

    // A fresh QSettings of the application, as the next launch would open it.
    QSettings fresh(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                    QStringLiteral("Brevlin"));
    QVERIFY(fresh.contains(key));

    // And the long-lived store takes the change in at its next synchronisation.
    defaults().synchronize();
    switch (expected.typeId()) {
    case QMetaType::QString:
        QCOMPARE(fresh.value(key).toString(), expected.toString());
        QCOMPARE(defaults().stringForKey(key), expected.toString());
        break;
    case QMetaType::LongLong:
        QCOMPARE(fresh.value(key).toLongLong(), expected.toLongLong());
        QCOMPARE(defaults().integerForKey(key), expected.toLongLong());
        break;
    case QMetaType::Bool:
        QCOMPARE(fresh.value(key).toBool(), expected.toBool());
        QCOMPARE(defaults().boolForKey(key), expected.toBool());
        break;
    case QMetaType::QByteArray:
        QCOMPARE(fresh.value(key).toByteArray(), expected.toByteArray());
        QCOMPARE(defaults().dataForKey(key), expected.toByteArray());
        break;
    default:
        QFAIL("unexpected kind");
    }
}

void TestUserDefaults::valueWrittenHereIsReadByAnotherProcess()
{
    defaults().setObject(QStringLiteral("00:02:30"), QStringLiteral("TestString"));
    defaults().synchronize();
    const QHash<QString, Reading> readings = readInChild({QStringLiteral("TestString")});
    QVERIFY(readings.contains(QStringLiteral("TestString")));
    QCOMPARE(readings.value(QStringLiteral("TestString")).string, QStringLiteral("00:02:30"));
}

void TestUserDefaults::valuesKeepTheirKindThroughTheFile()
{
    const QString awkward = QStringLiteral("@ Bell, loud.mp3:  x.wav\n\u00e9\u6f22 ");
    const QByteArray bytes("\x00@ByteArray(\xff)", 14);
    defaults().setObject(awkward, QStringLiteral("TestString"));
    defaults().setInteger(-(qint64(1) << 40), QStringLiteral("TestInteger"));
    defaults().setBool(true, QStringLiteral("TestBool"));
    defaults().setObject(bytes, QStringLiteral("TestData"));
    defaults().setObject(QStringLiteral(""), QStringLiteral("TestOther"));
    defaults().synchronize();

    const QHash<QString, Reading> r = readInChild(
        {QStringLiteral("TestString"), QStringLiteral("TestInteger"), QStringLiteral("TestBool"),
         QStringLiteral("TestData"), QStringLiteral("TestOther"), QStringLiteral("TestRegistered")});
    QCOMPARE(r.size(), 6);
    QCOMPARE(r.value(QStringLiteral("TestString")).string, awkward);
    QCOMPARE(r.value(QStringLiteral("TestInteger")).integer, -(qint64(1) << 40));
    QCOMPARE(r.value(QStringLiteral("TestBool")).boolean, true);
    QCOMPARE(r.value(QStringLiteral("TestData")).data, bytes);
    QVERIFY(r.value(QStringLiteral("TestData")).string.isNull());
    QVERIFY(!r.value(QStringLiteral("TestOther")).string.isNull());
    QVERIFY(r.value(QStringLiteral("TestOther")).string.isEmpty());
    QVERIFY(!r.value(QStringLiteral("TestRegistered")).valid);
}

void TestUserDefaults::anotherProcessDoesNotLoseOurPendingValue()
{
    defaults().setObject(QStringLiteral("ours"), QStringLiteral("TestString"));
    QVERIFY(testsupport::runThisExecutable({QStringLiteral("--child-write"), QStringLiteral("TestOther"),
                                            QStringLiteral("string"), QStringLiteral("theirs")}));
    defaults().synchronize();
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestString")), QStringLiteral("ours"));
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestOther")), QStringLiteral("theirs"));
    const QHash<QString, QString> entries = SettingsFile::entries();
    QCOMPARE(entries.value(QStringLiteral("TestString")), QStringLiteral("ours"));
    QCOMPARE(entries.value(QStringLiteral("TestOther")), QStringLiteral("theirs"));
}

void TestUserDefaults::damagedFileIsReadByAFreshProcess()
{
    QVERIFY(SettingsFile::replace(SettingsFile::bytesOf("[General]\n"
                                                        "TestInteger=twelve\n"
                                                        "TestBool=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x5junk)\n"
                                                        "TestData=@ByteArray(unterminated\n"
                                                        "TestString=a.mp3, b.mp3\n"
                                                        "TestOther=@Invalid()\n"
                                                        "\x01\xff\xfe=\xff\n"
                                                        "[broken\n"
                                                        "\0\0\0garbage\n")));
    const QHash<QString, Reading> r =
        readInChild({QStringLiteral("TestInteger"), QStringLiteral("TestBool"), QStringLiteral("TestData"),
                     QStringLiteral("TestString"), QStringLiteral("TestOther")});
    QCOMPARE(r.size(), 5);
    QCOMPARE(r.value(QStringLiteral("TestInteger")).integer, qint64(0));
    QCOMPARE(r.value(QStringLiteral("TestInteger")).string, QStringLiteral("twelve"));
    QVERIFY(!r.value(QStringLiteral("TestBool")).valid);
    QCOMPARE(r.value(QStringLiteral("TestBool")).boolean, false);
    QVERIFY(r.value(QStringLiteral("TestData")).data.isNull());
    QCOMPARE(r.value(QStringLiteral("TestString")).string, QStringLiteral("a.mp3, b.mp3"));
    QVERIFY(!r.value(QStringLiteral("TestOther")).valid);
}

void TestUserDefaults::filesOtherThanTheUsersAreIgnored()
{
    // The organisation-wide file beside the application's folder, which QSettings reads by default.
    const QString orgWide =
        QDir::cleanPath(QFileInfo(defaults().filePath()).absolutePath() + QStringLiteral("/../Brevlin.conf"));
    QVERIFY(QDir().mkpath(QFileInfo(orgWide).absolutePath()));
    QFile file(orgWide);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QVERIFY(file.write("[General]\nTestOther=from elsewhere\n") > 0);
    file.close();
    const QHash<QString, Reading> r = readInChild({QStringLiteral("TestOther")});
    QVERIFY(QFile::remove(orgWide));
    QVERIFY(r.contains(QStringLiteral("TestOther")));
    QVERIFY(!r.value(QStringLiteral("TestOther")).valid);
}

void TestUserDefaults::damagedFileKeepsItsOtherEntriesWhenWritten()
{
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "TestInteger=twelve\n"
                                  "TestOther=@Variant(\\xff\\xff)\n"
                                  "[broken\n"));
    defaults().synchronize();
    QCOMPARE(defaults().stringForKey(QStringLiteral("TestInteger")), QStringLiteral("twelve"));
    defaults().setBool(true, QStringLiteral("TestBool"));
    defaults().synchronize();
    const QHash<QString, QString> entries = SettingsFile::entries();
    QCOMPARE(entries.value(QStringLiteral("TestBool")), QStringLiteral("true"));
    QCOMPARE(entries.value(QStringLiteral("TestInteger")), QStringLiteral("twelve"));
    QVERIFY(entries.contains(QStringLiteral("TestOther")));
}

int main(int argc, char** argv)
{
    // As BREVLIN_TEST_MAIN_CORE does, so that parent and child resolve the same settings file.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() >= 2 && args.at(1) == QLatin1String("--child-write"))
        return childWrite(args.mid(2));
    if (args.size() >= 2 && args.at(1) == QLatin1String("--child-read"))
        return childRead(args.mid(2));
    TestUserDefaults tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_userdefaults.moc"
