// The panel's colours near and past the end and its flash at zero, switched on in the preferences window
// as a presenter does and read from the panel's own pixels.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "ColorWell.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

using namespace PreferencesTest;

namespace {

const QColor StoredText(Qt::black);
const QColor StoredBackground(Qt::white);
const QColor Amber(0xff, 0xbf, 0x00);
const QColor Red(0xc6, 0x28, 0x28);
const QColor Purple(0x6a, 0x1b, 0x9a);

// What the presenter sees of the panel: its background (a corner inside the edge) and whether the time is
// drawn in the given colour (glyph interiors carry the exact colour).
struct Look
{
    QColor background;
    int textPixels;
};

} // namespace

class TestSignalColours : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;
    PreferenceWindowController* m_prefs = nullptr;

    AppDelegate& launch()
    {
        m_delegate = testsupport::launchPanel({340, 120});
        if (!QTest::qWaitForWindowExposed(m_delegate->panel()))
            qWarning("panel not shown");
        m_prefs = openPreferencesFromMenu(*m_delegate);
        if (!m_prefs)
            qFatal("no preferences window");
        return *m_delegate;
    }

    template <typename T>
    T* control(const char* name) const
    {
        T* widget = m_prefs->prefsWindow()->findChild<T*>(QLatin1String(name));
        if (!widget)
            qFatal("no control %s", name);
        return widget;
    }

    Look look(const QColor& text) const
    {
        const QImage image = m_delegate->panel()->grab().toImage().convertToFormat(QImage::Format_RGB32);
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += QColor(image.pixel(x, y)) == text ? 1 : 0;
        }
        return {QColor(image.pixel(4, 4)), count};
    }

    // The panel's background once it shows that time, and that the time is drawn in the text colour.
    bool showsAt(const QString& time, const QColor& background, const QColor& text)
    {
        if (!QTest::qWaitFor([&] { return m_delegate->input()->text() == time; }, 5000)) {
            qWarning("never showed %s", qPrintable(time));
            return false;
        }
        const Look seen = look(text);
        if (seen.background != background || seen.textPixels < 20) {
            qWarning("at %s: background %s, %d pixels of %s", qPrintable(time),
                     qPrintable(seen.background.name()), seen.textPixels, qPrintable(text.name()));
            return false;
        }
        return true;
    }

    void start(const QString& time) { testsupport::typeAndReturn(*m_delegate, time); }

    // The times at which the panel's background changed over the next `ms`, from now.
    QList<qint64> backgroundChanges(int ms)
    {
        QList<qint64> changes;
        QElapsedTimer clock;
        clock.start();
        QColor last = look(StoredText).background;
        while (clock.elapsed() < ms) {
            QTest::qWait(20);
            const QColor now = m_delegate->panel()->grab().toImage().pixelColor(4, 4);
            if (now != last)
                changes << clock.elapsed();
            last = now;
        }
        return changes;
    }

    static int mostChangesInOneSecond(const QList<qint64>& changes)
    {
        int most = 0;
        for (qsizetype i = 0; i < changes.size(); ++i) {
            int inWindow = 0;
            for (qsizetype j = i; j < changes.size() && changes[j] < changes[i] + 1000; ++j)
                ++inWindow;
            most = qMax(most, inWindow);
        }
        return most;
    }

private slots:
    void init() { StoredSettings::forgetAll(); }

    void cleanup()
    {
        m_delegate.reset();
        StoredSettings::forgetAll();
    }

    void aCountdownCrossesBothThresholdsIntoOvertime()
    {
        AppDelegate& d = launch();
        click(control<QCheckBox>("changeColorsCheckbox"));
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("0:0:05"));
        retype(control<QLineEdit>("finalAtField"), QStringLiteral("0:0:03"));
        click(control<QCheckBox>("overtimeColorsCheckbox"));
        QCOMPARE(PreferenceController::preferenceWarnAt(), QStringLiteral("0:0:05"));

        start(QStringLiteral("0:0:8"));
        QVERIFY(showsAt(QStringLiteral("00:00:08"), StoredBackground, StoredText));
        QVERIFY(showsAt(QStringLiteral("00:00:06"), StoredBackground, StoredText));
        QVERIFY(showsAt(QStringLiteral("00:00:05"), Amber, Qt::black));
        QVERIFY(showsAt(QStringLiteral("00:00:04"), Amber, Qt::black));
        QVERIFY(showsAt(QStringLiteral("00:00:03"), Red, Qt::white));
        QVERIFY(showsAt(QStringLiteral("00:00:00"), Red, Qt::white));
        QVERIFY(showsAt(QStringLiteral("-00:00:01"), Purple, Qt::white));
        // The caret and the edge are drawn from the same two colours.
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::white));
        QCOMPARE(d.panel()->backgroundColor(), Purple);

        // The pause/reset button: the presenter's own colours again, at once.
        QTest::mouseClick(d.pauseResetButton(), Qt::LeftButton);
        QVERIFY(d.isPaused());
        const Look idle = look(StoredText);
        QCOMPARE(idle.background, StoredBackground);
        QVERIFY(idle.textPixels >= 20);
    }

    void withTheSwitchOffThePanelNeverChanges()
    {
        launch();
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("0:0:05"));
        retype(control<QLineEdit>("finalAtField"), QStringLiteral("0:0:03"));
        start(QStringLiteral("0:0:3"));
        QVERIFY(showsAt(QStringLiteral("00:00:03"), StoredBackground, StoredText));
        QVERIFY(showsAt(QStringLiteral("00:00:00"), StoredBackground, StoredText));
        QVERIFY(showsAt(QStringLiteral("-00:00:01"), StoredBackground, StoredText));
    }

    void aChangeInTheWindowShowsOnTheRunningPanelWhenTheSetterReturns()
    {
        AppDelegate& d = launch();
        start(QStringLiteral("0:10:0"));
        QVERIFY(showsAt(QStringLiteral("00:10:00"), StoredBackground, StoredText));
        click(control<QCheckBox>("changeColorsCheckbox"));
        // 10 minutes left is above both thresholds.
        QCOMPARE(look(StoredText).background, StoredBackground);
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("0:20:00"));
        QCOMPARE(look(Qt::black).background, Amber);
        QVERIFY(pickColor(control<ColorWell>("warnBgColorWell"), QColor(0, 128, 0)));
        QCOMPARE(look(Qt::black).background, QColor(0, 128, 0));
        QVERIFY(pickColor(control<ColorWell>("warnTextColorWell"), QColor(255, 255, 0)));
        QVERIFY(look(QColor(255, 255, 0)).textPixels >= 20);
        // A threshold that is not a time is never reached.
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("20 minutes"));
        QCOMPARE(look(StoredText).background, StoredBackground);
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("0:20:00"));
        QCOMPARE(look(QColor(255, 255, 0)).background, QColor(0, 128, 0));
        click(control<QCheckBox>("changeColorsCheckbox"));
        QCOMPARE(look(StoredText).background, StoredBackground);
        QVERIFY(!d.isPaused());
    }

    void theResetButtonTakesTheSignalsBackToTheOpening()
    {
        launch();
        start(QStringLiteral("0:10:0"));
        click(control<QCheckBox>("changeColorsCheckbox"));
        retype(control<QLineEdit>("warnAtField"), QStringLiteral("1:00:00"));
        click(control<QCheckBox>("flashCheckbox"));
        QCOMPARE(look(Qt::black).background, Amber);
        QTest::mouseClick(m_prefs->resetButton(), Qt::LeftButton);
        QCOMPARE(look(StoredText).background, StoredBackground);
        QCOMPARE(control<QCheckBox>("changeColorsCheckbox")->isChecked(), false);
        QCOMPARE(control<QLineEdit>("warnAtField")->text(), QStringLiteral("0:05:00"));
        QCOMPARE(PreferenceController::preferenceChangeColorsNearEnd(), false);
        QCOMPARE(PreferenceController::preferenceWarnAt(), QStringLiteral("0:05:00"));
        QCOMPARE(PreferenceController::preferenceFlashAtZero(), false);
    }

    void theFlashAtZeroAlternatesTwiceASecondForFiveSeconds()
    {
        AppDelegate& d = launch();
        click(control<QCheckBox>("flashCheckbox"));
        start(QStringLiteral("0:0:1"));
        QVERIFY(showsAt(QStringLiteral("00:00:00"), StoredBackground, StoredText));
        // The flash comes with the end sound, when the count passes zero.
        QVERIFY(QTest::qWaitFor([&] { return d.isFlashSwapped(); }, 2000));
        QCOMPARE(look(StoredBackground).background, StoredText);
        const QList<qint64> changes = backgroundChanges(6500);
        // The first swap happened before recording: nine more, the last one back to the stored colours.
        QCOMPARE(changes.size(), 9);
        QVERIFY2(mostChangesInOneSecond(changes) <= 3,
                 qPrintable(QString::number(mostChangesInOneSecond(changes))));
        QVERIFY2(changes.last() - changes.first() >= 3500 && changes.last() - changes.first() <= 4500,
                 qPrintable(QString::number(changes.last() - changes.first())));
        QVERIFY(!d.isFlashing());
        QCOMPARE(look(StoredText).background, StoredBackground);
        QVERIFY(d.input()->text().startsWith(QLatin1Char('-')));
    }

    void aFlashStopsWhenTheCountdownIsPaused()
    {
        AppDelegate& d = launch();
        click(control<QCheckBox>("flashCheckbox"));
        start(QStringLiteral("0:0:1"));
        QVERIFY(QTest::qWaitFor([&] { return d.isFlashSwapped(); }, 3000));
        QTest::mouseClick(d.pauseResetButton(), Qt::LeftButton);
        QCOMPARE(look(StoredText).background, StoredBackground);
        QVERIFY(backgroundChanges(1500).isEmpty());
        QVERIFY(!d.isFlashing());
    }

    void inOvertimeEachReminderFlashesOnce()
    {
        launch();
        click(control<QCheckBox>("flashCheckbox"));
        retype(m_prefs->tfRemindEveryM(), QStringLiteral("0"));
        retype(m_prefs->tfRemindEveryS(), QStringLiteral("2"));
        // Resumed in overtime, so no flash at zero: -8 and -10 are reminders.
        start(QStringLiteral("-00:00:07"));
        QVERIFY(showsAt(QStringLiteral("-00:00:07"), StoredBackground, StoredText));
        const QList<qint64> changes = backgroundChanges(3900);
        QCOMPARE(changes.size(), 4);
        // Each flash is a swap and a swap back half a second later.
        QVERIFY(changes[1] - changes[0] >= 300 && changes[1] - changes[0] <= 700);
        QVERIFY(changes[3] - changes[2] >= 300 && changes[3] - changes[2] <= 700);
        QVERIFY(changes[2] - changes[0] >= 1700 && changes[2] - changes[0] <= 2300);
        QVERIFY(mostChangesInOneSecond(changes) <= 3);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSignalColours)
#include "tst_signalcolours.moc"
