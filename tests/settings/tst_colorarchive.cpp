#include "ColorArchive.h"

#include "TestMain.h"

#include <QDataStream>
#include <QIODevice>
#include <QRandomGenerator>
#include <QTest>

#include <limits>

namespace {

// Builds an archive by hand, so that damaged variants of the format can be made field by field.
QByteArray handMade(quint32 magic, quint8 version, quint8 model, const QList<double>& components)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    out << magic << version << model;
    for (double c : components)
        out << c;
    return data;
}

constexpr quint32 Magic = 0x42525643;

} // namespace

class TestColorArchive : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void roundTripKeepsSixteenBitPrecision();
    void invalidColourRoundTripsInvalid();
    void archiveOfBlackIsStable();
    void archiveStartsWithTheMagicHeader();
    void emptyDataGivesAnInvalidColour();
    void nullDataGivesAnInvalidColour();
    void garbageGivesAnInvalidColour_data();
    void garbageGivesAnInvalidColour();
    void everyTruncationGivesAnInvalidColour_data();
    void everyTruncationGivesAnInvalidColour();
    void trailingBytesGiveAnInvalidColour();
    void componentsOutOfRangeGiveAnInvalidColour_data();
    void componentsOutOfRangeGiveAnInvalidColour();
    void damagedBytesNeverDecodeToNonsense();
    void extendedRgbKeepsItsModelAndAlpha_data();
    void extendedRgbKeepsItsModelAndAlpha();
    void extendedRgbWithBrokenHalfFloatsIsInvalid();
};

void TestColorArchive::roundTrip_data()
{
    QTest::addColumn<QColor>("color");
    QTest::newRow("opaque black") << QColor(Qt::black);
    QTest::newRow("opaque white") << QColor(Qt::white);
    QTest::newRow("red") << QColor(255, 0, 0);
    QTest::newRow("half transparent blue") << QColor(0, 0, 255, 128);
    QTest::newRow("fully transparent") << QColor(12, 34, 56, 0);
    QTest::newRow("odd grey with alpha") << QColor(17, 133, 201, 77);
    QTest::newRow("hsv") << QColor::fromHsv(200, 120, 90, 250);
    QTest::newRow("achromatic hsv") << QColor::fromHsv(-1, 0, 128);
    QTest::newRow("hsl") << QColor::fromHsl(45, 200, 100, 30);
    QTest::newRow("cmyk") << QColor::fromCmyk(10, 20, 30, 40, 200);
    QTest::newRow("extended rgb") << QColor::fromRgbF(1.5f, -0.25f, 0.5f, 0.75f);
}

void TestColorArchive::roundTrip()
{
    QFETCH(QColor, color);
    QVERIFY(color.isValid());
    const QColor back = unarchiveObjectWithData(archivedDataWithRootObject(color));
    QVERIFY(back.isValid());
    QCOMPARE(back, color);
    QCOMPARE(back.spec(), color.spec());
    QCOMPARE(back.rgba64(), color.rgba64());
}

void TestColorArchive::roundTripKeepsSixteenBitPrecision()
{
    const QColor color = QColor::fromRgba64(1, 2, 65534, 32769);
    const QColor back = unarchiveObjectWithData(archivedDataWithRootObject(color));
    QCOMPARE(back.rgba64(), color.rgba64());
}

void TestColorArchive::invalidColourRoundTripsInvalid()
{
    const QByteArray data = archivedDataWithRootObject(QColor());
    QVERIFY(!data.isEmpty());
    QVERIFY(!unarchiveObjectWithData(data).isValid());
}

void TestColorArchive::archiveOfBlackIsStable()
{
    // Settings written by one version must be read by the next: the bytes are fixed.
    const QByteArray expected = QByteArray::fromHex("42525643"
                                                    "01"
                                                    "01"
                                                    "0000"
                                                    "0000"
                                                    "0000"
                                                    "ffff");
    QCOMPARE(archivedDataWithRootObject(QColor(Qt::black)).toHex(), expected.toHex());
}

void TestColorArchive::archiveStartsWithTheMagicHeader()
{
    const QByteArray data = archivedDataWithRootObject(QColor(Qt::white));
    QVERIFY(data.startsWith(QByteArray("BRVC\x01", 5)));
}

void TestColorArchive::emptyDataGivesAnInvalidColour()
{
    QVERIFY(!unarchiveObjectWithData(QByteArray("")).isValid());
}

void TestColorArchive::nullDataGivesAnInvalidColour()
{
    QVERIFY(!unarchiveObjectWithData(QByteArray()).isValid());
}

void TestColorArchive::garbageGivesAnInvalidColour_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("text") << QByteArray("not a colour");
    QTest::newRow("one byte") << QByteArray("\x42", 1);
    QTest::newRow("magic only") << QByteArray("BRVC");
    QTest::newRow("zeros") << QByteArray(64, '\0');
    QTest::newRow("ones") << QByteArray(64, '\xff');
    QTest::newRow("wrong magic") << handMade(0x42525644, 1, QColor::Rgb, {}) + QByteArray(8, '\0');
    QTest::newRow("wrong version") << handMade(Magic, 2, QColor::Rgb, {}) + QByteArray(8, '\0');
    QTest::newRow("unknown model") << handMade(Magic, 1, 9, {0.5, 0.5, 0.5, 1.0});
    QTest::newRow("model 255") << handMade(Magic, 1, 255, {});

    QByteArray foreign;
    QDataStream out(&foreign, QIODevice::WriteOnly);
    out << QColor(Qt::red);
    QTest::newRow("Qt's own colour stream") << foreign;
}

void TestColorArchive::garbageGivesAnInvalidColour()
{
    QFETCH(QByteArray, data);
    QVERIFY(!unarchiveObjectWithData(data).isValid());
}

void TestColorArchive::everyTruncationGivesAnInvalidColour_data()
{
    QTest::addColumn<QColor>("color");
    QTest::newRow("rgb") << QColor(10, 20, 30, 40);
    QTest::newRow("hsv") << QColor::fromHsv(200, 120, 90);
    QTest::newRow("cmyk") << QColor::fromCmyk(10, 20, 30, 40);
}

void TestColorArchive::everyTruncationGivesAnInvalidColour()
{
    QFETCH(QColor, color);
    const QByteArray whole = archivedDataWithRootObject(color);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QColor back = unarchiveObjectWithData(whole.left(length));
        QVERIFY2(!back.isValid(), qPrintable(QStringLiteral("%1 of %2 bytes").arg(length).arg(whole.size())));
    }
}

void TestColorArchive::trailingBytesGiveAnInvalidColour()
{
    QVERIFY(!unarchiveObjectWithData(archivedDataWithRootObject(QColor(Qt::red)) + '\0').isValid());
}

void TestColorArchive::componentsOutOfRangeGiveAnInvalidColour_data()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("hsv hue above 1") << handMade(Magic, 1, QColor::Hsv, {1.5, 0.5, 0.5, 1.0});
    QTest::newRow("hsv negative saturation") << handMade(Magic, 1, QColor::Hsv, {0.5, -0.5, 0.5, 1.0});
    QTest::newRow("hsl not a number") << handMade(Magic, 1, QColor::Hsl, {nan, 0.5, 0.5, 1.0});
    QTest::newRow("cmyk alpha above 1") << handMade(Magic, 1, QColor::Cmyk, {0.1, 0.2, 0.3, 0.4, 2.0});
    QTest::newRow("extended infinite red") << handMade(Magic, 1, QColor::ExtendedRgb, {inf, 0.5, 0.5, 1.0});
    QTest::newRow("extended red beyond 16-bit floats")
        << handMade(Magic, 1, QColor::ExtendedRgb, {1e6, 0.5, 0.5, 1.0});
    QTest::newRow("extended alpha not a number")
        << handMade(Magic, 1, QColor::ExtendedRgb, {0.5, 0.5, 0.5, nan});
}

void TestColorArchive::componentsOutOfRangeGiveAnInvalidColour()
{
    QFETCH(QByteArray, data);
    QVERIFY(!unarchiveObjectWithData(data).isValid());
}

void TestColorArchive::damagedBytesNeverDecodeToNonsense()
{
    // Whatever a damaged archive decodes to must itself be a colour that archives and decodes to itself.
    const QList<QColor> colors{QColor(10, 20, 30, 40), QColor::fromHsv(200, 120, 90),
                               QColor::fromHsl(45, 200, 100), QColor::fromCmyk(10, 20, 30, 40),
                               QColor::fromRgbF(1.5f, -0.25f, 0.5f)};
    QRandomGenerator random(20240601);
    for (const QColor& color : colors) {
        const QByteArray whole = archivedDataWithRootObject(color);
        for (int round = 0; round < 2000; ++round) {
            QByteArray damaged = whole;
            const int flips = 1 + random.bounded(3);
            for (int i = 0; i < flips; ++i)
                damaged[random.bounded(int(damaged.size()))] = char(random.bounded(256));
            const QColor back = unarchiveObjectWithData(damaged);
            if (back.isValid())
                QCOMPARE(unarchiveObjectWithData(archivedDataWithRootObject(back)), back);
        }
    }
}

void TestColorArchive::extendedRgbKeepsItsModelAndAlpha_data()
{
    QTest::addColumn<QColor>("color");
    // Within 0-1 the old archive gave plain RGB back, with an alpha rounded to 16 bits.
    QTest::newRow("within 0-1") << QColor::fromRgbF(0.2f, 0.4f, 0.6f, 0.7f).toExtendedRgb();
    QTest::newRow("beyond 0-1") << QColor::fromRgbF(1.5f, -0.25f, 0.5f, 0.3f);
    QTest::newRow("transparent") << QColor::fromRgbF(2.0f, 0.0f, 0.0f, 0.0f);
    QTest::newRow("largest half") << QColor::fromRgbF(65504.0f, -65504.0f, 1.0f, 1.0f);
}

void TestColorArchive::extendedRgbKeepsItsModelAndAlpha()
{
    QFETCH(QColor, color);
    QCOMPARE(color.spec(), QColor::ExtendedRgb);
    const QColor back = unarchiveObjectWithData(archivedDataWithRootObject(color));
    QCOMPARE(back.spec(), QColor::ExtendedRgb);
    QCOMPARE(back, color);
    float r1 = 0, g1 = 0, b1 = 0, a1 = 0, r2 = 0, g2 = 0, b2 = 0, a2 = 0;
    color.getRgbF(&r1, &g1, &b1, &a1);
    back.getRgbF(&r2, &g2, &b2, &a2);
    // Exactly, not within a tolerance.
    QVERIFY(r1 == r2 && g1 == g2 && b1 == b2 && a1 == a2);
    QCOMPARE(archivedDataWithRootObject(back), archivedDataWithRootObject(color));
}

void TestColorArchive::extendedRgbWithBrokenHalfFloatsIsInvalid()
{
    const auto archive = [](quint16 alpha, quint16 red) {
        QByteArray data;
        QDataStream out(&data, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_0);
        out << Magic << quint8(2) << quint8(QColor::ExtendedRgb) << alpha << red << quint16(0) << quint16(0);
        return data;
    };
    // Half floats: 0x3c00 is 1.0, 0x7c00 infinity, 0x7e00 not a number, 0x4000 is 2.0.
    QVERIFY(unarchiveObjectWithData(archive(0x3c00, 0x3c00)).isValid());
    QVERIFY(!unarchiveObjectWithData(archive(0x3c00, 0x7c00)).isValid());
    QVERIFY(!unarchiveObjectWithData(archive(0x3c00, 0x7e00)).isValid());
    QVERIFY(!unarchiveObjectWithData(archive(0x4000, 0x3c00)).isValid());
    QVERIFY(!unarchiveObjectWithData(archive(0x3c00, 0x3c00).chopped(1)).isValid());
    QVERIFY(!unarchiveObjectWithData(archive(0x3c00, 0x3c00) + '\0').isValid());
}

BREVLIN_TEST_MAIN_CORE(TestColorArchive)
#include "tst_colorarchive.moc"
