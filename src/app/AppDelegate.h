#pragma once

#include "Countdown.h"
#include "SignalSettings.h"
#include "SoundLoader.h"

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
class TimeDisplay;
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
    /// What shows the time of a running countdown, in the hidden field's place.
    TimeDisplay* timeDisplay() const { return m_timeDisplay; }
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
    /// Whether a flash is under way and its colours are swapped right now.
    bool isFlashing() const { return m_flashChangesLeft > 0; }
    bool isFlashSwapped() const { return m_flashSwapped; }

    // The two loaded sounds the countdown plays; either may be empty. A handle keeps its sound while a
    // new file is decoded for it; setting one abandons that decode.
    std::shared_ptr<Playable> endSound() const { return m_endSound; }
    void setEndSound(std::shared_ptr<Playable> sound);
    std::shared_ptr<Playable> reminderSound() const { return m_reminderSound; }
    void setReminderSound(std::shared_ptr<Playable> sound);
    /// Whether a handle still waits for its file: from the launch until its first decode is delivered, and
    /// while a newly chosen file is decoded. A sound due meanwhile plays as soon as it is there.
    bool isLoadingSounds() const;

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
    /// Any of the panel's signals near and past the end: colours and flash apply at once, to a running
    /// countdown too.
    void handleSignalSettingsChange();
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
    /// Puts the colours the panel shows now on it: the stored pair while idle, the pair of the time left
    /// while counting, swapped during a flash. Sets only what changed.
    void applyPanelColors();
    /// Starts a flash of that many colour swaps, unless one is under way.
    void startFlash(int changes);
    void stopFlash();
    void flashStep();

    // A file being decoded off the main thread for one of the two handles.
    struct SoundLoad
    {
        SoundLoader::Request request;
        // From the launch until its decode starts, after the panel's first frame.
        bool awaitingLaunch = false;
        // The countdown wanted the sound while it was being decoded.
        bool playWhenLoaded = false;
        bool isPending() const { return awaitingLaunch || request.isPending(); }
    };
    /// Starts decoding the sound folder's file of that name for the handle; the decode it replaces is
    /// abandoned, so the last choice always wins.
    void loadSound(const QString& name, std::shared_ptr<Playable>& handle, SoundLoad& load);
    void playSound(const std::shared_ptr<Playable>& handle, SoundLoad& load);

    std::unique_ptr<Ui::MainInterface> m_ui;
    QPointer<TitlelessPanel> m_panel;
    QMenu* m_rightClickMenu = nullptr;
    TimeDisplay* m_timeDisplay = nullptr;
    std::unique_ptr<Brevlin> m_timerData;

    Countdown m_countdown;
    bool m_isPaused = true;
    QTimer m_countdownTimer;
    SignalSettings m_signalSettings;
    QTimer m_flashTimer;
    int m_flashChangesLeft = 0;
    bool m_flashSwapped = false;
    std::shared_ptr<Playable> m_endSound;
    std::shared_ptr<Playable> m_reminderSound;
    SoundLoad m_endSoundLoad;
    SoundLoad m_reminderSoundLoad;

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
