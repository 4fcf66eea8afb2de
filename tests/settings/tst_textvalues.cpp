#include "TextValues.h"

#include "TestMain.h"

#include <QStringList>
#include <QTest>
#include <QVariant>

#include <limits>

class TestTextValues : public QObject
{
    Q_OBJECT

private slots:
    void intValueReadsLeadingDigits_data();
    void intValueReadsLeadingDigits();
    void intValueWithoutDigitsIsZero_data();
    void intValueWithoutDigitsIsZero();
    void intValueTakesOneOptionalSign_data();
    void intValueTakesOneOptionalSign();
    void intValueSkipsOnlyLeadingWhiteSpace_data();
    void intValueSkipsOnlyLeadingWhiteSpace();
    void intValueSaturatesAtTheUpperLimit_data();
    void intValueSaturatesAtTheUpperLimit();
    void intValueSaturatesAtTheLowerLimit_data();
    void intValueSaturatesAtTheLowerLimit();
    void intValueReadsOnlyAsciiDigits();
    void integerValueSaturatesAt64Bits_data();
    void integerValueSaturatesAt64Bits();
    void integerValueOfStoredValues_data();
    void integerValueOfStoredValues();
    void boolValueOfTexts_data();
    void boolValueOfTexts();
    void boolValueOfOtherStoredValues_data();
    void boolValueOfOtherStoredValues();
    void splittingANullTextGivesNoParts();
    void splittingAnEmptyTextGivesOneEmptyPart();
    void splittingKeepsEmptyParts_data();
    void splittingKeepsEmptyParts();
    void splitPartsOfATextAreNeverNull();
    void splittingAtAnEmptySeparatorCutsNowhere();
};

void TestTextValues::intValueReadsLeadingDigits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("digits") << "42" << 42;
    QTest::newRow("digits then letter") << "1a" << 1;
    QTest::newRow("leading zeros") << "007" << 7;
    QTest::newRow("stops at a blank") << "12 34" << 12;
    QTest::newRow("stops at a point") << "1.9" << 1;
    QTest::newRow("stops at a colon") << "5:30" << 5;
    QTest::newRow("zero") << "0" << 0;
}

void TestTextValues::intValueReadsLeadingDigits()
{
    QFETCH(QString, text);
    QFETCH(qint32, expected);
    QCOMPARE(intValue(text), expected);
}

void TestTextValues::intValueWithoutDigitsIsZero_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << "";
    QTest::newRow("letters") << "ab";
    QTest::newRow("letter before digits") << "h12";
    QTest::newRow("sign only") << "-";
    QTest::newRow("plus only") << "+";
    QTest::newRow("blanks only") << "   ";
    QTest::newRow("sign then blank") << "- 1";
    QTest::newRow("two signs") << "--1";
    QTest::newRow("mixed signs") << "+-1";
}

void TestTextValues::intValueWithoutDigitsIsZero()
{
    QFETCH(QString, text);
    QCOMPARE(intValue(text), 0);
    QCOMPARE(integerValue(text), qint64(0));
}

void TestTextValues::intValueTakesOneOptionalSign_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("minus with leading zero") << "-01" << -1;
    QTest::newRow("plus") << "+7" << 7;
    QTest::newRow("blanks then plus") << "  +7" << 7;
    QTest::newRow("minus zero") << "-0" << 0;
    QTest::newRow("minus then letters") << "-12abc" << -12;
}

void TestTextValues::intValueTakesOneOptionalSign()
{
    QFETCH(QString, text);
    QFETCH(qint32, expected);
    QCOMPARE(intValue(text), expected);
}

void TestTextValues::intValueSkipsOnlyLeadingWhiteSpace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("tab") << "\t3" << 3;
    QTest::newRow("newline and blank") << "\n 5" << 5;
    QTest::newRow("no-break space") << QStringLiteral("\u00a09") << 9;
    QTest::newRow("blank between digits ends the number") << " 5 6" << 5;
    QTest::newRow("blank after the sign ends the number") << " + 6" << 0;
}

void TestTextValues::intValueSkipsOnlyLeadingWhiteSpace()
{
    QFETCH(QString, text);
    QFETCH(qint32, expected);
    QCOMPARE(intValue(text), expected);
}

void TestTextValues::intValueSaturatesAtTheUpperLimit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("limit") << "2147483647" << 2147483647;
    QTest::newRow("limit with plus") << "+2147483647" << 2147483647;
    QTest::newRow("one above") << "2147483648" << 2147483647;
    QTest::newRow("eleven nines") << "99999999999" << 2147483647;
    QTest::newRow("far above") << "123456789012345678901234567890" << 2147483647;
    QTest::newRow("above then letters") << "99999999999h" << 2147483647;
    QTest::newRow("one below limit") << "2147483646" << 2147483646;
}

void TestTextValues::intValueSaturatesAtTheUpperLimit()
{
    QFETCH(QString, text);
    QFETCH(qint32, expected);
    QCOMPARE(intValue(text), expected);
}

void TestTextValues::intValueSaturatesAtTheLowerLimit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("limit") << "-2147483648" << std::numeric_limits<qint32>::min();
    QTest::newRow("one below") << "-2147483649" << std::numeric_limits<qint32>::min();
    QTest::newRow("eleven nines") << "-99999999999" << std::numeric_limits<qint32>::min();
    QTest::newRow("far below") << "-000123456789012345678901234567890" << std::numeric_limits<qint32>::min();
    QTest::newRow("one above limit") << "-2147483647" << -2147483647;
}

void TestTextValues::intValueSaturatesAtTheLowerLimit()
{
    QFETCH(QString, text);
    QFETCH(qint32, expected);
    QCOMPARE(intValue(text), expected);
}

void TestTextValues::intValueReadsOnlyAsciiDigits()
{
    // Other scripts' digits are not decimal digits for this reading.
    QCOMPARE(intValue(QStringLiteral("\u0663")), 0);
    QCOMPARE(intValue(QStringLiteral("\uff11\uff12")), 0);
    QCOMPARE(intValue(QStringLiteral("4\u0663")), 4);
}

void TestTextValues::integerValueSaturatesAt64Bits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("expected");
    const qint64 max = std::numeric_limits<qint64>::max();
    const qint64 min = std::numeric_limits<qint64>::min();
    QTest::newRow("beyond 32 bits") << "99999999999" << qint64(99999999999);
    QTest::newRow("negative beyond 32 bits") << "-99999999999" << qint64(-99999999999);
    QTest::newRow("limit") << "9223372036854775807" << max;
    QTest::newRow("one above") << "9223372036854775808" << max;
    QTest::newRow("far above") << "99999999999999999999999999" << max;
    QTest::newRow("lower limit") << "-9223372036854775808" << min;
    QTest::newRow("one below") << "-9223372036854775809" << min;
    QTest::newRow("far below") << "-99999999999999999999999999" << min;
    QTest::newRow("letters") << "1h" << qint64(1);
}

void TestTextValues::integerValueSaturatesAt64Bits()
{
    QFETCH(QString, text);
    QFETCH(qint64, expected);
    QCOMPARE(integerValue(text), expected);
    QCOMPARE(integerValue(QStringView(text)), expected);
}

void TestTextValues::integerValueOfStoredValues_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<qint64>("expected");
    const qint64 max = std::numeric_limits<qint64>::max();
    const qint64 min = std::numeric_limits<qint64>::min();
    QTest::newRow("invalid") << QVariant() << qint64(0);
    QTest::newRow("true") << QVariant(true) << qint64(1);
    QTest::newRow("false") << QVariant(false) << qint64(0);
    QTest::newRow("int") << QVariant(-17) << qint64(-17);
    QTest::newRow("qint64") << QVariant::fromValue(qint64(1) << 40) << (qint64(1) << 40);
    QTest::newRow("huge unsigned") << QVariant::fromValue(std::numeric_limits<quint64>::max()) << max;
    QTest::newRow("double truncates") << QVariant(3.9) << qint64(3);
    QTest::newRow("negative double truncates") << QVariant(-3.9) << qint64(-3);
    QTest::newRow("huge double") << QVariant(1e300) << max;
    QTest::newRow("huge negative double") << QVariant(-1e300) << min;
    QTest::newRow("not a number") << QVariant(std::numeric_limits<double>::quiet_NaN()) << qint64(0);
    QTest::newRow("text as an INI file gives it") << QVariant(QStringLiteral("7")) << qint64(7);
    QTest::newRow("text with letters") << QVariant(QStringLiteral(" 42x")) << qint64(42);
    QTest::newRow("word") << QVariant(QStringLiteral("true")) << qint64(0);
    QTest::newRow("data") << QVariant(QByteArray("5")) << qint64(0);
    QTest::newRow("list") << QVariant(QStringList{QStringLiteral("5")}) << qint64(0);
}

void TestTextValues::integerValueOfStoredValues()
{
    QFETCH(QVariant, value);
    QFETCH(qint64, expected);
    QCOMPARE(integerValue(value), expected);
}

void TestTextValues::boolValueOfTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("YES") << "YES" << true;
    QTest::newRow("yes") << "yes" << true;
    QTest::newRow("Y") << "Y" << true;
    QTest::newRow("true as INI writes it") << "true" << true;
    QTest::newRow("T") << "T" << true;
    QTest::newRow("1") << "1" << true;
    QTest::newRow("9") << "9" << true;
    QTest::newRow("blanks, sign and zeros before a digit") << "  -0001" << true;
    QTest::newRow("plus then y") << "+y" << true;
    QTest::newRow("zeros then t") << "00t" << true;
    QTest::newRow("digit then junk") << "5junk" << true;
    QTest::newRow("NO") << "NO" << false;
    QTest::newRow("false as INI writes it") << "false" << false;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("minus zero") << "-0" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("null") << QString() << false;
    QTest::newRow("blanks") << "   " << false;
    QTest::newRow("fraction") << "0.5" << false;
    QTest::newRow("word") << "maybe" << false;
    QTest::newRow("two signs") << "--1" << false;
}

void TestTextValues::boolValueOfTexts()
{
    QFETCH(QString, text);
    QFETCH(bool, expected);
    QCOMPARE(boolValue(QVariant(text)), expected);
}

void TestTextValues::boolValueOfOtherStoredValues_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("expected");
    QTest::newRow("invalid") << QVariant() << false;
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("zero") << QVariant(0) << false;
    QTest::newRow("two") << QVariant(2) << true;
    QTest::newRow("minus one") << QVariant::fromValue(qint64(-1)) << true;
    QTest::newRow("half") << QVariant(0.5) << true;
    QTest::newRow("zero double") << QVariant(0.0) << false;
    QTest::newRow("data") << QVariant(QByteArray("1")) << false;
    QTest::newRow("list") << QVariant(QStringList{QStringLiteral("YES")}) << false;
}

void TestTextValues::boolValueOfOtherStoredValues()
{
    QFETCH(QVariant, value);
    QFETCH(bool, expected);
    QCOMPARE(boolValue(value), expected);
}

void TestTextValues::splittingANullTextGivesNoParts()
{
    QVERIFY(componentsSeparatedByString(QString(), QStringLiteral(":")).isEmpty());
}

void TestTextValues::splittingAnEmptyTextGivesOneEmptyPart()
{
    const QStringList parts = componentsSeparatedByString(QStringLiteral(""), QStringLiteral(":"));
    QCOMPARE(parts, QStringList{QString()});
    QVERIFY(!parts.at(0).isNull());
}

void TestTextValues::splittingKeepsEmptyParts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("three fields") << "1:2:3"
                                  << ":" << QStringList{"1", "2", "3"};
    QTest::newRow("empty fields first") << "::5"
                                        << ":" << QStringList{"", "", "5"};
    QTest::newRow("separators only") << "::"
                                     << ":" << QStringList{"", "", ""};
    QTest::newRow("trailing separator") << "a:"
                                        << ":" << QStringList{"a", ""};
    QTest::newRow("no separator") << "a b"
                                  << ":" << QStringList{"a b"};
    QTest::newRow("longer separator") << "a--b----c"
                                      << "--" << QStringList{"a", "b", "", "c"};
}

void TestTextValues::splittingKeepsEmptyParts()
{
    QFETCH(QString, text);
    QFETCH(QString, separator);
    QFETCH(QStringList, expected);
    QCOMPARE(componentsSeparatedByString(text, separator), expected);
}

void TestTextValues::splitPartsOfATextAreNeverNull()
{
    // A sound name read from an empty stored list must be an empty name, not a missing one.
    const QStringList parts = componentsSeparatedByString(QStringLiteral("::a:"), QStringLiteral(":"));
    QCOMPARE(parts.size(), 4);
    for (const QString& part : parts)
        QVERIFY(!part.isNull());
}

void TestTextValues::splittingAtAnEmptySeparatorCutsNowhere()
{
    QCOMPARE(componentsSeparatedByString(QStringLiteral("a:b"), QString()),
             QStringList{QStringLiteral("a:b")});
    QVERIFY(componentsSeparatedByString(QString(), QString()).isEmpty());
}

BREVLIN_TEST_MAIN_CORE(TestTextValues)
#include "tst_textvalues.moc"
