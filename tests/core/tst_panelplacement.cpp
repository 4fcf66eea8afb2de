// Where the panel goes, computed without a window.
#include "PanelPlacement.h"
#include "TestMain.h"

#include <QTest>

using namespace PanelPlacement;

namespace {
const QRect Left(0, 0, 1920, 1080);
const QRect Right(1920, 0, 1280, 1024);
const QRect LeftUsable(0, 32, 1920, 1048); // a bar at the top
} // namespace

class TestPanelPlacement : public QObject
{
    Q_OBJECT

private slots:
    void theFirstPlaceIsTopRightWithAMargin()
    {
        QCOMPARE(defaultFrame({340, 120}, LeftUsable), QRect(1920 - 24 - 340, 32 + 24, 340, 120));
    }

    void aPanelOnAScreenStaysWhereItIs()
    {
        const QRect frame(100, 100, 340, 120);
        QCOMPARE(keptInSight(frame, {Left, Right}, {LeftUsable, Right}), frame);
        // Across two screens is in sight too.
        const QRect across(1800, 500, 340, 120);
        QCOMPARE(keptInSight(across, {Left, Right}, {LeftUsable, Right}), across);
    }

    void enoughToTakeHoldOfStaysWhereItIs()
    {
        // Exactly 64 x 32 on the screen.
        const QRect frame(1920 - 64, 1080 - 32, 340, 120);
        QVERIFY(isInSight(frame, {Left}));
        QCOMPARE(keptInSight(frame, {Left}, {LeftUsable}), frame);
    }

    void aSliverComesBackWhole()
    {
        // 8 x 16 pixels left in sight by a drag past the right edge.
        const QRect sliver(1920 - 8, 500, 340, 120);
        QVERIFY(!isInSight(sliver, {Left}));
        QCOMPARE(keptInSight(sliver, {Left}, {LeftUsable}), QRect(1920 - 340, 500, 340, 120));
        // 63 pixels wide is one too few.
        QVERIFY(!isInSight(QRect(1920 - 63, 500, 340, 120), {Left}));
        // Past the top, into the bar: below it.
        QCOMPARE(keptInSight(QRect(300, -110, 340, 120), {Left}, {LeftUsable}), QRect(300, 32, 340, 120));
    }

    void aPanelOnAScreenThatWentGoesToTheNearestOne()
    {
        const QRect onRight(2500, 400, 340, 120);
        QVERIFY(isInSight(onRight, {Left, Right}));
        QCOMPARE(keptInSight(onRight, {Left}, {LeftUsable}), QRect(1920 - 340, 400, 340, 120));
        // Of two screens left, the nearer one.
        const QRect farAbove(100, -3000, 340, 120);
        QCOMPARE(keptInSight(farAbove, {Left, Right}, {LeftUsable, Right}), QRect(100, 32, 340, 120));
    }

    void aSmallPanelMustBeWhollyInSight()
    {
        const QRect small(1920 - 40, 100, 50, 20);
        QVERIFY(!isInSight(small, {Left}));
        QVERIFY(isInSight(QRect(1920 - 50, 100, 50, 20), {Left}));
    }

    void aPanelLargerThanTheScreenIsShrunkToIt()
    {
        const QRect huge(5000, 0, 4000, 3000);
        QCOMPARE(keptInSight(huge, {Left}, {LeftUsable}), LeftUsable);
    }

    void withoutScreensNothingMoves()
    {
        const QRect frame(-5000, -5000, 340, 120);
        QCOMPARE(keptInSight(frame, {}, {}), frame);
    }

    void aPlaceReadsBackAsWritten()
    {
        const QString text = describe(QRect(-300, 40, 500, 150), QStringLiteral("HDMI-1; left"));
        QCOMPARE(text, QStringLiteral("-300,40,500,150;HDMI-1; left"));
        const std::optional<Place> place = parse(text);
        QVERIFY(place);
        QCOMPARE(place->frame, QRect(-300, 40, 500, 150));
        QCOMPARE(place->screenName, QStringLiteral("HDMI-1; left"));
    }

    void aDamagedPlaceReadsAsNone_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("three numbers") << QStringLiteral("1,2,3;A");
        QTest::newRow("text") << QStringLiteral("a,b,c,d;A");
        QTest::newRow("no width") << QStringLiteral("1,2,0,100;A");
        QTest::newRow("negative height") << QStringLiteral("1,2,100,-5;A");
        QTest::newRow("huge") << QStringLiteral("1,2,2147483647,100;A");
        QTest::newRow("far away") << QStringLiteral("2000000000,2,100,100;A");
    }

    void aDamagedPlaceReadsAsNone()
    {
        QFETCH(QString, text);
        QVERIFY(!parse(text));
    }
};

BREVLIN_TEST_MAIN_CORE(TestPanelPlacement)
#include "tst_panelplacement.moc"
