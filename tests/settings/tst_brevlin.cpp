#include "Brevlin.h"

#include "BuiltInSounds.h"
#include "TestMain.h"

#include <QTest>

#include <limits>
#include <stdexcept>

namespace {

const QStringList& BuiltInSounds = testsupport::builtInSounds();

} // namespace

class TestBrevlin : public QObject
{
    Q_OBJECT

private slots:
    void newObjectHasTheBuiltInValues();
    void newObjectHasOpaqueBlackOnWhite();
    void newObjectHasTheIntervalNumbersWithoutParsing();
    void twoObjectsAreIndependent();
    void intervalWithThreeFields();
    void intervalWithLeadingBlanks_data();
    void intervalWithLeadingBlanks();
    void intervalWithLettersAfterTheDigits();
    void intervalOfLettersOnly();
    void intervalWithOtherFieldCountsKeepsTheNumbers_data();
    void intervalWithOtherFieldCountsKeepsTheNumbers();
    void intervalWithOtherFieldCountsKeepsTheLastGoodNumbers();
    void intervalMinutesAbove59CountInFull();
    void intervalNegativeField();
    void intervalHugeHoursSaturateBeforeMultiplying();
    void intervalHugeNegativeFieldsSaturate();
    void intervalOfZeroOrEmptyFields_data();
    void intervalOfZeroOrEmptyFields();
    void plainIntervalSettersTouchNothingElse();
    void addSoundFileToAnEmptyList();
    void addSoundFileToTheBuiltInList();
    void removeSoundFileRemovesOnlyTheFirstOccurrence();
    void removeSoundFileOfAMissingNameThrows();
    void insertAtIndexZeroReplacesTheFirstEntry();
    void insertAtTheCountAppends();
    void insertBeyondTheCountThrows_data();
    void insertBeyondTheCountThrows();
    void removeAtIndexMovesLaterEntriesDown();
    void removeOutsideTheListThrows_data();
    void removeOutsideTheListThrows();
    void snapshotKeepsItsCountAfterAddSoundFile();
    void changingASnapshotLeavesTheListAlone();
};

void TestBrevlin::newObjectHasTheBuiltInValues()
{
    const Brevlin b;
    QCOMPARE(b.defaultCountdownTime(), QStringLiteral("00:01:00"));
    QVERIFY(b.countdownTime().isNull());
    QCOMPARE(b.playSound(), true);
    QCOMPARE(b.playReminderSound(), true);
    QCOMPARE(b.continueCountdown(), true);
    QCOMPARE(b.selectedSoundIndex(), qint64(0));
    QCOMPARE(b.reminderSoundIndex(), qint64(4));
    QCOMPARE(b.soundFiles(), BuiltInSounds);
    QCOMPARE(b.soundFiles().at(b.reminderSoundIndex()), QStringLiteral("click_tin.wav"));
    QCOMPARE(b.defaultSound(), QStringLiteral("Left Coast Piano.mp3"));
    QVERIFY(b.selectedSoundName().isNull());
    QVERIFY(b.reminderSoundName().isNull());
    QCOMPARE(b.remindEveryInterval(), QStringLiteral("0:5:0"));
    QCOMPARE(b.dropShadow(), true);
}

void TestBrevlin::newObjectHasOpaqueBlackOnWhite()
{
    const Brevlin b;
    QVERIFY(b.textColor().isValid());
    QCOMPARE(b.textColor().rgba64(), qRgba64(0, 0, 0, 0xffff));
    QCOMPARE(b.bgColor().rgba64(), qRgba64(0xffff, 0xffff, 0xffff, 0xffff));
    QCOMPARE(b.textColor(), QColor(Qt::black));
    QCOMPARE(b.bgColor(), QColor(Qt::white));
}

void TestBrevlin::newObjectHasTheIntervalNumbersWithoutParsing()
{
    Brevlin b;
    QCOMPARE(b.remindEveryH(), qint64(0));
    QCOMPARE(b.remindEveryM(), qint64(5));
    QCOMPARE(b.remindEveryS(), qint64(0));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(300));
}

void TestBrevlin::twoObjectsAreIndependent()
{
    Brevlin first;
    const Brevlin second;
    first.setPlaySound(false);
    first.addSoundFile(QStringLiteral("Gong.wav"));
    first.setRemindEveryInterval(QStringLiteral("1:0:0"));
    QCOMPARE(second.playSound(), true);
    QCOMPARE(second.soundFiles(), BuiltInSounds);
    QCOMPARE(second.remindEveryIntervalSeconds(), qint64(300));
}

void TestBrevlin::intervalWithThreeFields()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("1:2:3"));
    QCOMPARE(b.remindEveryInterval(), QStringLiteral("1:2:3"));
    QCOMPARE(b.remindEveryH(), qint64(1));
    QCOMPARE(b.remindEveryM(), qint64(2));
    QCOMPARE(b.remindEveryS(), qint64(3));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(3723));
}

void TestBrevlin::intervalWithLeadingBlanks_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("blanks before 2 and 3") << "1: 2: 3";
    QTest::newRow("several blanks and a tab") << "  1:   2:\t3";
}

void TestBrevlin::intervalWithLeadingBlanks()
{
    QFETCH(QString, text);
    Brevlin b;
    b.setRemindEveryInterval(text);
    QCOMPARE(b.remindEveryH(), qint64(1));
    QCOMPARE(b.remindEveryM(), qint64(2));
    QCOMPARE(b.remindEveryS(), qint64(3));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(3723));
}

void TestBrevlin::intervalWithLettersAfterTheDigits()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("1h:2:3"));
    QCOMPARE(b.remindEveryH(), qint64(1));
    QCOMPARE(b.remindEveryM(), qint64(2));
    QCOMPARE(b.remindEveryS(), qint64(3));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(3723));
}

void TestBrevlin::intervalOfLettersOnly()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("a:b:c"));
    QCOMPARE(b.remindEveryH(), qint64(0));
    QCOMPARE(b.remindEveryM(), qint64(0));
    QCOMPARE(b.remindEveryS(), qint64(0));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(0));
}

void TestBrevlin::intervalWithOtherFieldCountsKeepsTheNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("two fields") << "1:2";
    QTest::newRow("four fields") << "1:2:3:4";
    QTest::newRow("one field") << "7";
    QTest::newRow("empty") << "";
    QTest::newRow("null") << QString();
}

void TestBrevlin::intervalWithOtherFieldCountsKeepsTheNumbers()
{
    QFETCH(QString, text);
    Brevlin b;
    b.setRemindEveryInterval(text);
    QCOMPARE(b.remindEveryInterval(), text);
    QCOMPARE(b.remindEveryInterval().isNull(), text.isNull());
    QCOMPARE(b.remindEveryH(), qint64(0));
    QCOMPARE(b.remindEveryM(), qint64(5));
    QCOMPARE(b.remindEveryS(), qint64(0));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(300));
}

void TestBrevlin::intervalWithOtherFieldCountsKeepsTheLastGoodNumbers()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("1:2:3"));
    b.setRemindEveryInterval(QStringLiteral("7:8"));
    QCOMPARE(b.remindEveryInterval(), QStringLiteral("7:8"));
    QCOMPARE(b.remindEveryH(), qint64(1));
    QCOMPARE(b.remindEveryM(), qint64(2));
    QCOMPARE(b.remindEveryS(), qint64(3));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(3723));
}

void TestBrevlin::intervalMinutesAbove59CountInFull()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("0:90:0"));
    QCOMPARE(b.remindEveryM(), qint64(90));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(5400));
}

void TestBrevlin::intervalNegativeField()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("-1:0:0"));
    QCOMPARE(b.remindEveryH(), qint64(-1));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(-3600));
}

void TestBrevlin::intervalHugeHoursSaturateBeforeMultiplying()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("99999999999:0:0"));
    QCOMPARE(b.remindEveryH(), qint64(2147483647));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(2147483647) * 3600);
}

void TestBrevlin::intervalHugeNegativeFieldsSaturate()
{
    Brevlin b;
    b.setRemindEveryInterval(QStringLiteral("-99999999999:-99999999999:-99999999999"));
    const qint64 min = std::numeric_limits<qint32>::min();
    QCOMPARE(b.remindEveryH(), min);
    QCOMPARE(b.remindEveryM(), min);
    QCOMPARE(b.remindEveryS(), min);
    QCOMPARE(b.remindEveryIntervalSeconds(), min * 3600 + min * 60 + min);
}

void TestBrevlin::intervalOfZeroOrEmptyFields_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("seconds");
    QTest::newRow("zeros") << "0:0:0" << qint64(0);
    QTest::newRow("three empty fields") << "::" << qint64(0);
    QTest::newRow("empty hours and minutes") << "::5" << qint64(5);
}

void TestBrevlin::intervalOfZeroOrEmptyFields()
{
    QFETCH(QString, text);
    QFETCH(qint64, seconds);
    Brevlin b;
    b.setRemindEveryInterval(text);
    QCOMPARE(b.remindEveryH(), qint64(0));
    QCOMPARE(b.remindEveryM(), qint64(0));
    QCOMPARE(b.remindEveryIntervalSeconds(), seconds);
}

void TestBrevlin::plainIntervalSettersTouchNothingElse()
{
    Brevlin b;
    b.setRemindEveryH(9);
    b.setRemindEveryM(9);
    b.setRemindEveryS(9);
    QCOMPARE(b.remindEveryInterval(), QStringLiteral("0:5:0"));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(300));
    b.setRemindEveryIntervalSeconds(12);
    QCOMPARE(b.remindEveryH(), qint64(9));
    QCOMPARE(b.remindEveryIntervalSeconds(), qint64(12));
}

void TestBrevlin::addSoundFileToAnEmptyList()
{
    Brevlin b;
    b.setSoundFiles({});
    b.addSoundFile(QStringLiteral("Gong.wav"));
    QCOMPARE(b.soundFiles(), QStringList{QStringLiteral("Gong.wav")});
}

void TestBrevlin::addSoundFileToTheBuiltInList()
{
    Brevlin b;
    b.addSoundFile(QStringLiteral("Gong.wav"));
    QCOMPARE(b.soundFiles().size(), 6);
    QCOMPARE(b.soundFiles().at(5), QStringLiteral("Gong.wav"));
    QCOMPARE(b.soundFiles().mid(0, 5), BuiltInSounds);
}

void TestBrevlin::removeSoundFileRemovesOnlyTheFirstOccurrence()
{
    Brevlin b;
    b.setSoundFiles({QStringLiteral("a.wav"), QStringLiteral("b.wav"), QStringLiteral("a.wav")});
    b.removeSoundFile(QStringLiteral("a.wav"));
    QCOMPARE(b.soundFiles(), (QStringList{QStringLiteral("b.wav"), QStringLiteral("a.wav")}));
}

void TestBrevlin::removeSoundFileOfAMissingNameThrows()
{
    Brevlin b;
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, b.removeSoundFile(QStringLiteral("Gong.wav")));
    QCOMPARE(b.soundFiles(), BuiltInSounds);
}

void TestBrevlin::insertAtIndexZeroReplacesTheFirstEntry()
{
    Brevlin b;
    b.insertObjectInSoundFilesAtIndex(QStringLiteral("Gong.wav"), 0);
    QStringList expected = BuiltInSounds;
    expected[0] = QStringLiteral("Gong.wav");
    QCOMPARE(b.soundFiles(), expected);
}

void TestBrevlin::insertAtTheCountAppends()
{
    Brevlin b;
    b.insertObjectInSoundFilesAtIndex(QStringLiteral("Gong.wav"), 5);
    QCOMPARE(b.soundFiles(), BuiltInSounds + QStringList{QStringLiteral("Gong.wav")});
}

void TestBrevlin::insertBeyondTheCountThrows_data()
{
    QTest::addColumn<qsizetype>("index");
    QTest::newRow("one beyond") << qsizetype(6);
    QTest::newRow("far beyond") << std::numeric_limits<qsizetype>::max();
    QTest::newRow("negative") << qsizetype(-1);
}

void TestBrevlin::insertBeyondTheCountThrows()
{
    QFETCH(qsizetype, index);
    Brevlin b;
    QVERIFY_THROWS_EXCEPTION(std::out_of_range,
                             b.insertObjectInSoundFilesAtIndex(QStringLiteral("x"), index));
    QCOMPARE(b.soundFiles(), BuiltInSounds);
}

void TestBrevlin::removeAtIndexMovesLaterEntriesDown()
{
    Brevlin b;
    b.removeObjectFromSoundFilesAtIndex(1);
    QStringList expected = BuiltInSounds;
    expected.removeAt(1);
    QCOMPARE(b.soundFiles(), expected);
}

void TestBrevlin::removeOutsideTheListThrows_data()
{
    QTest::addColumn<qsizetype>("index");
    QTest::newRow("the count") << qsizetype(5);
    QTest::newRow("negative") << qsizetype(-1);
    QTest::newRow("far beyond") << std::numeric_limits<qsizetype>::max();
}

void TestBrevlin::removeOutsideTheListThrows()
{
    QFETCH(qsizetype, index);
    Brevlin b;
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, b.removeObjectFromSoundFilesAtIndex(index));
    QCOMPARE(b.soundFiles(), BuiltInSounds);
}

void TestBrevlin::snapshotKeepsItsCountAfterAddSoundFile()
{
    Brevlin b;
    const QStringList snapshot = b.soundFiles();
    b.addSoundFile(QStringLiteral("Gong.wav"));
    QCOMPARE(snapshot.size(), 5);
    QCOMPARE(b.soundFiles().size(), 6);
}

void TestBrevlin::changingASnapshotLeavesTheListAlone()
{
    Brevlin b;
    QStringList snapshot = b.soundFiles();
    snapshot.clear();
    QCOMPARE(b.soundFiles(), BuiltInSounds);
}

BREVLIN_TEST_MAIN_CORE(TestBrevlin)
#include "tst_brevlin.moc"
