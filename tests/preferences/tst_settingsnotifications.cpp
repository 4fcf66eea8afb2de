// Changes made in the preferences window reaching the running panel through the store's notifications:
// opened from the panel's menu, driven through the window's widgets, checked on the panel.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "Brevlin.h"
#include "ColorArchive.h"
#include "ColorWell.h"
#include "FocusReturn.h"
#include "PanelLaunch.h"
#include "Playable.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QTest>

#include <memory>

using namespace PreferencesTest;

namespace {

class CountingSound : public Playable
{
public:
    void play() override { ++plays; }
    int plays = 0;
};

// What a presenter can see or the countdown will use: the panel's pixels and shadow, the field's colours
// and the panel's settings.
struct PanelState
{
    QImage pixels;
    bool shadow;
    QColor text;
    bool playSound, continueCountdown, playReminderSound;
    QString interval;
    qint64 intervalSeconds;

    bool operator==(const PanelState& o) const
    {
        return pixels == o.pixels && shadow == o.shadow && text == o.text && playSound == o.playSound &&
               continueCountdown == o.continueCountdown && playReminderSound == o.playReminderSound &&
               interval == o.interval && intervalSeconds == o.intervalSeconds;
    }
};

} // namespace

class TestSettingsNotifications : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;

    AppDelegate& launch()
    {
        m_delegate = testsupport::launchPanel({340, 120});
        if (!QTest::qWaitForWindowExposed(m_delegate->panel()))
            qWarning("panel not shown");
        QTest::qWait(20);
        return *m_delegate;
    }

    // Through the panel's context menu, as the presenter opens it.
    PreferenceWindowController& openPreferences()
    {
        PreferenceWindowController* controller = openPreferencesFromMenu(*m_delegate);
        if (!controller)
            qFatal("no preferences window");
        if (!QTest::qWaitForWindowExposed(controller->prefsWindow()))
            qWarning("preferences window not shown");
        return *controller;
    }

    void typeAndReturn(const QString& text) { testsupport::typeAndReturn(*m_delegate, text); }

    static QCheckBox* continueCountdownCheckbox(PreferenceWindowController& c)
    {
        return c.prefsWindow()->findChild<QCheckBox*>(QStringLiteral("continueCountdownCheckbox"));
    }

    PanelState panelState() const
    {
        const AppDelegate& d = *m_delegate;
        return {d.panel()->grab().toImage(),
                d.panel()->hasShadow(),
                d.input()->palette().color(QPalette::Text),
                d.timerData()->playSound(),
                d.timerData()->continueCountdown(),
                d.timerData()->playReminderSound(),
                d.timerData()->remindEveryInterval(),
                d.timerData()->remindEveryIntervalSeconds()};
    }

    // The same changes after one opening or several.
    PanelState changeEverythingAfterOpenings(int openings)
    {
        launch();
        for (int i = 1; i < openings; ++i)
            openPreferences();
        PreferenceWindowController& c = openPreferences();
        if (!pickColor(c.textColorWell(), QColor(255, 220, 0)) ||
            !pickColor(c.bgColorWell(), QColor(0, 0, 120)))
            qWarning("no colour dialog");
        click(c.dropShadowCheckbox());
        click(c.playSoundCheckbox());
        click(continueCountdownCheckbox(c));
        click(c.playReminderSoundCheckbox());
        retype(c.tfRemindEveryM(), QStringLiteral("2"));
        retype(c.tfRemindEveryS(), QStringLiteral("15"));
        const PanelState state = panelState();
        m_delegate.reset();
        StoredSettings::forgetAll();
        return state;
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

    void theContextMenuOpensThePreferencesBeforeQuit()
    {
        AppDelegate& d = launch();
        QVERIFY(!d.prefsWindowController());
        const QList<QAction*> actions = d.rightClickMenu()->actions();
        QAction* preferences = preferencesAction(d);
        QVERIFY(preferences);
        QVERIFY(actions.indexOf(preferences) < actions.size() - 1);
        QCOMPARE(actions.last()->text().remove(QLatin1Char('&')).startsWith(QStringLiteral("Quit")), true);
        preferences->trigger();
        QVERIFY(d.prefsWindowController());
        QVERIFY(d.prefsWindowController()->prefsWindow()->isVisible());
    }

    void everyOpeningBuildsANewWindowWithANewSnapshot()
    {
        PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(QColor(90, 0, 0)));
        launch();
        PreferenceWindowController* first = &openPreferences();
        QPointer<QWidget> firstWindow = first->prefsWindow();
        QVERIFY(pickColor(first->bgColorWell(), QColor(0, 90, 0)));
        PreferenceWindowController* second = &openPreferences();
        QVERIFY(second != first);
        // The previous window went with its controller.
        QVERIFY(firstWindow.isNull());
        QCOMPARE(second->bgColorWell()->color(), QColor(0, 90, 0));
        QCOMPARE(PreferenceWindowController::sharedValues().openingBgColor, QColor(0, 90, 0));
        // Its own settings object, never the panel's.
        QVERIFY(second->timerData() != m_delegate->timerData());
        QVERIFY(second->prefsWindow()->windowFlags() & Qt::WindowStaysOnTopHint);
    }

    void reopeningWhileAColourDialogIsOpenClosesBoth()
    {
        launch();
        PreferenceWindowController& first = openPreferences();
        QTest::mouseClick(first.textColorWell(), Qt::LeftButton);
        QPointer<QColorDialog> dialog = first.textColorWell()->colorDialog();
        QVERIFY(dialog);
        PreferenceWindowController& second = openPreferences();
        QVERIFY(dialog.isNull());
        QVERIFY(pickColor(second.textColorWell(), QColor(9, 9, 9)));
        QCOMPARE(m_delegate->input()->palette().color(QPalette::Text), QColor(9, 9, 9));
    }

    void aTextColourChangesTheTextAndTheCaretBeforeTheActionReturns()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        // Subscribed after the delegate: sees what the delegate's observer has already done.
        QColor storedWhenPosted, fieldWhenPosted;
        Listener seen(NotificationNames::TextColorChanged);
        NotificationCenter::defaultCenter().addObserver(
            this, NotificationNames::TextColorChanged, [&](const Notification&) {
                storedWhenPosted = unarchiveObjectWithData(PreferenceController::preferenceTextColor());
                fieldWhenPosted = d.input()->palette().color(QPalette::Text);
            });
        QVERIFY(pickColor(c.textColorWell(), QColor(220, 0, 0)));
        NotificationCenter::defaultCenter().removeObserver(this);
        QCOMPARE(storedWhenPosted, QColor(220, 0, 0));
        QCOMPARE(fieldWhenPosted, QColor(220, 0, 0));
        QCOMPARE(seen.received.size(), size_t(1));

        // The caret: an empty, focused field shows nothing but its caret, in the text colour.
        QApplication::setCursorFlashTime(0);
        d.panel()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(d.panel()));
        d.input()->setText(QString());
        d.input()->setFocus();
        QTRY_VERIFY(d.input()->hasFocus());
        const QImage field = d.input()->grab().toImage();
        int caretPixels = 0;
        for (int y = 0; y < field.height(); ++y) {
            for (int x = 0; x < field.width(); ++x)
                caretPixels += field.pixelColor(x, y) == QColor(220, 0, 0);
        }
        QVERIFY2(caretPixels >= 3, qPrintable(QString::number(caretPixels)));
    }

    void aBackgroundColourShowsOnThePanelAtOnce()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        QVERIFY(pickColor(c.bgColorWell(), QColor(0, 120, 60)));
        QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(0, 120, 60));
        const QImage panel = d.panel()->grab().toImage();
        QCOMPARE(panel.pixelColor(panel.width() / 2, 5), QColor(0, 120, 60));
    }

    void theShadowFollowsTheCheckBoxAfterTheStoreHasIt()
    {
        AppDelegate& d = launch();
        // Subscribed before the delegate: runs before its observer.
        QList<QPair<bool, bool>> whenPosted; // (stored, panel)
        NotificationCenter::defaultCenter().addObserver(
            this, NotificationNames::DropShadowChanged, [&](const Notification&) {
                whenPosted.append({PreferenceController::preferenceDropShadow(), d.panel()->hasShadow()});
            });
        PreferenceWindowController& c = openPreferences();
        QVERIFY(d.panel()->hasShadow());
        click(c.dropShadowCheckbox());
        QVERIFY(!d.panel()->hasShadow());
        click(c.dropShadowCheckbox());
        QVERIFY(d.panel()->hasShadow());
        NotificationCenter::defaultCenter().removeObserver(this);
        QCOMPARE(whenPosted, (QList<QPair<bool, bool>>{{false, true}, {true, false}}));
    }

    void theStoreHasTheValueBeforeTheObserverAndThePanelWhenTheActionReturns()
    {
        AppDelegate& d = launch();
        // Subscribed before the delegate, so each runs just before the delegate's observer of its name.
        QStringList beforeObserver;
        auto& center = NotificationCenter::defaultCenter();
        center.addObserver(this, NotificationNames::TextColorChanged, [&](const Notification&) {
            if (unarchiveObjectWithData(PreferenceController::preferenceTextColor()) == QColor(0, 0, 255) &&
                d.input()->palette().color(QPalette::Text) != QColor(0, 0, 255))
                beforeObserver << QStringLiteral("text");
        });
        center.addObserver(this, NotificationNames::BgColorChanged, [&](const Notification&) {
            if (unarchiveObjectWithData(PreferenceController::preferenceBgColor()) == QColor(255, 255, 0) &&
                d.panel()->backgroundColor() != QColor(255, 255, 0))
                beforeObserver << QStringLiteral("background");
        });
        center.addObserver(this, NotificationNames::PlaySoundChanged, [&](const Notification&) {
            if (!PreferenceController::preferencePlaySound() && d.timerData()->playSound())
                beforeObserver << QStringLiteral("play sound");
        });
        center.addObserver(this, NotificationNames::RemindEveryIntervalChanged, [&](const Notification&) {
            if (PreferenceController::preferenceRemindEveryInterval() == QStringLiteral("0:5:9") &&
                d.timerData()->remindEveryIntervalSeconds() == 300)
                beforeObserver << QStringLiteral("interval");
        });
        PreferenceWindowController& c = openPreferences();
        QVERIFY(pickColor(c.textColorWell(), QColor(0, 0, 255)));
        QCOMPARE(d.input()->palette().color(QPalette::Text), QColor(0, 0, 255));
        QVERIFY(pickColor(c.bgColorWell(), QColor(255, 255, 0)));
        const QImage panel = d.panel()->grab().toImage();
        QCOMPARE(panel.pixelColor(panel.width() / 2, 5), QColor(255, 255, 0));
        click(c.playSoundCheckbox());
        QVERIFY(!d.timerData()->playSound());
        c.tfRemindEveryS()->setFocus();
        c.tfRemindEveryS()->selectAll();
        QTest::keyClick(c.tfRemindEveryS(), Qt::Key_9);
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 309);
        center.removeObserver(this);
        QCOMPARE(beforeObserver, QStringList({"text", "background", "play sound", "interval"}));
    }

    void theRunningCountdownSeesTheSwitchesAtOnce_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<int>("endPlays");
        QTest::addColumn<int>("reminderPlays");
        QTest::addColumn<QString>("shownAtTheEnd");
        QTest::newRow("all left on") << QString() << 1 << 2 << "-00:00:04";
        QTest::newRow("play sound off") << "playSoundCheckbox" << 0 << 2 << "-00:00:04";
        QTest::newRow("reminder off") << "playReminderSoundCheckbox" << 1 << 0 << "-00:00:04";
        QTest::newRow("continue off") << "continueCountdownCheckbox" << 1 << 0 << "00:00:00";
    }

    void theRunningCountdownSeesTheSwitchesAtOnce()
    {
        QFETCH(QString, box);
        QFETCH(int, endPlays);
        QFETCH(int, reminderPlays);
        QFETCH(QString, shownAtTheEnd);
        AppDelegate& d = launch();
        d.timerData()->setRemindEveryInterval(QStringLiteral("0:0:2"));
        auto end = std::make_shared<CountingSound>();
        auto reminder = std::make_shared<CountingSound>();
        d.setEndSound(end);
        d.setReminderSound(reminder);
        typeAndReturn(QStringLiteral("0:0:3"));
        d.tick();
        PreferenceWindowController& c = openPreferences();
        if (!box.isEmpty())
            click(c.prefsWindow()->findChild<QCheckBox*>(box));
        // As the timer would: no tick once it has stopped.
        for (int i = 0; i < 6 && d.countdownTimer().isActive(); ++i)
            d.tick();
        QCOMPARE(end->plays, endPlays);
        QCOMPARE(reminder->plays, reminderPlays);
        QCOMPARE(d.input()->text(), shownAtTheEnd);
    }

    void anIntervalWithAnEmptyFieldReachesThePanel()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        retype(c.tfRemindEveryH(), QStringLiteral("1"));
        retype(c.tfRemindEveryM(), QString());
        retype(c.tfRemindEveryS(), QStringLiteral("30"));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("1::30"));
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 3630);
    }

    void aZeroIntervalReachesThePanelAsZero()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        retype(c.tfRemindEveryM(), QStringLiteral("0"));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("0:0:0"));
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 0);
    }

    void aColonTypedIntoAFieldLeavesThePanelsInterval()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        retype(c.tfRemindEveryH(), QStringLiteral("0"));
        retype(c.tfRemindEveryS(), QStringLiteral("5"));
        retype(c.tfRemindEveryM(), QStringLiteral("1"));
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 65);
        QTest::keyClicks(c.tfRemindEveryM(), QStringLiteral(":2"));
        QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("0:1:2:5"));
        QCOMPARE(d.timerData()->remindEveryInterval(), QStringLiteral("0:1:2:5"));
        QCOMPARE(d.timerData()->remindEveryIntervalSeconds(), 65);
        QCOMPARE(d.timerData()->remindEveryM(), 1);
    }

    void typingPostsTheUnprefixedNameOncePerEdit()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        Listener unprefixed(QStringLiteral("RemindEveryIntervalChanged"));
        Listener prefixed(QStringLiteral("BRVRemindEveryIntervalChanged"));
        c.tfRemindEveryH()->setFocus();
        QTest::keyClicks(c.tfRemindEveryH(), QStringLiteral("12"));
        QCOMPARE(unprefixed.received.size(), size_t(2));
        QCOMPARE(prefixed.received.size(), size_t(0));
    }

    void manyOpeningsKeepOneSubscriptionPerName()
    {
        AppDelegate& d = launch();
        NotificationCenter& center = NotificationCenter::defaultCenter();
        const std::size_t before = center.subscriptionCount();
        PreferenceWindowController* c = &openPreferences();
        QCOMPARE(center.subscriptionCount(), before + std::size_t(allNotificationNames().size()));

        // A probe after the first opening paints the panel grey; had a later opening subscribed the
        // delegate again, its observer would run after the probe and show the colour once more.
        const QColor grey(128, 128, 128);
        const int probe = 0;
        center.addObserver(&probe, NotificationNames::BgColorChanged,
                           [&](const Notification&) { d.panel()->setBackgroundColor(grey); });
        for (int i = 0; i < 50; ++i)
            c = &openPreferences();
        QCOMPARE(center.subscriptionCount(), before + std::size_t(allNotificationNames().size()) + 1);
        QVERIFY(pickColor(c->bgColorWell(), QColor(200, 0, 100)));
        QCOMPARE(d.panel()->backgroundColor(), grey);
        center.removeObserver(&probe);

        // Without the probe: the fifty-first window's change reaches the panel.
        QVERIFY(pickColor(c->bgColorWell(), QColor(0, 200, 100)));
        QCOMPARE(d.panel()->backgroundColor(), QColor(0, 200, 100));
    }

    void repeatedSubscriptionsShowTheSameAsOne()
    {
        const PanelState once = changeEverythingAfterOpenings(1);
        const PanelState thrice = changeEverythingAfterOpenings(3);
        QVERIFY(once == thrice);
        QVERIFY(!once.shadow);
        QCOMPARE(once.text, QColor(255, 220, 0));
        QCOMPARE(once.pixels.pixelColor(once.pixels.width() / 2, 5), QColor(0, 0, 120));
        QCOMPARE(once.interval, QStringLiteral("0:2:15"));
        QCOMPARE(once.intervalSeconds, 135);
        QVERIFY(!once.playSound && !once.continueCountdown && !once.playReminderSound);
    }

    void everyNotificationCarriesTheStoreAndNoUserInfo()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        AllListeners all;
        QVERIFY(pickColor(c.textColorWell(), QColor(1, 2, 3)));
        QVERIFY(pickColor(c.bgColorWell(), QColor(4, 5, 6)));
        click(c.dropShadowCheckbox());
        QTest::keyClick(c.soundFilesDropdownList(), Qt::Key_Down);
        click(c.playSoundCheckbox());
        click(continueCountdownCheckbox(c));
        click(c.playReminderSoundCheckbox());
        retype(c.tfRemindEveryS(), QStringLiteral("7"));
        QTest::keyClick(c.reminderSoundFilesDropdownList(), Qt::Key_Up);
        QWidget* window = c.prefsWindow();
        click(window->findChild<QCheckBox*>(QStringLiteral("changeColorsCheckbox")));
        retype(window->findChild<QLineEdit*>(QStringLiteral("warnAtField")), QStringLiteral("0:10:00"));
        retype(window->findChild<QLineEdit*>(QStringLiteral("finalAtField")), QStringLiteral("0:02:00"));
        for (const char* well : {"warnTextColorWell", "warnBgColorWell", "finalTextColorWell",
                                 "finalBgColorWell", "overtimeTextColorWell", "overtimeBgColorWell"})
            QVERIFY(pickColor(window->findChild<ColorWell*>(QLatin1String(well)), QColor(7, 8, 9)));
        click(window->findChild<QCheckBox*>(QStringLiteral("overtimeColorsCheckbox")));
        click(window->findChild<QCheckBox*>(QStringLiteral("flashCheckbox")));
        const QStringList names = allNotificationNames();
        for (size_t i = 0; i < all.listeners.size(); ++i) {
            const auto& received = all.listeners[i]->received;
            QVERIFY2(!received.empty(), qPrintable(names[int(i)]));
            for (const Notification& n : received) {
                QCOMPARE(n.name, names[int(i)]);
                QCOMPARE(n.object, PreferenceController::classObject());
                QVERIFY(n.userInfo.isEmpty());
            }
        }
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSettingsNotifications)
#include "tst_settingsnotifications.moc"
