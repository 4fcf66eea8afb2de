// The delegate and its panel on the offscreen platform: launch, typing, buttons, focus hand-back, layout,
// the context menu.
#include "AboutWindowController.h"
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "Brevlin.h"
#include "ColorArchive.h"
#include "ExternalLinks.h"
#include "FocusReturn.h"
#include "Playable.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"
#include "UserDefaults.h"

#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QFrame>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTest>

namespace {

class CountingSound : public Playable
{
public:
    void play() override { ++plays; }
    int plays = 0;
};

} // namespace

class TestAppDelegate : public QObject
{
    Q_OBJECT

private:
    int m_activations = 0;
    std::unique_ptr<AppDelegate> m_delegate;

    AppDelegate& launch(QSize size = {340, 120})
    {
        m_delegate = testsupport::launchPanel(size);
        if (!QTest::qWaitForWindowActive(m_delegate->panel()))
            qWarning("panel not active");
        // Let the activation that follows the first show be handled before the test acts.
        QTest::qWait(20);
        return *m_delegate;
    }

    // Clicks where a presenter's pointer would land: on whatever widget lies topmost at that point.
    static void clickAt(QWidget* panel, QPoint point, Qt::MouseButton button = Qt::LeftButton)
    {
        QWidget* target = panel->childAt(point);
        if (!target)
            target = panel;
        QTest::mouseClick(target, button, {}, target->mapFrom(panel, point));
    }

    static int gapAfterField(const AppDelegate& d)
    {
        const QRect field = d.input()->geometry();
        return d.playButton()->x() - (field.x() + field.width());
    }

    // Opens the panel's menu as a right click on its background does and clicks the entry of that text.
    // False when the menu did not open or has no such entry.
    bool chooseFromContextMenu(const QString& text)
    {
        TitlelessPanel* panel = m_delegate->panel();
        const QPoint at(15, 15);
        QContextMenuEvent rightClick(QContextMenuEvent::Mouse, at, panel->mapToGlobal(at));
        QCoreApplication::sendEvent(panel, &rightClick);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu || menu != m_delegate->rightClickMenu() || !QTest::qWaitForWindowExposed(menu))
            return false;
        for (QAction* action : menu->actions()) {
            if (action->text() == text && action->isEnabled()) {
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
                return !menu->isVisible();
            }
        }
        menu->close();
        return false;
    }

    static QPoint centredTopLeft(const QWidget& window)
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        return AboutWindowController::topLeftFromOrigin(
            AboutWindowController::centredOrigin(screen.size(), window.size()), window.size(), screen);
    }

    void typeAndReturn(const QString& text) { testsupport::typeAndReturn(*m_delegate, text); }

private slots:
    void init()
    {
        StoredSettings::forgetAll();
        m_activations = 0;
        FocusReturn::setActivator([this] { ++m_activations; });
    }

    void cleanup()
    {
        m_delegate.reset();
        FocusReturn::setActivator({});
    }

    void firstLaunchShowsOneMinuteWithThePlayButtonToTheRight()
    {
        AppDelegate& d = launch();
        QCOMPARE(d.input()->text(), QStringLiteral("00:01:00"));
        QVERIFY(d.playButton()->isVisible());
        QVERIFY(gapAfterField(d) > 0);
        QVERIFY(!d.pauseResetButton()->isEnabled());
        QVERIFY(!d.input()->isReadOnly());
        QVERIFY(d.isPaused());
        QVERIFY(!d.countdownTimer().isActive());
        // Everything is centred vertically.
        const int panelMiddle = d.panel()->height() / 2;
        QVERIFY(qAbs(d.input()->geometry().center().y() - panelMiddle) <= 1);
        QVERIFY(qAbs(d.playButton()->geometry().center().y() - panelMiddle) <= 1);
    }

    void launchNeverHandsFocusAway()
    {
        launch();
        QTest::qWait(50);
        QCOMPARE(m_activations, 0);
    }

    void launchConfiguresTheFloatingPanel()
    {
        AppDelegate& d = launch();
        QCOMPARE(d.panel()->level(), TitlelessPanel::Level::Status);
        QCOMPARE(d.panel()->collectionBehavior(), 273);
        QVERIFY(d.panel()->isMovableByWindowBackground());
        QVERIFY(d.panel()->windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(d.panel()->windowFlags() & Qt::WindowStaysOnTopHint);
        QVERIFY(TitlelessPanel::canBecomeKeyWindow());
        QVERIFY(d.panel()->hasShadow());
        // The stored default colours: black text on white.
        QCOMPARE(d.panel()->backgroundColor(), QColor(Qt::white));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::black));
    }

    void launchAppliesStoredColoursAndShadow()
    {
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(QColor(255, 200, 0)));
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(QColor(20, 30, 90)));
        PreferenceController::setPreferenceDropShadow(false);
        AppDelegate& d = launch();
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(255, 200, 0));
        QCOMPARE(d.panel()->backgroundColor(), QColor(20, 30, 90));
        QVERIFY(!d.panel()->hasShadow());
        // What the presenter sees: the panel's pixels are the stored background.
        const QImage image = d.panel()->grab().toImage();
        QCOMPARE(image.pixelColor(3, 3), QColor(20, 30, 90));
        // And the digits are drawn in the stored text colour.
        const QImage field = d.input()->grab().toImage();
        bool textColourDrawn = false;
        for (int y = 0; y < field.height() && !textColourDrawn; ++y)
            for (int x = 0; x < field.width() && !textColourDrawn; ++x)
                textColourDrawn = field.pixelColor(x, y) == QColor(255, 200, 0);
        QVERIFY(textColourDrawn);
    }

    void aStoredTextColourThatCannotBeSeenReadsAsTheDefault()
    {
        // Fully transparent text: the digits would vanish.
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(QColor(255, 0, 0, 0)));
        AppDelegate& d = launch();
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::black));
        const QImage field = d.input()->grab().toImage();
        bool blackDrawn = false;
        for (int y = 0; y < field.height() && !blackDrawn; ++y)
            for (int x = 0; x < field.width() && !blackDrawn; ++x)
                blackDrawn = field.pixelColor(x, y) == QColor(Qt::black);
        QVERIFY(blackDrawn);
        // Text of the background's own colour, and then a background that takes the text's colour: the
        // time stays readable either way, and comes back as stored once the colours differ again. The
        // panel follows the store once the preferences window has been opened.
        d.preferenceClick();
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(QColor(Qt::white)));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::black));
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(QColor(Qt::black)));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::white));
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(QColor(Qt::black)));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::white));
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(QColor(20, 30, 90)));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(Qt::black));
        // The store keeps what was written: only what is drawn is corrected.
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(Qt::black));
    }

    void damagedStoredColoursDoNotBreakTheLaunch()
    {
        UserDefaults::standardUserDefaults().setObject(QByteArray("not a colour"), PreferenceKeys::TextColor);
        UserDefaults::standardUserDefaults().setObject(QStringLiteral("junk"), PreferenceKeys::BgColor);
        AppDelegate& d = launch();
        QCOMPARE(d.input()->text(), QStringLiteral("00:01:00"));
        // Damaged data gives no colour, so the platform's own default shows, not some other colour.
        QCOMPARE(d.input()->palette().color(QPalette::Text), QPalette().color(QPalette::Text));
        QCOMPARE(d.panel()->backgroundColor(), QPalette().color(QPalette::Window));
        const QImage image = d.panel()->grab().toImage();
        QCOMPARE(image.pixelColor(3, 3), QPalette().color(QPalette::Window));
    }

    void registerDefaultsTwiceGivesAFreshSettingsObject()
    {
        AppDelegate d;
        d.registerDefaults();
        d.timerData()->setPlaySound(false);
        d.timerData()->setRemindEveryInterval(QStringLiteral("0:0:9"));
        d.registerDefaults();
        QVERIFY(d.timerData()->playSound());
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 300);
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
    }

    void readPrefsCopiesTheStoredSettings()
    {
        PreferenceController::setPreferenceCountdownTime(QStringLiteral("00:20:00"));
        PreferenceController::setPreferencePlaySound(false);
        PreferenceController::setPreferenceContinueCountdown(false);
        PreferenceController::setPreferencePlayReminderSound(false);
        PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:1:30"));
        PreferenceController::setPreferenceSoundFiles({"a.wav", "b.wav", "c.wav"});
        PreferenceController::setPreferenceSelectedSoundIndex(2);
        PreferenceController::setPreferenceReminderSoundIndex(1);
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(Qt::red));

        AppDelegate d;
        d.registerDefaults();
        d.readPrefs();
        const Brevlin& data = *d.timerData();
        QCOMPARE(data.countdownTime(), QStringLiteral("00:20:00"));
        QVERIFY(!data.playSound());
        QVERIFY(!data.continueCountdown());
        QVERIFY(!data.playReminderSound());
        QCOMPARE(data.remindEveryInterval(), QStringLiteral("0:1:30"));
        QCOMPARE(data.remindEveryIntervalSeconds(), 90);
        QCOMPARE(data.selectedSoundName(), QStringLiteral("c.wav"));
        QCOMPARE(data.reminderSoundName(), QStringLiteral("b.wav"));
        // The list, the indices and the colours are not the panel's business here.
        QCOMPARE(data.soundFiles(), Brevlin().soundFiles());
        QCOMPARE(data.selectedSoundIndex(), 0);
        QCOMPARE(data.reminderSoundIndex(), 4);
        QCOMPARE(data.bgColor(), QColor(Qt::white));
    }

    void readPrefsWithoutAStoredIntervalKeepsFiveMinutes()
    {
        AppDelegate d;
        d.registerDefaults();
        d.readPrefs();
        QVERIFY(d.timerData()->remindEveryInterval().isNull());
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 300);
        QCOMPARE(d.timerData()->selectedSoundName(), QStringLiteral("Left Coast Piano.mp3"));
        QCOMPARE(d.timerData()->reminderSoundName(), QStringLiteral("click_tin.wav"));
    }

    void returnInTheFieldStartsTheCountdown()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:5"));
        QVERIFY(d.countdownTimer().isActive());
        QCOMPARE(d.input()->text(), QStringLiteral("00:00:05"));
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:00:05"));
        QVERIFY(!d.isPaused());
        QCOMPARE(m_activations, 1);
        // Editing has ended: the field is read-only, without focus, and the play button is gone.
        QVERIFY(d.input()->isReadOnly());
        QVERIFY(d.panel()->focusWidget() != d.input());
        QVERIFY(d.playButton()->isHidden());
        QVERIFY(d.pauseResetButton()->isEnabled());
        QCOMPARE(d.pauseResetButton()->geometry(), d.input()->geometry());
    }

    void escapeIsNotActedUpon()
    {
        AppDelegate& d = launch();
        d.input()->setFocus();
        QTest::keyClick(d.input(), Qt::Key_Escape);
        QVERIFY(!d.countdownTimer().isActive());
        QCOMPARE(m_activations, 0);
        QVERIFY(!d.controlTextViewDoCommandBySelector(TextCommand::CancelOperation));
        QVERIFY(!d.controlTextViewDoCommandBySelector(TextCommand::Other));
        QVERIFY(!d.countdownTimer().isActive());
    }

    void theNewlineCommandIsNeverClaimed()
    {
        AppDelegate& d = launch();
        d.input()->setText(QStringLiteral("0:0:5"));
        QVERIFY(!d.controlTextViewDoCommandBySelector(TextCommand::InsertNewline));
        QVERIFY(d.countdownTimer().isActive());
    }

    void thePlayButtonStartsTheCountdown()
    {
        AppDelegate& d = launch();
        d.input()->setText(QStringLiteral("0:2:0"));
        clickAt(d.panel(), d.playButton()->geometry().center());
        QVERIFY(d.countdownTimer().isActive());
        QCOMPARE(d.input()->text(), QStringLiteral("00:02:00"));
    }

    void refusedTextsStillReturnFocus_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("5") << QStringLiteral("5");
        QTest::newRow("5:00") << QStringLiteral("5:00");
        QTest::newRow("1:2:3:4") << QStringLiteral("1:2:3:4");
    }
    void refusedTextsStillReturnFocus()
    {
        QFETCH(QString, typed);
        AppDelegate& d = launch();
        typeAndReturn(typed);
        QCOMPARE(m_activations, 1);
        QVERIFY(!d.countdownTimer().isActive());
        QCOMPARE(d.input()->text(), typed);
        QVERIFY(d.isPaused());
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
    }

    void anEmptyFieldShowsItsHintAndIsSizedToIt()
    {
        AppDelegate& d = launch();
        d.input()->clear();
        d.updateUI();
        QCOMPARE(d.input()->placeholderText(), QStringLiteral("h:mm:ss"));
        const qreal hintWidth = QFontMetricsF(d.input()->font()).horizontalAdvance(QStringLiteral("h:mm:ss"));
        QVERIFY2(d.input()->width() >= hintWidth, qPrintable(QString::number(d.input()->width())));
        // The play button keeps its gap from the field, not from an empty spot.
        QCOMPARE(d.playButton()->x(), d.input()->geometry().right() + 1 + 10);
        const QColor text = d.input()->palette().color(QPalette::Text);
        const QColor hint = d.input()->palette().color(QPalette::PlaceholderText);
        QCOMPARE(hint.rgb(), text.rgb());
        QVERIFY(hint.alphaF() < text.alphaF());
    }

    void aVeryLongTypingStopsAtTheLongestUsefulTime()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:2:0") + QString(300, QLatin1Char(' ')));
        QCOMPARE(d.input()->text(), QStringLiteral("00:02:00"));
        QCOMPARE(d.countdown().remainingSeconds(), 120);

        d.onPauseResetClick();
        d.input()->setFocus();
        d.input()->selectAll();
        QTest::keyClicks(d.input(), QString(300, QLatin1Char('9')));
        QCOMPARE(d.input()->text(), QString(AppDelegate::longestTypedTime, QLatin1Char('9')));
    }

    void aRefusedTextLeavesARunningCountdownRunning()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:10:0"));
        d.tick();
        d.input()->setText(QStringLiteral("5"));
        d.startTimer();
        QVERIFY(d.countdownTimer().isActive());
        QCOMPARE(d.countdown().remainingSeconds(), 599);
    }

    void fieldsArePersistedAsShown()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:90:0"));
        QCOMPARE(d.input()->text(), QStringLiteral("00:90:00"));
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:90:00"));
        d.tick();
        QCOMPARE(d.input()->text(), QStringLiteral("01:29:59"));
        // Only a start persists: a tick does not.
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:90:00"));
    }

    void aClickOnTheRunningTimePausesIt()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:30"));
        d.tick();
        clickAt(d.panel(), d.input()->geometry().center());
        QVERIFY(d.isPaused());
        QVERIFY(!d.countdownTimer().isActive());
        QCOMPARE(d.input()->text(), QStringLiteral("00:00:29"));
        QVERIFY(!d.input()->isReadOnly());
        QVERIFY(d.playButton()->isVisible());
        QVERIFY(!d.pauseResetButton()->isEnabled());
        // Pausing itself hands nothing away: only the start did.
        QCOMPARE(m_activations, 1);
    }

    void afterPausingTheTimeCanBeClickedAndEdited()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:30"));
        d.onPauseResetClick();
        // The disabled pause button still lies over the time; the click must reach the field.
        const QPoint onTime = d.input()->geometry().center();
        QCOMPARE(d.panel()->childAt(onTime), d.input());
        clickAt(d.panel(), onTime);
        QCOMPARE(d.panel()->focusWidget(), d.input());
        QCOMPARE(m_activations, 1);
    }

    void pauseThenStartResumesAndPersistsTheResumedTime()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:10"));
        for (int i = 0; i < 3; ++i)
            d.tick();
        d.onPauseResetClick();
        d.startTimer();
        QCOMPARE(d.countdown().remainingSeconds(), 7);
        QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:00:07"));
    }

    void pausedOvertimeResumesAsOvertime()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:1"));
        for (int i = 0; i < 4; ++i)
            d.tick();
        QCOMPARE(d.input()->text(), QStringLiteral("-00:00:03"));
        d.onPauseResetClick();
        d.startTimer();
        QCOMPARE(d.countdown().remainingSeconds(), -3);
        d.tick();
        QCOMPARE(d.input()->text(), QStringLiteral("-00:00:04"));
    }

    void atZeroWithoutContinuingTheCountStopsAndStaysRunningLooking()
    {
        PreferenceController::setPreferenceContinueCountdown(false);
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("00:00:03"));
        QStringList shown;
        for (int i = 0; i < 5; ++i) {
            d.tick();
            shown << d.input()->text();
        }
        QCOMPARE(shown, QStringList({"00:00:02", "00:00:01", "00:00:00", "00:00:00", "00:00:00"}));
        QVERIFY(!d.countdownTimer().isActive());
        QVERIFY(!d.isPaused());
        QVERIFY(d.playButton()->isHidden());
        QVERIFY(d.pauseResetButton()->isEnabled());
    }

    void soundsAreAskedToPlayExactlyOnTheirTicks()
    {
        AppDelegate& d = launch();
        auto end = std::make_shared<CountingSound>();
        auto reminder = std::make_shared<CountingSound>();
        d.setEndSound(end);
        d.setReminderSound(reminder);
        d.timerData()->setRemindEveryInterval(QStringLiteral("0:0:2"));
        typeAndReturn(QStringLiteral("0:0:2"));
        QList<int> endAt, reminderAt;
        for (int i = 1; i <= 7; ++i) {
            const int endBefore = end->plays, reminderBefore = reminder->plays;
            d.tick();
            if (end->plays != endBefore)
                endAt << i;
            if (reminder->plays != reminderBefore)
                reminderAt << i;
        }
        // Ticks: 1, 0, -1 (end), -2 (reminder), -3, -4 (reminder), -5.
        QCOMPARE(endAt, QList<int>({3}));
        QCOMPARE(reminderAt, QList<int>({4, 6}));
    }

    void emptySoundHandlesPlayNothingAndBreakNothing()
    {
        AppDelegate& d = launch();
        d.timerData()->setRemindEveryInterval(QStringLiteral("0:0:1"));
        typeAndReturn(QStringLiteral("0:0:1"));
        for (int i = 0; i < 4; ++i)
            d.tick();
        QCOMPARE(d.input()->text(), QStringLiteral("-00:00:03"));
    }

    void aNewStartReplacesTheRunningCount()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:30"));
        d.tick();
        d.input()->setText(QStringLiteral("0:5:0"));
        d.startTimer();
        QVERIFY(d.countdownTimer().isActive());
        QCOMPARE(d.countdown().remainingSeconds(), 300);
    }

    void aPressOnThePanelBackgroundReturnsFocus()
    {
        AppDelegate& d = launch();
        clickAt(d.panel(), {15, 15});
        QCOMPARE(m_activations, 1);
        // The right button opens the menu instead.
        clickAt(d.panel(), {15, 15}, Qt::RightButton);
        QCOMPARE(m_activations, 1);
    }

    void aTouchOnThePanelReturnsFocus()
    {
        AppDelegate& d = launch();
        QPointingDevice* touchscreen = QTest::createTouchDevice();
        QTest::touchEvent(d.panel(), touchscreen).press(0, {15, 15});
        QCOMPARE(m_activations, 0);
        QTest::touchEvent(d.panel(), touchscreen).release(0, {15, 15});
        QCOMPARE(m_activations, 1);
    }

    void resizingRelayoutsAndReturnsFocus()
    {
        AppDelegate& d = launch({340, 120});
        const int before = d.input()->font().pixelSize();
        d.panel()->resize(680, 240);
        QCOMPARE(m_activations, 1);
        QVERIFY(d.input()->font().pixelSize() > before);
        QVERIFY(gapAfterField(d) > 0);
        QVERIFY2(d.playButton()->geometry().right() < d.panel()->width(),
                 qPrintable(QStringLiteral("field %1+%2 button %3+%4 font %5")
                                .arg(d.input()->x())
                                .arg(d.input()->width())
                                .arg(d.playButton()->x())
                                .arg(d.playButton()->width())
                                .arg(d.input()->font().pixelSize())));
    }

    // Makes another window the active one, so that the panel's next activation is a real one.
    static void activateAnotherWindow(QWidget& other)
    {
        other.resize(100, 100);
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
    }

    void becomingKeyWhileNotEditingReturnsFocus()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:5:0"));
        QCOMPARE(m_activations, 1);
        QWidget other;
        activateAnotherWindow(other);
        d.panel()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(d.panel()));
        // Handed back on the activation itself, not some time after it.
        QCOMPARE(m_activations, 2);
    }

    void becomingKeyWhileTypingKeepsFocus()
    {
        AppDelegate& d = launch();
        d.input()->setFocus();
        QWidget other;
        activateAnotherWindow(other);
        QCOMPARE(d.panel()->focusWidget(), d.input());
        d.panel()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(d.panel()));
        QCOMPARE(m_activations, 0);
        QCOMPARE(QApplication::focusWidget(), d.input());
    }

    void afterAPauseAClickIntoTheTimeTakesTheKeyboardAndKeepsIt()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:30"));
        clickAt(d.panel(), d.input()->geometry().center());
        QVERIFY(d.isPaused());
        QWidget other;
        activateAnotherWindow(other);
        QCOMPARE(m_activations, 1);
        // The presenter clicks into the time of the inactive, paused panel and types a new one.
        clickAt(d.panel(), d.input()->geometry().center());
        QVERIFY(QTest::qWaitForWindowActive(d.panel()));
        QCOMPARE(QApplication::focusWidget(), d.input());
        QCOMPARE(m_activations, 1);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("0:0:7"));
        QCOMPARE(d.input()->text(), QStringLiteral("0:0:7"));
        QCOMPARE(m_activations, 1);
    }

    void aClickOnTheRunningTimeDoesNotTakeTheKeyboard()
    {
        AppDelegate& d = launch();
        typeAndReturn(QStringLiteral("0:0:30"));
        QWidget other;
        activateAnotherWindow(other);
        clickAt(d.panel(), d.input()->geometry().center());
        QVERIFY(d.isPaused());
        QTest::qWait(20);
        QVERIFY(QApplication::activeWindow() != d.panel());
    }

    void theDigitsGrowWhenTheCountStartsAndShrinkOnPause()
    {
        AppDelegate& d = launch({340, 200});
        const int idle = d.input()->font().pixelSize();
        typeAndReturn(QStringLiteral("0:5:0"));
        const int running = d.input()->font().pixelSize();
        QVERIFY2(running > idle, qPrintable(QStringLiteral("%1 %2").arg(idle).arg(running)));
        d.onPauseResetClick();
        QCOMPARE(d.input()->font().pixelSize(), idle);
    }

    void aPanelThirtyHighUsesSizeNine()
    {
        AppDelegate& d = launch({300, 30});
        QCOMPARE(d.input()->font().pixelSize(), 9);
    }

    void aHugePanelUsesSize999()
    {
        AppDelegate& d = launch({20000, 20000});
        QCOMPARE(d.input()->font().pixelSize(), 999);
    }

    void thePlayButtonSitsASeventhFurtherFromAnEightCharacterTime()
    {
        AppDelegate& d = launch({500, 150});
        QCOMPARE(d.input()->text().size(), 8);
        const int width = d.input()->width();
        QVERIFY(qAbs(gapAfterField(d) - (10 + width / 7.0)) <= 1.0);
    }

    void thePlayButtonSitsTheGapFromANineCharacterTime()
    {
        AppDelegate& d = launch({500, 150});
        typeAndReturn(QStringLiteral("-0:0:5"));
        d.onPauseResetClick();
        QCOMPARE(d.input()->text(), QStringLiteral("-00:00:05"));
        QVERIFY(qAbs(gapAfterField(d) - 10) <= 1);
    }

    void theMinusSignRelaysTheRunningTimeOut()
    {
        AppDelegate& d = launch({500, 150});
        typeAndReturn(QStringLiteral("0:0:1"));
        d.tick();
        d.tick();
        QCOMPARE(d.input()->text(), QStringLiteral("-00:00:01"));
        // Centred again now that the text is wider, and the pause button follows it.
        const QRect field = d.input()->geometry();
        QVERIFY(qAbs((field.x() + field.width() / 2.0) - d.panel()->width() / 2.0) <= 1);
        QCOMPARE(d.pauseResetButton()->geometry(), field);
    }

    void theWholeTimeIsVisibleInTheField()
    {
        AppDelegate& d = launch({340, 120});
        for (const QString& text : {QStringLiteral("-00:00:05"), QStringLiteral("100:00:00")}) {
            d.input()->setText(text);
            d.updateUI();
            auto caret = [&d] { return d.input()->inputMethodQuery(Qt::ImCursorRectangle).toRect(); };
            // Nothing scrolled out: the start of the text is at the start of the field, the end inside it.
            d.input()->setCursorPosition(0);
            QVERIFY2(caret().left() <= 3, qPrintable(text));
            d.input()->setCursorPosition(int(text.size()));
            QVERIFY2(caret().right() <= d.input()->width(), qPrintable(text));
        }
    }

    void aRealThreeSecondCountdownReachesOvertimeAfterAboutFourSeconds()
    {
        AppDelegate& d = launch();
        QElapsedTimer clock;
        clock.start();
        typeAndReturn(QStringLiteral("0:0:3"));
        QTRY_COMPARE_WITH_TIMEOUT(d.input()->text(), QStringLiteral("-00:00:01"), 10000);
        const qint64 elapsed = clock.elapsed();
        QVERIFY2(elapsed > 3500 && elapsed < 7000, qPrintable(QString::number(elapsed)));
    }

    void theContextMenuOffersEveryEntryInAPresentersOrder()
    {
        AppDelegate& d = launch();
        QContextMenuEvent rightClick(QContextMenuEvent::Mouse, {15, 15},
                                     d.panel()->mapToGlobal(QPoint(15, 15)));
        QCoreApplication::sendEvent(d.panel(), &rightClick);
        QCOMPARE(QApplication::activePopupWidget(), d.rightClickMenu());
        QStringList entries;
        for (const QAction* action : d.rightClickMenu()->actions())
            entries << (action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(entries, QStringList({QStringLiteral("Preferences…"), QStringLiteral("-"),
                                       QStringLiteral("User Guide"), QStringLiteral("Contact Support"),
                                       QStringLiteral("About Brevlin"), QStringLiteral("-"),
                                       QStringLiteral("Quit Brevlin")}));
        d.rightClickMenu()->close();
        // The right click itself sends the keyboard nowhere.
        QCOMPARE(m_activations, 0);
    }

    void theHelpEntriesOpenTheirExactAddresses()
    {
        QList<QUrl> opened;
        const ExternalLinks::Opener previous =
            ExternalLinks::setOpener([&opened](const QUrl& url) { opened << url; });
        launch();
        QVERIFY(chooseFromContextMenu(QStringLiteral("Contact Support")));
        QCOMPARE(opened, QList<QUrl>({ExternalLinks::contactPage()}));
        QVERIFY(chooseFromContextMenu(QStringLiteral("User Guide")));
        QCOMPARE(opened, QList<QUrl>({ExternalLinks::contactPage(), ExternalLinks::userGuide()}));
        ExternalLinks::setOpener(previous);

        // Secure pages of one site: the contact page at "/contact/", the guide a page under
        // "/knowledgebase/".
        const QUrl contact = opened.at(0);
        const QUrl guide = opened.at(1);
        QCOMPARE(contact.scheme(), QStringLiteral("https"));
        QCOMPARE(contact.path(), QStringLiteral("/contact/"));
        QCOMPARE(guide.scheme(), QStringLiteral("https"));
        QVERIFY(!contact.host().isEmpty());
        QCOMPARE(guide.host(), contact.host());
        QVERIFY(guide.path().startsWith(QStringLiteral("/knowledgebase/")));
        QVERIFY(guide.path().size() > QStringLiteral("/knowledgebase/").size());
        // Neither opened anything else, nor moved the keyboard.
        QCOMPARE(opened.size(), 2);
        QCOMPARE(m_activations, 0);
    }

    void everyAboutEntryOpensAFreshCentredWindow()
    {
        AppDelegate& d = launch();
        QVERIFY(!d.aboutWindowController());
        QVERIFY(chooseFromContextMenu(QStringLiteral("About Brevlin")));
        const QPointer<AboutWindowController> first = d.aboutWindowController();
        QVERIFY(first);
        QFrame* firstWindow = first->aboutWindow();
        QVERIFY(QTest::qWaitForWindowExposed(firstWindow));
        QCOMPARE(firstWindow->pos(), centredTopLeft(*firstWindow));
        firstWindow->move(firstWindow->pos() + QPoint(40, 30));
        const QPoint moved = firstWindow->pos();

        QVERIFY(chooseFromContextMenu(QStringLiteral("About Brevlin")));
        const QPointer<AboutWindowController> second = d.aboutWindowController();
        QVERIFY(second && second != first);
        QFrame* secondWindow = second->aboutWindow();
        QVERIFY(QTest::qWaitForWindowExposed(secondWindow));
        QVERIFY(secondWindow != firstWindow);
        QCOMPARE(secondWindow->pos(), centredTopLeft(*secondWindow));
        // Two windows: the first one stays where the presenter left it until it is closed.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first);
        QVERIFY(firstWindow->isVisible());
        QCOMPARE(firstWindow->pos(), moved);

        QTest::mouseClick(first->closeButton(), Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!first);
        QVERIFY(second);
        QVERIFY(secondWindow->isVisible());
        // The newest one is kept after it is closed, until the next opening.
        QTest::mouseClick(second->closeButton(), Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(second);
        QVERIFY(!secondWindow->isVisible());
        QVERIFY(chooseFromContextMenu(QStringLiteral("About Brevlin")));
        QVERIFY(!second);
        QCOMPARE(m_activations, 0);
    }

    void quitEndsTheEventLoop()
    {
        AppDelegate& d = launch();
        QTimer::singleShot(0, &d, &AppDelegate::quit);
        QTimer watchdog;
        watchdog.setSingleShot(true);
        bool timedOut = false;
        connect(&watchdog, &QTimer::timeout, [&] {
            timedOut = true;
            QCoreApplication::exit(1);
        });
        watchdog.start(5000);
        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY(!timedOut);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestAppDelegate)
#include "tst_appdelegate.moc"
