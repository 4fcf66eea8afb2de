// What a tick leaves on the screen: the panel's picture in its backing store (what the window system was
// sent) after each tick, pause and edit is exactly the picture of the whole panel painted afresh, for
// several sizes, colours and both shadow settings, idle, running and in overtime, across the minus sign
// and the hours growing to three digits and back. And a tick repaints only the digits that changed, and
// paints them one at a time.
#include "AppDelegate.h"
#include "ColorArchive.h"
#include "FocusReturn.h"
#include "PreferenceController.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TimeDisplay.h"
#include "TitlelessPanel.h"

#include <QFontMetricsF>
#include <QLineEdit>
#include <QList>
#include <QPaintEvent>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <memory>

namespace {

// Collects the areas the time field is repainted in.
class PaintRecorder : public QObject
{
public:
    explicit PaintRecorder(QWidget* field) { field->installEventFilter(this); }
    QRegion painted;
    // Each paint the field was asked for, in order.
    QList<QRegion> paints;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            painted += static_cast<QPaintEvent*>(event)->region();
            paints.append(static_cast<QPaintEvent*>(event)->region());
        }
        return QObject::eventFilter(watched, event);
    }
};

struct Look
{
    QSize size;
    QColor text;
    QColor background;
    bool shadow = true;
};

} // namespace

class TestTickRepaint : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;

    AppDelegate& launch(const Look& look)
    {
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(look.text));
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(look.background));
        PreferenceController::setPreferenceDropShadow(look.shadow);
        PreferenceController::setPreferenceContinueCountdown(true);
        m_delegate = std::make_unique<AppDelegate>();
        m_delegate->panel()->resize(look.size);
        m_delegate->panel()->show();
        m_delegate->applicationDidFinishLaunching();
        if (!QTest::qWaitForWindowExposed(m_delegate->panel()))
            qWarning("panel not exposed");
        QCoreApplication::processEvents();
        return *m_delegate;
    }

    // What the screen holds: the window's backing store, into which only the repainted areas were drawn.
    QImage onScreen() const
    {
        QCoreApplication::processEvents();
        TitlelessPanel* panel = m_delegate->panel();
        return panel->screen()->grabWindow(panel->winId()).toImage().convertToFormat(QImage::Format_RGB32);
    }

    // The whole panel painted afresh, as a full repaint would show it.
    QImage paintedAfresh() const
    {
        return m_delegate->panel()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    static QString firstDifference(const QImage& a, const QImage& b)
    {
        if (a.size() != b.size())
            return QStringLiteral("sizes differ");
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                if (a.pixel(x, y) != b.pixel(x, y))
                    return QStringLiteral("first difference at %1,%2").arg(x).arg(y);
            }
        }
        return {};
    }

    void checkScreen(const char* step)
    {
        const QString difference = firstDifference(onScreen(), paintedAfresh());
        QVERIFY2(
            difference.isEmpty(),
            qPrintable(QStringLiteral("%1 (%2): %3").arg(step, m_delegate->input()->text(), difference)));
    }

    void startFrom(const QString& text)
    {
        m_delegate->input()->setText(text);
        m_delegate->startTimer();
        QVERIFY(!m_delegate->isPaused());
        // The test is the clock: a check of a 4K screen can take longer than a second on a loaded machine
        // under the sanitizers, and a tick of the real timer would then slip in between two of its own.
        const_cast<QTimer&>(m_delegate->countdownTimer()).stop();
    }

private slots:
    void init()
    {
        StoredSettings::forgetAll();
        FocusReturn::setActivator([] {});
    }

    void cleanup()
    {
        m_delegate.reset();
        FocusReturn::setActivator({});
    }

    void theScreenHoldsWhatAFullRepaintWouldShow_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QColor>("text");
        QTest::addColumn<QColor>("background");
        QTest::addColumn<bool>("shadow");
        QTest::newRow("small, black on white, shadow")
            << QSize(340, 120) << QColor(Qt::black) << QColor(Qt::white) << true;
        QTest::newRow("small, red on black, no shadow")
            << QSize(200, 60) << QColor(220, 0, 0) << QColor(Qt::black) << false;
        QTest::newRow("medium, yellow on blue")
            << QSize(800, 300) << QColor(255, 200, 0) << QColor(20, 30, 90) << true;
        QTest::newRow("large, white on green, translucent text")
            << QSize(1280, 800) << QColor(255, 255, 255, 140) << QColor(0, 110, 40) << false;
        QTest::newRow("4K, black on grey")
            << QSize(3840, 2160) << QColor(Qt::black) << QColor(200, 200, 200) << true;
    }

    void theScreenHoldsWhatAFullRepaintWouldShow()
    {
        QFETCH(QSize, size);
        QFETCH(QColor, text);
        QFETCH(QColor, background);
        QFETCH(bool, shadow);
        AppDelegate& d = launch({size, text, background, shadow});
        checkScreen("launch");

        // Idle: a new time put into the field, of the same length and of another.
        d.input()->setText(QStringLiteral("00:01:09"));
        checkScreen("idle, same length");
        d.input()->setText(QStringLiteral("0:0:10"));
        checkScreen("idle, shorter");

        // Running down through the tens of seconds and the minutes.
        startFrom(QStringLiteral("0:1:11"));
        checkScreen("started");
        for (int i = 0; i < 13; ++i) {
            d.tick();
            checkScreen("running");
        }

        // Into overtime: zero, then the minus sign and its re-layout.
        startFrom(QStringLiteral("0:0:2"));
        for (int i = 0; i < 4; ++i) {
            d.tick();
            checkScreen("through zero into overtime");
        }

        // Paused and resumed in overtime.
        d.onPauseResetClick();
        checkScreen("paused in overtime");
        d.startTimer();
        const_cast<QTimer&>(d.countdownTimer()).stop();
        d.tick();
        checkScreen("resumed in overtime");

        // The hours grow to three digits in overtime, and shrink back to two counting down.
        // (A minus sign before non-zero hours resumes a positive count; overtime is typed in seconds.)
        startFrom(QStringLiteral("-0:0:359998"));
        for (int i = 0; i < 3; ++i) {
            d.tick();
            checkScreen("hours growing");
        }
        QCOMPARE(d.input()->text(), QStringLiteral("-100:00:01"));
        startFrom(QStringLiteral("100:0:1"));
        for (int i = 0; i < 3; ++i) {
            d.tick();
            checkScreen("hours shrinking");
        }
        QCOMPARE(d.input()->text(), QStringLiteral("99:59:58"));
    }

    void aTickRepaintsOnlyTheDigitsThatChanged()
    {
        AppDelegate& d = launch({QSize(1280, 800), Qt::black, Qt::white, true});
        startFrom(QStringLiteral("1:0:0"));
        d.tick(); // 00:59:59, every digit but the hours'
        QCoreApplication::processEvents();
        TimeDisplay* display = d.timeDisplay();
        QVERIFY(display->isVisible());
        QVERIFY(!d.input()->isVisible());
        PaintRecorder recorder(display);
        PaintRecorder fieldPaints(d.input());
        d.tick(); // 00:59:58: the last digit
        QCoreApplication::processEvents();
        QCOMPARE(display->text(), QStringLiteral("00:59:58"));
        QCOMPARE(d.input()->text(), QStringLiteral("00:59:58"));
        const QRect area = recorder.painted.boundingRect();
        QVERIFY2(!area.isEmpty(), "the new digit was not painted");
        // The last of eight characters, with a margin for glyphs reaching past their cell: well under a
        // quarter of the time, and none of its first half.
        QVERIFY2(area.width() < display->width() / 4,
                 qPrintable(QStringLiteral("%1 of %2").arg(area.width()).arg(display->width())));
        QVERIFY(area.left() > display->width() / 2);
        QVERIFY(area.right() >= display->width() - 20);
        // The hidden field paints nothing.
        QVERIFY(fieldPaints.painted.isEmpty());

        // The minutes change: from the minutes' last digit on.
        for (int i = 0; i < 58; ++i)
            d.tick();
        QCOMPARE(display->text(), QStringLiteral("00:59:00"));
        QCoreApplication::processEvents();
        recorder.painted = {};
        recorder.paints.clear();
        d.tick();
        QCoreApplication::processEvents();
        QCOMPARE(display->text(), QStringLiteral("00:58:59"));
        const QRect minutes = recorder.painted.boundingRect();
        QVERIFY(minutes.left() > display->width() / 4);
        QVERIFY(minutes.width() < display->width() * 3 / 4);
        // Three digits changed, each repainted on its own: the colon between the minutes and the seconds
        // is not repainted, the digits on both sides of it are.
        const QPointF origin = display->textOrigin();
        const QFontMetricsF metrics(display->font());
        const auto centreOf = [&](int index) {
            return QPoint(qRound(origin.x() + metrics.horizontalAdvance(display->text().left(index)) +
                                 metrics.horizontalAdvance(display->text().at(index)) / 2),
                          qRound(origin.y() - metrics.ascent() / 2));
        };
        QVERIFY(!recorder.painted.contains(centreOf(5)));
        for (int index : {4, 6, 7})
            QVERIFY2(recorder.painted.contains(centreOf(index)), qPrintable(QString::number(index)));
        for (int index : {0, 1, 2, 3})
            QVERIFY(!recorder.painted.contains(centreOf(index)));
        // In one paint of three rectangles, each filled on its own.
        QCOMPARE(recorder.paints.size(), 1);
        QCOMPARE(recorder.paints.first().rectCount(), 3);
    }

    void theRunningTimeLooksAsTheFieldWouldShowIt_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QString>("time");
        QTest::newRow("340x120") << QSize(340, 120) << QStringLiteral("0:10:0");
        QTest::newRow("1280x800") << QSize(1280, 800) << QStringLiteral("1:0:0");
        QTest::newRow("4K, overtime") << QSize(3840, 2160) << QStringLiteral("-0:0:5");
        QTest::newRow("three-digit hours") << QSize(700, 200) << QStringLiteral("100:0:0");
    }

    void theRunningTimeLooksAsTheFieldWouldShowIt()
    {
        // A pause shows the field where the display was: nothing may move or change colour.
        QFETCH(QSize, size);
        QFETCH(QString, time);
        AppDelegate& d = launch({size, QColor(250, 220, 0), QColor(20, 30, 90), true});
        startFrom(time);
        d.tick();
        const QImage running = paintedAfresh();
        QLineEdit* field = d.input();
        // The field in the display's place, read-only as while running, drawn instead of it.
        d.timeDisplay()->hide();
        field->show();
        const QImage asField = paintedAfresh();
        QVERIFY2(firstDifference(running, asField).isEmpty(), qPrintable(firstDifference(running, asField)));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestTickRepaint)
#include "tst_tickrepaint.moc"
