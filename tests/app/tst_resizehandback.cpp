// Dragging the panel's edge on a real X server: every step re-lays the panel out and hands the keyboard
// back, but the window list is read once for the whole drag, not at every step; a press after the drag
// reads it afresh.
#include "AppDelegate.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"
#include "x11/X11WindowSystem.h"

#include <QLineEdit>
#include <QTest>

#include <memory>

class TestResizeHandBack : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;

private slots:
    void init()
    {
        StoredSettings::forgetAll();
        m_delegate = std::make_unique<AppDelegate>();
        m_delegate->panel()->resize(340, 120);
        m_delegate->panel()->move(100, 100);
        m_delegate->panel()->show();
        m_delegate->applicationDidFinishLaunching();
        QVERIFY(QTest::qWaitForWindowExposed(m_delegate->panel()));
        QVERIFY(m_delegate->panel()->bypassesWindowManager());
    }

    void cleanup() { m_delegate.reset(); }

    void aDragReadsTheWindowListOnceNotAtEveryStep()
    {
        TitlelessPanel* panel = m_delegate->panel();
        const int fontBefore = m_delegate->input()->font().pixelSize();
        QPoint grip(panel->width() - 2, panel->height() - 2);
        int resizes = 0;
        connect(panel, &TitlelessPanel::windowDidResize, this, [&resizes] { ++resizes; });

        const unsigned long before = platform::x11::windowListReads();
        QTest::mousePress(panel, Qt::LeftButton, {}, grip);
        const unsigned long afterPress = platform::x11::windowListReads();
        // The press itself hands the keyboard back: PowerPoint's list, then the previous window's.
        QVERIFY(afterPress > before);
        QVERIFY(afterPress - before <= 2);

        constexpr int steps = 20;
        for (int i = 1; i <= steps; ++i) {
            grip += QPoint(15, 8);
            QTest::mouseMove(panel, grip);
            QCoreApplication::processEvents();
            grip = QPoint(panel->width() - 2, panel->height() - 2);
        }
        QTest::mouseRelease(panel, Qt::LeftButton, {}, grip);

        // The panel really was resized step by step, and each step was re-laid out.
        QVERIFY2(resizes >= steps - 1, qPrintable(QString::number(resizes)));
        QVERIFY(panel->width() > 340 + 200);
        QVERIFY(m_delegate->input()->font().pixelSize() > fontBefore);
        QCOMPARE(platform::x11::windowListReads(), afterPress);

        // Released: the next hand-back reads the list again, as every hand-back outside a drag does.
        QTest::mouseClick(panel, Qt::LeftButton, {}, QPoint(panel->width() / 2, 4));
        QVERIFY(platform::x11::windowListReads() > afterPress);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestResizeHandBack)
#include "tst_resizehandback.moc"
