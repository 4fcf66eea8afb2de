// The panel's font search and geometry, computed without a window.
#include "PanelLayout.h"
#include "TestMain.h"

#include <QTest>

namespace {
// A stand-in face whose sample is exactly 6 px wide and 1.25 px high per pixel of size, so the expected
// sizes can be worked out by hand.
QSizeF linearMeasure(int size)
{
    return {6.0 * size, 1.25 * size};
}
} // namespace

class TestPanelLayout : public QObject
{
    Q_OBJECT

private slots:
    void aPanelThirtyHighOrLessGetsSizeNine()
    {
        QCOMPARE(PanelLayout::fontSizeForPanel({400, 30}, 36, true), 9);
        QCOMPARE(PanelLayout::fontSizeForPanel({400, 20}, 36, false), 9);
        QCOMPARE(PanelLayout::fontSizeForPanel({400, 30}, 36, true, linearMeasure), 9);
    }

    void aHugePanelGetsSize999()
    {
        QCOMPARE(PanelLayout::fontSizeForPanel({100000, 100000}, 36, true), 999);
        QCOMPARE(PanelLayout::fontSizeForPanel({100000, 100000}, 36, false, linearMeasure), 999);
    }

    void theWidthBoundTakesTheMarginAndWhileIdleThePlayButton()
    {
        // Running: 630 - 30 = 600 wide, so 100 px (600 wide) fits and 101 does not.
        QCOMPARE(PanelLayout::fontSizeForPanel({630, 1000}, 40, false, linearMeasure), 100);
        // Idle: 630 - 30 - (10 + 40) = 550 wide: 91 px is 546 wide, 92 is 552.
        QCOMPARE(PanelLayout::fontSizeForPanel({630, 1000}, 40, true, linearMeasure), 91);
    }

    void theHeightBoundTakesTheMargin()
    {
        // 130 - 30 = 100 high: 80 px is 100 high and fits, 81 does not.
        QCOMPARE(PanelLayout::fontSizeForPanel({10000, 130}, 40, false, linearMeasure), 80);
    }

    void boundsAreRoundedToSinglePrecision()
    {
        // 630.00001 - 30 is 600.00001 in double precision but exactly 600 as a float, so a sample 600.000005
        // wide no longer fits once the bound is rounded.
        auto widthAtFifty = [](int size) { return QSizeF(size == 50 ? 600.000005 : 1.0, 1.0); };
        QCOMPARE(PanelLayout::fontSizeForPanel({630.00001, 1000}, 36, false, widthAtFifty), 49);
        auto heightAtFifty = [](int size) { return QSizeF(1.0, size == 50 ? 600.000005 : 1.0); };
        QCOMPARE(PanelLayout::fontSizeForPanel({10000, 630.00001}, 36, false, heightAtFifty), 49);
    }

    void theSearchStopsAtTheFirstSizeThatDoesNotFit()
    {
        QList<int> asked;
        auto recordingMeasure = [&asked](int size) {
            asked << size;
            return linearMeasure(size);
        };
        QCOMPARE(PanelLayout::searchFontSize(66.0f, 1000.0f, recordingMeasure), 11);
        QCOMPARE(asked, QList<int>({10, 11, 12}));
    }

    void theRealFaceGrowsWithThePanel()
    {
        const int small = PanelLayout::fontSizeForPanel({200, 80}, 36, true);
        const int large = PanelLayout::fontSizeForPanel({800, 300}, 36, true);
        QVERIFY2(small > 9 && large > small, qPrintable(QStringLiteral("%1 %2").arg(small).arg(large)));
        // The measured sample really fits the bounds the size was chosen for.
        const QSizeF measured = PanelLayout::measureSample(large);
        QVERIFY(measured.width() <= 800 - 30 - 10 - 36);
        QVERIFY(measured.height() <= 300 - 30);
        const QSizeF next = PanelLayout::measureSample(large + 1);
        QVERIFY(next.width() > 800 - 30 - 10 - 36 || next.height() > 300 - 30);
    }

    void runningTimeIsCentredWithThePauseButtonExactlyOverIt()
    {
        const auto geometry = PanelLayout::arrange({400, 120}, {36, 36}, {200, 50}, 8, false);
        QCOMPARE(geometry.timeField, QRectF(100, 35, 200, 50));
        QCOMPARE(geometry.pauseResetFrame, geometry.timeField);
    }

    void idleEightCharacterTimeLeavesASeventhMoreRoomBeforeThePlayButton()
    {
        const auto geometry = PanelLayout::arrange({400, 120}, {36, 36}, {210, 50}, 8, true);
        // Widened to 240: the group 240 + 10 + 36 is centred.
        const double x = (400 - (240 + 10 + 36)) * 0.5;
        QCOMPARE(geometry.timeField, QRectF(x, 35, 210, 50));
        QCOMPARE(geometry.playButtonOrigin, QPointF(x + 240 + 10, 42));
        QCOMPARE(geometry.playButtonOrigin.x() - geometry.timeField.right(), 10 + 210.0 / 7);
    }

    void idleNineCharacterTimeHasTheGapOnly()
    {
        const auto geometry = PanelLayout::arrange({400, 120}, {36, 36}, {210, 50}, 9, true);
        QCOMPARE(geometry.playButtonOrigin.x() - geometry.timeField.right(), 10.0);
    }
};

BREVLIN_TEST_MAIN_GUI(TestPanelLayout)
#include "tst_panellayout.moc"
