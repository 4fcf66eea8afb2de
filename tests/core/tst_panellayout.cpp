// The panel's font search and geometry, computed without a window.
#include "PanelLayout.h"
#include "TestMain.h"

#include <QFont>
#include <QFontMetricsF>
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
    }

    void theRealFaceSizeMatchesQtsOwnMeasurement_data()
    {
        QTest::addColumn<QSizeF>("panel");
        QTest::addColumn<bool>("idle");
        QTest::newRow("small idle") << QSizeF(200, 80) << true;
        QTest::newRow("wide idle") << QSizeF(800, 300) << true;
        QTest::newRow("wide running") << QSizeF(800, 300) << false;
        QTest::newRow("tall running") << QSizeF(300, 900) << false;
        QTest::newRow("large running") << QSizeF(1600, 500) << false;
    }

    // Checked against Qt measuring the sample at each size on its own, not against the search's own
    // measuring function, so a wrong measurement cannot agree with itself. The search scales one exact
    // measurement linearly while Qt rounds per size, hence one size step of tolerance.
    void theRealFaceSizeMatchesQtsOwnMeasurement()
    {
        QFETCH(QSizeF, panel);
        QFETCH(bool, idle);
        const double maxWidth = panel.width() - 30 - (idle ? 10 + 36 : 0);
        const double maxHeight = panel.height() - 30;
        QFont font = PanelLayout::measuringFont();
        font.setHintingPreference(QFont::PreferNoHinting);
        int expected = 9;
        for (int size = 10; size < 1000; ++size) {
            font.setPixelSize(size);
            const QFontMetricsF metrics(font);
            if (metrics.horizontalAdvance(PanelLayout::sizingSample()) > maxWidth ||
                metrics.height() > maxHeight)
                break;
            expected = size;
        }
        const int actual = PanelLayout::fontSizeForPanel(panel, 36, idle);
        QVERIFY2(qAbs(actual - expected) <= 1,
                 qPrintable(QStringLiteral("search %1, Qt per size %2").arg(actual).arg(expected)));
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
