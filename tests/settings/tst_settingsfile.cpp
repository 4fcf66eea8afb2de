#include "SettingsFileFormat.h"

#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "SettingsFile.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QFile>
#include <QSettings>
#include <QTest>

// The settings file as damaged files and odd values meet it: what a launch reads, what the first save
// writes, and what the next launch then reads.

namespace {

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

QByteArray fileBytes()
{
    QFile file(defaults().filePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What the next launch reads: the file parsed afresh, not the store's cached view.
QSettings::SettingsMap nextLaunch()
{
    return SettingsFileFormat::parse(fileBytes());
}

} // namespace

class TestSettingsFile : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void keysAfterAMalformedHeaderNeverMove_data();
    void keysAfterAMalformedHeaderNeverMove();
    void textWithNulAndCommaIsKeptWhole();
    void unchangedKeysKeepTheirBytes();
    void hugeClaimedListReadsAsAbsent_data();
    void hugeClaimedListReadsAsAbsent();
    void byteOrderMarkOfASoundNameSurvives();
    void valuesRoundTripThroughBothReaders_data();
    void valuesRoundTripThroughBothReaders();
    void removedKeyLosesEveryLine();
    void newKeyLandsInTheGeneralSection();
    void largeSoundListLoads();
};

void TestSettingsFile::init()
{
    StoredSettings::forgetAll();
    QVERIFY(SettingsFile::replace(QByteArray()));
    defaults().synchronize();
}

void TestSettingsFile::keysAfterAMalformedHeaderNeverMove_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("empty brackets") << QByteArray("[]");
    QTest::newRow("lone bracket") << QByteArray("[");
    QTest::newRow("unclosed name") << QByteArray("[General");
    QTest::newRow("blank name") << QByteArray("[  ]");
}

void TestSettingsFile::keysAfterAMalformedHeaderNeverMove()
{
    QFETCH(QByteArray, header);
    const QByteArray before = "[General]\nSoundFiles=a.mp3:b.mp3\n";
    const QByteArray after = header + "\nPlaySound=false\nDropShadow=false\n";
    QVERIFY(SettingsFile::replace(before + after));
    defaults().synchronize();
    // Ignored at launch: the registered defaults apply.
    QVERIFY(!defaults().objectForKey(PreferenceKeys::PlaySound).isValid());
    QCOMPARE(defaults().stringForKey(PreferenceKeys::SoundFiles), QStringLiteral("a.mp3:b.mp3"));

    PreferenceController::setPreferenceCountdownTime(QStringLiteral("00:05:00"));
    QVERIFY(defaults().synchronize());
    QCOMPARE(fileBytes(), before + "BRVCountdownTime=00:05:00\n" + after);
    // The next launch behaves as the first did.
    const QSettings::SettingsMap next = nextLaunch();
    QVERIFY(!next.contains(PreferenceKeys::PlaySound));
    QVERIFY(!next.contains(PreferenceKeys::DropShadow));
    QCOMPARE(next.value(PreferenceKeys::CountdownTime).toString(), QStringLiteral("00:05:00"));
}

void TestSettingsFile::textWithNulAndCommaIsKeptWhole()
{
    const QByteArray file = SettingsFile::bytesOf("[General]\n"
                                                  "SoundFiles=a.mp3\0x, b.mp3\n"
                                                  "RemindEveryInterval=0:1:0\0, 7\n");
    QVERIFY(SettingsFile::replace(file));
    defaults().synchronize();
    const QString sounds = QStringLiteral("a.mp3") + QChar(0) + QStringLiteral("x, b.mp3");
    QCOMPARE(defaults().stringForKey(PreferenceKeys::SoundFiles), sounds);
    QCOMPARE(PreferenceController::preferenceRemindEveryInterval(),
             QStringLiteral("0:1:0") + QChar(0) + QStringLiteral(", 7"));

    PreferenceController::setPreferencePlaySound(false);
    QVERIFY(defaults().synchronize());
    QVERIFY2(fileBytes().startsWith(file), fileBytes().toHex().constData());
    QCOMPARE(nextLaunch().value(PreferenceKeys::SoundFiles).toString(), sounds);
    defaults().synchronize();
    QCOMPARE(defaults().stringForKey(PreferenceKeys::SoundFiles), sounds);

    // Written by us, the same text survives too.
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:1:0") + QChar(0) +
                                                           QStringLiteral(", 7"));
    PreferenceController::setPreferenceSoundFiles({QString::fromLatin1("a\0, b", 5), QStringLiteral("c")});
    QVERIFY(defaults().synchronize());
    QCOMPARE(nextLaunch().value(PreferenceKeys::SoundFiles).toString(), QString::fromLatin1("a\0, b:c", 7));
    QCOMPARE(nextLaunch().value(PreferenceKeys::RemindEveryInterval).toString(),
             QString::fromLatin1("0:1:0\0, 7", 9));
}

void TestSettingsFile::unchangedKeysKeepTheirBytes()
{
    // Forms QSettings never writes itself, each read as the text it holds.
    const QByteArray file = SettingsFile::bytesOf("; written by hand\r\n"
                                                  "[General]\r\n"
                                                  "SoundFiles =  \"a.mp3\" , b.mp3 ; two\r\n"
                                                  "PlaySound=YES\r\n"
                                                  "PlaySound=NO\r\n"
                                                  "DropShadow=\\x31\r\n"
                                                  "\x01\xff garbage\r\n"
                                                  "[Other]\r\n"
                                                  "Key=value\r\n");
    QVERIFY(SettingsFile::replace(file));
    defaults().synchronize();
    QCOMPARE(defaults().stringForKey(PreferenceKeys::SoundFiles), QStringLiteral("a.mp3, b.mp3"));
    QCOMPARE(PreferenceController::preferencePlaySound(), false);
    QCOMPARE(PreferenceController::preferenceDropShadow(), true);

    PreferenceController::setPreferenceContinueCountdown(false);
    QVERIFY(defaults().synchronize());
    const QByteArray expected = SettingsFile::bytesOf("; written by hand\r\n"
                                                      "[General]\r\n"
                                                      "SoundFiles =  \"a.mp3\" , b.mp3 ; two\r\n"
                                                      "PlaySound=YES\r\n"
                                                      "PlaySound=NO\r\n"
                                                      "DropShadow=\\x31\r\n"
                                                      "\x01\xff garbage\r\n"
                                                      "ContinueCountdown=false\n"
                                                      "[Other]\r\n"
                                                      "Key=value\r\n");
    QCOMPARE(fileBytes(), expected);

    // A changed key takes its own (last) line and keeps the line's ending.
    PreferenceController::setPreferencePlaySound(true);
    QVERIFY(defaults().synchronize());
    QVERIFY(fileBytes().contains("PlaySound=YES\r\nPlaySound=true\r\n"));
    QCOMPARE(nextLaunch().value(QStringLiteral("Other/Key")).toString(), QStringLiteral("value"));
}

void TestSettingsFile::hugeClaimedListReadsAsAbsent_data()
{
    QTest::addColumn<QByteArray>("value");
    // A string list (type 11) of 2^32 - 2 entries, then nothing.
    QTest::newRow("list of 2^32") << QByteArray("@Variant(\\0\\0\\0\\xb\\xff\\xff\\xff\\xfe)");
    QTest::newRow("text of 4 GB") << QByteArray("@Variant(\\0\\0\\0\\n\\x7f\\xff\\xff\\xfe)");
    QTest::newRow("bytes of 4 GB") << QByteArray("@Variant(\\0\\0\\0\\f\\xff\\xff\\xff\\xf0)");
    QTest::newRow("a map") << QByteArray("@Variant(\\0\\0\\0\\b\\xff\\xff\\xff\\xff)");
    QTest::newRow("list entry too long")
        << QByteArray("@Variant(\\0\\0\\0\\xb\\0\\0\\0\\x1\\0\\0\\0\\x10\\0a)");
}

void TestSettingsFile::hugeClaimedListReadsAsAbsent()
{
    QFETCH(QByteArray, value);
    defaults().registerDefaults({{PreferenceKeys::SoundFiles, QStringLiteral("x.wav")}});
    QVERIFY(SettingsFile::replace("[General]\nSoundFiles=" + value + "\nPlaySound=false\n"));
    defaults().synchronize();
    QVERIFY(!SettingsFileFormat::decodeValue(value).isValid());
    QCOMPARE(PreferenceController::preferenceSoundFiles(), QStringList{QStringLiteral("x.wav")});
    QCOMPARE(PreferenceController::preferencePlaySound(), false);
}

void TestSettingsFile::byteOrderMarkOfASoundNameSurvives()
{
    const QStringList names{QStringLiteral("\uFEFFbell.mp3"), QStringLiteral("gong.wav")};
    PreferenceController::setPreferenceSoundFiles(names);
    QVERIFY(defaults().synchronize());
    QCOMPARE(nextLaunch().value(PreferenceKeys::SoundFiles).toString(), names.join(QLatin1Char(':')));
    // QSettings' own reader agrees.
    QSettings qt(defaults().filePath(), QSettings::IniFormat);
    QCOMPARE(qt.value(PreferenceKeys::SoundFiles).toString(), names.join(QLatin1Char(':')));

    // Written by hand as raw UTF-8, at the very start of the value and of the file.
    QVERIFY(SettingsFile::replace("\xEF\xBB\xBFSoundFiles=\xEF\xBB\xBF"
                                  "a.mp3\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceSoundFiles(), QStringList{QStringLiteral("\uFEFFa.mp3")});
}

void TestSettingsFile::valuesRoundTripThroughBothReaders_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("plain") << QVariant(QStringLiteral("00:10:00"));
    QTest::newRow("empty") << QVariant(QStringLiteral(""));
    QTest::newRow("at sign") << QVariant(QStringLiteral("@ByteArray(x)"));
    QTest::newRow("quotes, commas, semicolons") << QVariant(QStringLiteral(" \"a\"; b, c=d \\ e "));
    QTest::newRow("controls and hex digits") << QVariant(QString::fromLatin1("\0"
                                                                             "1\x01"
                                                                             "f\t\n\r\x7f",
                                                                             9));
    QTest::newRow("non-latin") << QVariant(QStringLiteral("\u00e9\u6f22\U0001F514"));
    QTest::newRow("lone surrogate") << QVariant(QString(QChar(0xD800)) + QStringLiteral("a"));
    QTest::newRow("bytes") << QVariant(QByteArray("\0\x01\xff)(@\"\\,;=", 12));
    QTest::newRow("empty bytes") << QVariant(QByteArray("", 0));
    QTest::newRow("list") << QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b,c")});
}

void TestSettingsFile::valuesRoundTripThroughBothReaders()
{
    QFETCH(QVariant, value);
    QSettings::SettingsMap map{{QStringLiteral("Key"), value}};
    const QByteArray file = SettingsFileFormat::rewrite(QByteArray(), map);
    QCOMPARE(SettingsFileFormat::parse(file), map);

    QVERIFY(SettingsFile::replace(file));
    QSettings qt(defaults().filePath(), QSettings::IniFormat);
    QCOMPARE(qt.value(QStringLiteral("Key")), value);
}

void TestSettingsFile::removedKeyLosesEveryLine()
{
    const QByteArray file = "[General]\nPlaySound=YES\nDropShadow=false\nPlaySound=NO\n";
    const QByteArray rewritten =
        SettingsFileFormat::rewrite(file, {{QStringLiteral("DropShadow"), QStringLiteral("false")}});
    QCOMPARE(rewritten, QByteArray("[General]\nDropShadow=false\n"));

    // Found by fuzzing: the first line removed must not turn the next line's leading bytes into the
    // file's byte-order mark.
    const QByteArray marked("a=1\n\xEF\xBB\xBF"
                            "b=2\n");
    const QSettings::SettingsMap rest{{QString::fromLatin1("\xEF\xBB\xBF"
                                                           "b"),
                                       QStringLiteral("2")}};
    QCOMPARE(SettingsFileFormat::parse(marked).size(), 2);
    QCOMPARE(SettingsFileFormat::parse(SettingsFileFormat::rewrite(marked, rest)), rest);
}

void TestSettingsFile::newKeyLandsInTheGeneralSection()
{
    const QSettings::SettingsMap map{{QStringLiteral("New"), QStringLiteral("1")},
                                     {QStringLiteral("Sub/Key"), QStringLiteral("2")},
                                     {QStringLiteral("Other/x"), QStringLiteral("1")}};
    QCOMPARE(SettingsFileFormat::rewrite("[Other]\nx=1", map), QByteArray("New=1\nSub\\Key=2\n[Other]\nx=1"));
    QCOMPARE(SettingsFileFormat::parse(SettingsFileFormat::rewrite("[Other]\nx=1", map)), map);
    const QSettings::SettingsMap flat{{QStringLiteral("New"), QStringLiteral("1")}};
    QCOMPARE(SettingsFileFormat::rewrite("[General]", flat), QByteArray("[General]\nNew=1\n"));
    QCOMPARE(SettingsFileFormat::rewrite(QByteArray(), flat), QByteArray("[General]\nNew=1\n"));
}

void TestSettingsFile::largeSoundListLoads()
{
    // Ten megabytes of names; how long it takes is measured by hand (docs/reliability.md), not here.
    QByteArray names;
    names.reserve(10 * 1024 * 1024 + 64);
    for (int i = 0; names.size() < 10 * 1024 * 1024; ++i)
        names += "Sound number " + QByteArray::number(i) + ".mp3:";
    names.chop(1);
    QVERIFY(SettingsFile::replace("[General]\nSoundFiles=" + names + "\nSelectedSoundIndex=3\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Sound number 3.mp3"));
    PreferenceController::setPreferencePlaySound(false);
    QVERIFY(defaults().synchronize());
    QVERIFY(fileBytes().contains("\nSoundFiles=" + names + "\n"));
}

BREVLIN_TEST_MAIN_CORE(TestSettingsFile)
#include "tst_settingsfile.moc"
