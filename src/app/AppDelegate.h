#pragma once

#include "Countdown.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

class AboutWindowController;
class Brevlin;
class Playable;
class PreferenceWindowController;
class QAction;
class QLineEdit;
class QMenu;
class QPushButton;
class TitlelessPanel;

namespace Ui {
class MainInterface;
}

/// Commands the time field passes on while it is being edited.
enum class TextCommand
{
    InsertNewline,
    CancelOperation,
    Other
};

/// The application's central object: loads the panel, runs the launch sequence, owns the panel's settings
/// object and the countdown, and answers the panel's buttons, keys and menu.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// The most the time field takes. The longest time it shows is 14 characters; more is only ever a paste
    /// or a held key, and the line edit lays its whole text out again at every key, so an unbounded field
    /// falls ever further behind the typing.
    static constexpr int longestTypedTime = 64;

    /// Loads the main interface: the panel, its time field, both buttons and the menu actions.
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    TitlelessPanel* panel() const { return m_panel; }
    QLineEdit* input() const;
    QPushButton* playButton() const;
    QPushButton* pauseResetButton() const;
    QMenu* rightClickMenu() const { return m_rightClickMenu; }
    Brevlin* timerData() const { return m_timerData.get(); }

    void applicationDidFinishLaunching();
    void registerDefaults();
    void copyDefaultSoundAndLoadSelectedSound();
    void readPrefs();
    void updateUI();
    void windowDidResize();
    void windowDidBecomeKey();
    void tick();
    /// Return in the time field starts the countdown. Never claims the command, so the field's own
    /// handling of every key still follows.
    bool controlTextViewDoCommandBySelector(TextCommand command);
    void activatePowerPoint();

    // The countdown's state, which lives beside the delegate.
    const Countdown& countdown() const { return m_countdown; }
    bool isPaused() const { return m_isPaused; }
    const QTimer& countdownTimer() const { return m_countdownTimer; }

    // The two loaded sounds the countdown plays; either may be empty.
    std::shared_ptr<Playable> endSound() const { return m_endSound; }
    void setEndSound(std::shared_ptr<Playable> sound) { m_endSound = std::move(sound); }
    std::shared_ptr<Playable> reminderSound() const { return m_reminderSound; }
    void setReminderSound(std::shared_ptr<Playable> sound) { m_reminderSound = std::move(sound); }

    /// The newest preferences window's controller; null until the window is first opened.
    PreferenceWindowController* prefsWindowController() const { return m_prefsWindowController.get(); }
    /// The newest about window's controller; null until the window is first opened.
    AboutWindowController* aboutWindowController() const { return m_aboutWindowController.get(); }

public slots:
    void startTimer();
    void onPauseResetClick();
    /// Opens a new preferences window, replacing any previous one; the first opening subscribes the change
    /// observers below, one subscription per name for the rest of the run.
    void preferenceClick();
    // The change observers: each reads its setting back from the store and applies it to the panel or to
    // the panel's settings object.
    void handleTextColorChange();
    void handleBgColorChange();
    void handleDropShadowChange();
    void handleSoundSelectionChange();
    void handleReminderSoundSelectionChange();
    void handlePlaySoundChange();
    void handleContinueCountdownChange();
    void handleRemindEveryIntervalChange();
    void handlePlayReminderSoundChange();
    void quit();
    /// Opens a new about window. A window of an earlier opening that is still open stays open.
    void aboutClicked();
    /// Open the contact page and the online user guide in the browser, through ExternalLinks::open.
    void contactSupportClicked();
    void userGuideClicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isEditingTime() const;
    bool isClickIntoIdleTime() const;
    void endEditing();
    void completeContextMenu();

    std::unique_ptr<Ui::MainInterface> m_ui;
    QPointer<TitlelessPanel> m_panel;
    QMenu* m_rightClickMenu = nullptr;
    std::unique_ptr<Brevlin> m_timerData;

    Countdown m_countdown;
    bool m_isPaused = true;
    QTimer m_countdownTimer;
    std::shared_ptr<Playable> m_endSound;
    std::shared_ptr<Playable> m_reminderSound;

    QAction* m_preferencesAction = nullptr;
    std::unique_ptr<PreferenceWindowController> m_prefsWindowController;
    std::unique_ptr<AboutWindowController> m_aboutWindowController;

    // Ends the delegate's change subscriptions when the delegate goes: the notification centre outlives
    // it. While it lives they are never removed.
    struct ObserverRegistration
    {
        explicit ObserverRegistration(const void* observer)
            : observer(observer)
        {}
        ObserverRegistration(const ObserverRegistration&) = delete;
        ObserverRegistration& operator=(const ObserverRegistration&) = delete;
        ~ObserverRegistration();
        const void* observer;
    };
    ObserverRegistration m_observerRegistration{this};
    bool m_observersSubscribed = false;
};
