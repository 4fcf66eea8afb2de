// The rule that keeps the panel's time readable whatever colours the settings file holds.
#include "PanelColors.h"
#include "TestMain.h"

#include <QTest>

using PanelColors::visibleTextColor;

class TestPanelColors : public QObject
{
    Q_OBJECT

private slots:
    void aVisibleColourIsKept()
    {
        QCOMPARE(visibleTextColor(QColor(255, 200, 0), QColor(20, 30, 90), Qt::gray), QColor(255, 200, 0));
        QCOMPARE(visibleTextColor(QColor(Qt::white), QColor(Qt::black), Qt::gray), QColor(Qt::white));
        // Nearly the background is the presenter's choice, not a damaged value.
        QCOMPARE(visibleTextColor(QColor(254, 255, 255), QColor(Qt::white), Qt::gray), QColor(254, 255, 255));
        // Half transparent still shows.
        QCOMPARE(visibleTextColor(QColor(0, 0, 255, 128), QColor(Qt::white), Qt::gray),
                 QColor(0, 0, 255, 128));
    }

    void aTransparentColourReadsAsBlack()
    {
        QCOMPARE(visibleTextColor(QColor(255, 0, 0, 0), QColor(Qt::white), Qt::gray), QColor(Qt::black));
        QCOMPARE(visibleTextColor(QColor(0, 0, 0, 0), QColor(20, 30, 90), Qt::gray), QColor(Qt::black));
    }

    void theBackgroundsOwnColourReadsAsBlack()
    {
        QCOMPARE(visibleTextColor(QColor(Qt::white), QColor(Qt::white), Qt::gray), QColor(Qt::black));
        QCOMPARE(visibleTextColor(QColor(20, 30, 90), QColor(20, 30, 90), Qt::gray), QColor(Qt::black));
        // The background's alpha does not hide the match.
        QCOMPARE(visibleTextColor(QColor(20, 30, 90), QColor(20, 30, 90, 10), Qt::gray), QColor(Qt::black));
    }

    void onBlackTheReplacementIsWhite()
    {
        QCOMPARE(visibleTextColor(QColor(Qt::black), QColor(Qt::black), Qt::gray), QColor(Qt::white));
        QCOMPARE(visibleTextColor(QColor(0, 0, 0, 0), QColor(Qt::black), Qt::gray), QColor(Qt::white));
    }

    void damagedDataGivesTheFallbackUnderTheSameRule()
    {
        QCOMPARE(visibleTextColor(QColor(), QColor(Qt::white), QColor(Qt::gray)), QColor(Qt::gray));
        QCOMPARE(visibleTextColor(QColor(), QColor(Qt::gray), QColor(Qt::gray)), QColor(Qt::black));
        QCOMPARE(visibleTextColor(QColor(), QColor(Qt::black), QColor()), QColor(Qt::white));
        // No readable background: only transparency can hide the text.
        QCOMPARE(visibleTextColor(QColor(Qt::white), QColor(), Qt::gray), QColor(Qt::white));
        QCOMPARE(visibleTextColor(QColor(255, 255, 255, 0), QColor(), Qt::gray), QColor(Qt::black));
    }
};

BREVLIN_TEST_MAIN_CORE(TestPanelColors)
#include "tst_panelcolors.moc"
