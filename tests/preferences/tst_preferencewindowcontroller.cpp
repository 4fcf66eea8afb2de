// The preferences window on its own, on the offscreen platform: what it shows when opened, what each
// control writes to the store, the reset, and the interval text.
#include "PreferenceWindowController.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "ColorWell.h"
#include "DefaultsRegistration.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "PreferencesTestSupport.h"
#include "Stepper.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace PreferencesTest;

class TestPreferenceWindowController : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<PreferenceWindowController> m_controller;

    PreferenceWindowController& open()
    {
        m_controller = std::make_unique<PreferenceWindowController>();
        m_controller->showWindow();
        if (!QTest::qWaitForWindowExposed(m_controller->prefsWindow()))
            qWarning("preferences window not exposed");
        return *m_controller;
    }

    static QCheckBox* continueCountdownCheckbox(PreferenceWindowController& c)
    {
        return c.prefsWindow()->findChild<QCheckBox*>(QStringLiteral("continueCountdownCheckbox"));
    }
    static QCheckBox* returnFocusCheckbox(PreferenceWindowController& c)
    {
        return c.prefsWindow()->findChild<QCheckBox*>(QStringLiteral("returnFocusCheckbox"));
    }
    static Stepper* stepper(PreferenceWindowController& c)
    {
        return c.prefsWindow()->findChild<Stepper*>(QStringLiteral("stepperRemindEveryH"));
    }

    static void storeAppearance(const QColor& text, const QColor& background, bool shadow)
    {
        PreferenceController::setPreferenceTextColor(archivedDataWithRootObject(text));
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(background));
        PreferenceController::setPreferenceDropShadow(shadow);
    }

private slots:
    // As in the running app: the built-in defaults registered beneath an empty store.
    void init()
    {
        StoredSettings::forgetAll();
        UserDefaults::standardUserDefaults().registerDefaults(registrationDefaults(Brevlin()));
    }
    void cleanup() { m_controller.reset(); }

    void openingShowsTheStoredAppearance()
    {
        storeAppearance(QColor(250, 200, 0), QColor(10, 20, 90), false);
        PreferenceWindowController& c = open();
        QCOMPARE(c.textColorWell()->color(), QColor(250, 200, 0));
        QCOMPARE(c.bgColorWell()->color(), QColor(10, 20, 90));
        QVERIFY(!c.dropShadowCheckbox()->isChecked());
        const auto& values = PreferenceWindowController::sharedValues();
        QCOMPARE(values.openingTextColor, QColor(250, 200, 0));
        QCOMPARE(values.openingBgColor, QColor(10, 20, 90));
        QCOMPARE(values.openingTextColorData, PreferenceController::preferenceTextColor());
        QCOMPARE(values.openingBgColorData, PreferenceController::preferenceBgColor());
        QVERIFY(!values.openingDropShadow);
        QVERIFY(!values.currentDropShadow);
    }

    void withNothingStoredTheWindowStartsFromWhiteTextOnBlack()
    {
        StoredSettings::forgetAll();
        PreferenceWindowController& c = open();
        QCOMPARE(c.textColorWell()->color(), QColor(Qt::white));
        QCOMPARE(c.bgColorWell()->color(), QColor(Qt::black));
        // An absent shadow setting reads as off.
        QVERIFY(!c.dropShadowCheckbox()->isChecked());
        click(c.resetButton());
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(Qt::white));
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(Qt::black));
        QVERIFY(!PreferenceController::preferenceDropShadow());
    }

    void damagedColourDataLeavesTheLayoutColourAndComesBackUnchanged()
    {
        const QByteArray junk("not a colour");
        UserDefaults::standardUserDefaults().setObject(junk, PreferenceKeys::TextColor);
        UserDefaults::standardUserDefaults().setObject(junk, PreferenceKeys::BgColor);
        PreferenceController::setPreferencePlaySound(false);
        PreferenceWindowController& c = open();
        QVERIFY(!PreferenceWindowController::sharedValues().currentTextColor.isValid());
        QVERIFY(!PreferenceWindowController::sharedValues().currentBgColor.isValid());
        // The layout's colours: black text on white.
        QCOMPARE(c.textColorWell()->color(), QColor(Qt::black));
        QCOMPARE(c.bgColorWell()->color(), QColor(Qt::white));
        click(c.resetButton());
        QCOMPARE(PreferenceController::preferenceTextColor(), junk);
        QCOMPARE(PreferenceController::preferenceBgColor(), junk);
        QCOMPARE(c.textColorWell()->color(), QColor(Qt::black));
        QVERIFY(!PreferenceController::preferencePlaySound());
    }

    void theOtherControlsShowTheStoredSettings()
    {
        PreferenceController::setPreferencePlaySound(false);
        PreferenceController::setPreferenceContinueCountdown(false);
        PreferenceController::setPreferencePlayReminderSound(true);
        PreferenceController::setPreferenceSoundFiles({"a.wav", "b.wav", "c.wav"});
        PreferenceController::setPreferenceSelectedSoundIndex(2);
        PreferenceController::setPreferenceReminderSoundIndex(1);
        PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("1:20:5"));
        PreferenceController::setPreferenceReturnFocusToPreviousWindow(false);
        PreferenceWindowController& c = open();
        QVERIFY(!c.playSoundCheckbox()->isChecked());
        QVERIFY(!continueCountdownCheckbox(c)->isChecked());
        QVERIFY(c.playReminderSoundCheckbox()->isChecked());
        QVERIFY(!returnFocusCheckbox(c)->isChecked());
        for (QComboBox* popUp : {c.soundFilesDropdownList(), c.reminderSoundFilesDropdownList()}) {
            QCOMPARE(popUp->count(), 3);
            QCOMPARE(popUp->itemText(0), QStringLiteral("a.wav"));
        }
        QCOMPARE(c.soundFilesDropdownList()->currentIndex(), 2);
        QCOMPARE(c.reminderSoundFilesDropdownList()->currentIndex(), 1);
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("1"));
        QCOMPARE(c.tfRemindEveryM()->text(), QStringLiteral("20"));
        QCOMPARE(c.tfRemindEveryS()->text(), QStringLiteral("5"));
        QCOMPARE(stepper(c)->value(), 1);
        QCOMPARE(c.timerData()->soundFiles(), QStringList({"a.wav", "b.wav", "c.wav"}));
        QCOMPARE(c.timerData()->remindEveryIntervalSeconds(), 3600 + 20 * 60 + 5);
    }

    void withoutAStoredIntervalTheFieldsShowFiveMinutes()
    {
        PreferenceWindowController& c = open();
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("0"));
        QCOMPARE(c.tfRemindEveryM()->text(), QStringLiteral("5"));
        QCOMPARE(c.tfRemindEveryS()->text(), QStringLiteral("0"));
        // Opening writes nothing.
        QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
    }

    void aPickedTextColourIsStoredAndTheResetPointStays()
    {
        storeAppearance(Qt::black, Qt::white, true);
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::TextColorChanged);
        QVERIFY(pickColor(c.textColorWell(), QColor(0, 160, 60)));
        QCOMPARE(posts.received.size(), size_t(1));
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(0, 160, 60));
        const auto& values = PreferenceWindowController::sharedValues();
        QCOMPARE(values.currentTextColor, QColor(0, 160, 60));
        QCOMPARE(values.lastTextColorData, PreferenceController::preferenceTextColor());
        QCOMPARE(values.openingTextColor, QColor(Qt::black));
        QCOMPARE(c.textColorWell()->color(), QColor(0, 160, 60));
    }

    void aPickedBackgroundColourIsStored()
    {
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::BgColorChanged);
        QVERIFY(pickColor(c.bgColorWell(), QColor(200, 30, 30)));
        QCOMPARE(posts.received.size(), size_t(1));
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(200, 30, 30));
        QCOMPARE(PreferenceWindowController::sharedValues().lastBgColorData,
                 PreferenceController::preferenceBgColor());
    }

    void aCancelledColourDialogStoresTheOldColourAgain()
    {
        storeAppearance(Qt::black, Qt::white, true);
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::TextColorChanged);
        QVERIFY(pickColor(c.textColorWell(), QColor(0, 160, 60), false));
        // The colour moved to was shown and stored at once; Cancel stored the old one again.
        QCOMPARE(posts.received.size(), size_t(2));
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(Qt::black));
        QCOMPARE(c.textColorWell()->color(), QColor(Qt::black));
    }

    void resetRestoresTheOpeningAppearanceAndWritesEveryTime()
    {
        storeAppearance(Qt::black, Qt::white, true);
        PreferenceWindowController& c = open();
        const QByteArray openingText = PreferenceController::preferenceTextColor();
        QVERIFY(pickColor(c.textColorWell(), QColor(0, 160, 60)));
        QVERIFY(pickColor(c.bgColorWell(), QColor(40, 40, 40)));
        click(c.dropShadowCheckbox());
        QVERIFY(!PreferenceController::preferenceDropShadow());

        Listener text(NotificationNames::TextColorChanged), bg(NotificationNames::BgColorChanged),
            shadow(NotificationNames::DropShadowChanged);
        click(c.resetButton());
        QCOMPARE(PreferenceController::preferenceTextColor(), openingText);
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(Qt::white));
        QVERIFY(PreferenceController::preferenceDropShadow());
        QCOMPARE(c.textColorWell()->color(), QColor(Qt::black));
        QCOMPARE(c.bgColorWell()->color(), QColor(Qt::white));
        QVERIFY(c.dropShadowCheckbox()->isChecked());
        QCOMPARE(text.received.size(), size_t(1));
        QCOMPARE(bg.received.size(), size_t(1));
        QCOMPARE(shadow.received.size(), size_t(1));

        // Nothing changed since: written and announced all the same.
        click(c.resetButton());
        QCOMPARE(text.received.size(), size_t(2));
        QCOMPARE(bg.received.size(), size_t(2));
        QCOMPARE(shadow.received.size(), size_t(2));
        QCOMPARE(PreferenceController::preferenceTextColor(), openingText);
        // The last chosen colour is still remembered as such.
        QCOMPARE(PreferenceWindowController::sharedValues().currentTextColor, QColor(0, 160, 60));
    }

    void reopeningMakesTheChangedColourTheResetPoint()
    {
        storeAppearance(Qt::black, Qt::white, true);
        QVERIFY(pickColor(open().textColorWell(), QColor(0, 0, 200)));
        m_controller->prefsWindow()->close();
        PreferenceWindowController& again = open();
        QVERIFY(pickColor(again.textColorWell(), QColor(200, 0, 0)));
        click(again.resetButton());
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(0, 0, 200));
        QCOMPARE(again.textColorWell()->color(), QColor(0, 0, 200));
    }

    void resetLeavesTheSoundAndReminderSettings()
    {
        storeAppearance(Qt::black, Qt::white, true);
        PreferenceWindowController& c = open();
        click(c.playSoundCheckbox());
        click(continueCountdownCheckbox(c));
        click(c.playReminderSoundCheckbox());
        retype(c.tfRemindEveryS(), QStringLiteral("9"));
        QTest::keyClick(c.soundFilesDropdownList(), Qt::Key_Down);
        click(c.resetButton());
        QVERIFY(!PreferenceController::preferencePlaySound());
        QVERIFY(!PreferenceController::preferenceContinueCountdown());
        QVERIFY(!PreferenceController::preferencePlayReminderSound());
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("0:5:9"));
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 1);
    }

    void eachCheckBoxStoresItsStateAndAnnouncesIt_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("notification");
        QTest::newRow("drop shadow") << "dropShadowCheckbox" << PreferenceKeys::DropShadow
                                     << NotificationNames::DropShadowChanged;
        QTest::newRow("play sound") << "playSoundCheckbox" << PreferenceKeys::PlaySound
                                    << NotificationNames::PlaySoundChanged;
        QTest::newRow("continue") << "continueCountdownCheckbox" << PreferenceKeys::ContinueCountdown
                                  << NotificationNames::ContinueCountdownChanged;
        QTest::newRow("reminder") << "playReminderSoundCheckbox" << PreferenceKeys::PlayReminderSound
                                  << NotificationNames::PlayReminderSoundChanged;
    }

    void eachCheckBoxStoresItsStateAndAnnouncesIt()
    {
        QFETCH(QString, box);
        QFETCH(QString, key);
        QFETCH(QString, notification);
        UserDefaults::standardUserDefaults().setBool(true, key);
        PreferenceWindowController& c = open();
        auto* checkBox = c.prefsWindow()->findChild<QCheckBox*>(box);
        QVERIFY(checkBox);
        QVERIFY(checkBox->isChecked());
        Listener posts(notification);
        click(checkBox);
        QVERIFY(!UserDefaults::standardUserDefaults().boolForKey(key));
        QCOMPARE(posts.received.size(), size_t(1));
        click(checkBox);
        QVERIFY(UserDefaults::standardUserDefaults().boolForKey(key));
        QCOMPARE(posts.received.size(), size_t(2));
    }

    void aCheckBoxInTheMixedStateStoresFalse()
    {
        PreferenceController::setPreferencePlaySound(true);
        PreferenceWindowController& c = open();
        QCheckBox* box = c.playSoundCheckbox();
        box->setTristate(true);
        box->setCheckState(Qt::Unchecked);
        // A tristate box goes from off to mixed on a click.
        click(box);
        QCOMPARE(box->checkState(), Qt::PartiallyChecked);
        QVERIFY(!PreferenceController::preferencePlaySound());
        QVERIFY(!c.timerData()->playSound());
    }

    void theKeyboardSettingIsStoredAtOnceAndAnnouncesNothing()
    {
        PreferenceWindowController& c = open();
        QCheckBox* box = returnFocusCheckbox(c);
        QVERIFY(box);
        QCOMPARE(box->text(),
                 QStringLiteral(
                     "When PowerPoint is not running, give the keyboard back to the window I was using"));
        QCOMPARE(box->isChecked(), PreferenceController::preferenceReturnFocusToPreviousWindow());
        const bool before = box->isChecked();
        AllListeners anything;
        click(box);
        QCOMPARE(PreferenceController::preferenceReturnFocusToPreviousWindow(), !before);
        click(box);
        QCOMPARE(PreferenceController::preferenceReturnFocusToPreviousWindow(), before);
        QCOMPARE(anything.total(), size_t(0));
    }

    void thePopUpsStoreTheChosenIndex()
    {
        PreferenceWindowController& c = open();
        Listener end(NotificationNames::SoundSelectionChanged);
        Listener reminder(NotificationNames::ReminderSoundSelectionChanged);
        QTest::keyClick(c.soundFilesDropdownList(), Qt::Key_Down);
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 1);
        QCOMPARE(end.received.size(), size_t(1));
        QTest::keyClick(c.reminderSoundFilesDropdownList(), Qt::Key_Up);
        QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), 3);
        QCOMPARE(reminder.received.size(), size_t(1));
        QCOMPARE(c.timerData()->reminderSoundIndex(), 3);
    }

    void aPopUpWithNothingSelectedStoresZero()
    {
        PreferenceController::setPreferenceSelectedSoundIndex(3);
        PreferenceWindowController& c = open();
        c.soundFilesDropdownList()->setCurrentIndex(-1);
        Listener end(NotificationNames::SoundSelectionChanged);
        c.soundSelectionChanged();
        QCOMPARE(UserDefaults::standardUserDefaults().integerForKey(PreferenceKeys::SelectedSoundIndex), 0);
        QCOMPARE(end.received.size(), size_t(1));
    }

    void theIntervalIsJoinedExactlyAsTyped_data()
    {
        QTest::addColumn<QString>("hours");
        QTest::addColumn<QString>("minutes");
        QTest::addColumn<QString>("seconds");
        QTest::addColumn<QString>("stored");
        QTest::newRow("empty minutes") << "1"
                                       << ""
                                       << "30"
                                       << "1::30";
        QTest::newRow("zeros") << "0"
                               << "0"
                               << "0"
                               << "0:0:0";
        QTest::newRow("colon in minutes") << "0"
                                          << "1:2"
                                          << "5"
                                          << "0:1:2:5";
        QTest::newRow("blanks and letters") << " 2"
                                            << "x"
                                            << "07"
                                            << " 2:x:07";
    }

    void theIntervalIsJoinedExactlyAsTyped()
    {
        QFETCH(QString, hours);
        QFETCH(QString, minutes);
        QFETCH(QString, seconds);
        QFETCH(QString, stored);
        PreferenceWindowController& c = open();
        retype(c.tfRemindEveryH(), hours);
        retype(c.tfRemindEveryM(), minutes);
        retype(c.tfRemindEveryS(), seconds);
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), stored);
    }

    void everyKeystrokeStoresTheInterval()
    {
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::RemindEveryIntervalChanged);
        c.tfRemindEveryH()->setFocus();
        c.tfRemindEveryH()->selectAll();
        QTest::keyClicks(c.tfRemindEveryH(), QStringLiteral("12"));
        QCOMPARE(posts.received.size(), size_t(2));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("12:5:0"));
        QTest::keyClick(c.tfRemindEveryH(), Qt::Key_Backspace);
        QCOMPARE(posts.received.size(), size_t(3));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("1:5:0"));
    }

    void theStepperAloneStoresNothing()
    {
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::RemindEveryIntervalChanged);
        click(stepper(c)->upButton());
        click(stepper(c)->upButton());
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("2"));
        QCOMPARE(c.timerData()->remindEveryH(), 2);
        QCOMPARE(posts.received.size(), size_t(0));
        QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
        // The next edit of any field stores what the fields show, stepped hours included.
        retype(c.tfRemindEveryS(), QStringLiteral("1"));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("2:5:1"));
        click(stepper(c)->downButton());
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("1"));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("2:5:1"));
    }

    void theStepperStepsFromTheTypedHoursWithinItsRange()
    {
        PreferenceWindowController& c = open();
        retype(c.tfRemindEveryH(), QStringLiteral("7"));
        click(stepper(c)->upButton());
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("8"));
        retype(c.tfRemindEveryH(), QStringLiteral("0"));
        click(stepper(c)->downButton());
        QCOMPARE(c.tfRemindEveryH()->text(), QStringLiteral("0"));
    }

    void returnInTheHoursFieldStoresNothing()
    {
        PreferenceWindowController& c = open();
        Listener posts(NotificationNames::RemindEveryIntervalChanged);
        c.tfRemindEveryH()->setFocus();
        QTest::keyClick(c.tfRemindEveryH(), Qt::Key_Return);
        c.tfRemindEveryHChange();
        c.stepperRemindEveryHChange();
        QCOMPARE(posts.received.size(), size_t(0));
        QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
    }

    void theWindowStaysAboveOtherWindowsAndHasTheKeyboard()
    {
        PreferenceWindowController& c = open();
        QVERIFY(c.prefsWindow()->isVisible());
        QVERIFY(c.prefsWindow()->windowFlags() & Qt::WindowStaysOnTopHint);
        QVERIFY(QTest::qWaitForWindowActive(c.prefsWindow()));
    }

    void theWindowFitsSmallScreensAndEveryControlCanBeReached_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::newRow("1024x768") << QRect(0, 0, 1024, 768 - 24);
        QTest::newRow("1366x768") << QRect(0, 0, 1366, 768 - 24);
        // 1280x800 at 200 %: what the window has, in its own pixels.
        QTest::newRow("1280x800 at 200 %") << QRect(0, 0, 640, 400 - 12);
        QTest::newRow("a very small area") << QRect(0, 0, 300, 200);
    }

    void theWindowFitsSmallScreensAndEveryControlCanBeReached()
    {
        QFETCH(QRect, area);
        PreferenceWindowController& c = open();
        c.fitInto(area);
        QWidget* window = c.prefsWindow();
        QVERIFY(window->width() <= area.width());
        // Room is left for the title bar.
        QVERIFY(window->height() + window->fontMetrics().height() <= area.height());
        QTRY_COMPARE(window->size(), window->frameGeometry().size().boundedTo(window->size()));
        QScrollArea* scroll = c.scrollArea();
        const QWidget* viewport = scroll->viewport();
        // Once the scroll bars the size calls for have appeared.
        QApplication::processEvents();
        for (QWidget* control : window->findChildren<QWidget*>()) {
            if (!(control->focusPolicy() & Qt::TabFocus) || !control->isVisibleTo(window) ||
                control->parentWidget() == nullptr || qobject_cast<QScrollBar*>(control))
                continue;
            // Scrolled to as a presenter scrolls: until the whole control is in sight, where it fits.
            const QPoint centre = control->mapTo(scroll->widget(), control->rect().center());
            scroll->ensureVisible(centre.x(), centre.y(), control->width() / 2 + 1,
                                  control->height() / 2 + 1);
            QApplication::processEvents();
            const QRect inViewport(control->mapTo(viewport, QPoint(0, 0)), control->size());
            if (control->height() <= viewport->height() && control->width() <= viewport->width())
                QVERIFY2(viewport->rect().contains(inViewport), qPrintable(control->objectName()));
            else
                QVERIFY2(viewport->rect().intersects(inViewport), qPrintable(control->objectName()));
        }
        // The last control, scrolled to and clicked as a presenter would, does what it says.
        QCheckBox* last = window->findChild<QCheckBox*>(QStringLiteral("returnFocusCheckbox"));
        scroll->ensureWidgetVisible(last);
        QApplication::processEvents();
        const bool before = PreferenceController::preferenceReturnFocusToPreviousWindow();
        click(last);
        QCOMPARE(PreferenceController::preferenceReturnFocusToPreviousWindow(), !before);
    }

    void aLargeScreenShowsTheWholeWindowWithoutScrolling()
    {
        PreferenceWindowController& c = open();
        c.fitInto(QRect(0, 0, 1920, 1080));
        QApplication::processEvents();
        QCOMPARE(c.scrollArea()->verticalScrollBar()->maximum(), 0);
        QVERIFY(!c.scrollArea()->verticalScrollBar()->isVisible());
    }

    void everyControlHasANameAndTheTabOrderFollowsTheWindow()
    {
        PreferenceWindowController& c = open();
        QStringList order;
        QWidget* first = c.textColorWell();
        QWidget* w = first;
        do {
            if (w->focusPolicy() & Qt::TabFocus && w->isVisibleTo(c.prefsWindow())) {
                QVERIFY2(!w->accessibleName().isEmpty(), qPrintable(w->objectName()));
                order << (w->objectName().isEmpty() ? w->parentWidget()->objectName() : w->objectName());
            }
            w = w->nextInFocusChain();
        } while (w != first);
        QCOMPARE(order, QStringList({"textColorWell",
                                     "bgColorWell",
                                     "dropShadowCheckbox",
                                     "resetButton",
                                     "changeColorsCheckbox",
                                     "warnAtField",
                                     "warnTextColorWell",
                                     "warnBgColorWell",
                                     "finalAtField",
                                     "finalTextColorWell",
                                     "finalBgColorWell",
                                     "overtimeColorsCheckbox",
                                     "overtimeTextColorWell",
                                     "overtimeBgColorWell",
                                     "flashCheckbox",
                                     "playSoundCheckbox",
                                     "soundFilesDropdownList",
                                     "previewSoundButton",
                                     "removeSoundButton",
                                     "continueCountdownCheckbox",
                                     "playReminderSoundCheckbox",
                                     "reminderSoundFilesDropdownList",
                                     "previewReminderSoundButton",
                                     "removeReminderSoundButton",
                                     "tfRemindEveryH",
                                     "stepperRemindEveryH",
                                     "stepperRemindEveryH",
                                     "tfRemindEveryM",
                                     "tfRemindEveryS",
                                     "addSoundButton",
                                     "moreSoundsButton",
                                     "returnFocusCheckbox"}));
    }

    void escapeClosesTheWindowAndLosesNothing()
    {
        PreferenceWindowController& c = open();
        click(c.playSoundCheckbox());
        QVERIFY(QTest::qWaitForWindowActive(c.prefsWindow()));
        QTest::keyClick(c.prefsWindow(), Qt::Key_Escape);
        QVERIFY(!c.prefsWindow()->isVisible());
        QVERIFY(!PreferenceController::preferencePlaySound());
    }

    void escapeInAnOpenDropDownClosesOnlyTheDropDown()
    {
        PreferenceWindowController& c = open();
        QVERIFY(QTest::qWaitForWindowActive(c.prefsWindow()));
        for (QComboBox* popUp : {c.soundFilesDropdownList(), c.reminderSoundFilesDropdownList()}) {
            popUp->showPopup();
            QWidget* list = nullptr;
            QVERIFY(QTest::qWaitFor([&] { return (list = QApplication::activePopupWidget()) != nullptr; }));
            // The key goes where the keyboard is: the open list.
            QTest::keyClick(list, Qt::Key_Escape);
            QVERIFY(QTest::qWaitFor([] { return !QApplication::activePopupWidget(); }));
            QVERIFY(c.prefsWindow()->isVisible());
        }
        // With nothing open, Escape closes the window as before, wherever the keyboard is in it.
        c.tfRemindEveryM()->setFocus();
        QTest::keyClick(c.tfRemindEveryM(), Qt::Key_Escape);
        QVERIFY(!c.prefsWindow()->isVisible());
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPreferenceWindowController)
#include "tst_preferencewindowcontroller.moc"
