#pragma once

#include "SignalSettings.h"

#include <QByteArray>
#include <QColor>
#include <QObject>

#include <memory>

class Brevlin;
class ColorWell;
class QCheckBox;
class QComboBox;
class QFileDialog;
class QLineEdit;
class QMessageBox;
class QPushButton;
class QRect;
class QScrollArea;
class QWidget;
class Stepper;

namespace Ui {
class PreferenceWindowController;
}

/// The preferences window: a pure editor of the preference store. Every control writes its setting through
/// PreferenceController the moment it changes, and the store's notifications carry the change to the
/// panel; there is nothing to apply or save. Each opening builds a new controller, which takes a fresh
/// snapshot of the appearance for the reset button and fills a settings object of its own from the store.
class PreferenceWindowController : public QObject
{
    Q_OBJECT

public:
    /// Values shared by every controller of the process; each new controller overwrites them.
    struct SharedValues
    {
        /// The colours as last chosen in the window; they start as the stored ones (white text, black
        /// background where none is stored; invalid where the stored data does not decode).
        QColor currentTextColor;
        QColor currentBgColor;
        /// The shadow setting at the opening; only sets the check box.
        bool currentDropShadow = false;
        /// What the reset button goes back to: the appearance at the opening, as colours and as stored.
        QColor openingTextColor;
        QColor openingBgColor;
        QByteArray openingTextColorData;
        QByteArray openingBgColorData;
        bool openingDropShadow = false;
        /// The stored form of the colour last chosen in each well.
        QByteArray lastTextColorData;
        QByteArray lastBgColorData;
    };
    static const SharedValues& sharedValues();

    /// Takes the snapshot, fills the window's own settings object and loads the window, not yet shown.
    explicit PreferenceWindowController(QObject* parent = nullptr);
    ~PreferenceWindowController() override;

    /// Shows the window above every other, full-screen slide shows included, on every desktop, and gives
    /// it the keyboard.
    void showWindow();

    QWidget* prefsWindow() const { return m_prefsWindow.get(); }
    /// Sizes the window to show all its sections where the area (a screen's available part) has room for
    /// it, title bar included; otherwise as tall as the area allows, the sections scrolling. The window
    /// is never wider than the area. Done at loading for the main screen.
    void fitInto(const QRect& area);
    /// What holds the window's sections and scrolls them where the screen is too small.
    QScrollArea* scrollArea() const;
    ColorWell* textColorWell() const;
    ColorWell* bgColorWell() const;
    QCheckBox* dropShadowCheckbox() const;
    QCheckBox* playSoundCheckbox() const;
    QComboBox* soundFilesDropdownList() const;
    QComboBox* reminderSoundFilesDropdownList() const;
    QLineEdit* tfRemindEveryH() const;
    QLineEdit* tfRemindEveryM() const;
    QLineEdit* tfRemindEveryS() const;
    QCheckBox* playReminderSoundCheckbox() const;
    QPushButton* resetButton() const;
    QPushButton* previewSoundButton() const;
    QPushButton* removeSoundButton() const;
    QPushButton* previewReminderSoundButton() const;
    QPushButton* removeReminderSoundButton() const;
    QPushButton* addSoundButton() const;
    QPushButton* moreSoundsButton() const;
    /// The window's own settings object, never the panel's.
    Brevlin* timerData() const { return m_timerData.get(); }

    /// Lists the settings object's sounds in both pop-ups and selects its two indices, as after a change
    /// of the sound list. An index outside the list leaves its pop-up with nothing selected.
    void reloadSoundPopUps();

    /// The return codes of the removal sheet's two buttons, "Yes" and "No", as the sheet callbacks get them.
    static constexpr qint64 alertFirstButtonReturn = 1000;
    static constexpr qint64 alertSecondButtonReturn = 1001;

    /// The end of the removal sheet of the end-sound pop-up: on "Yes" (alertFirstButtonReturn) removes the
    /// entry the pop-up selects now, file and list entry, and moves only the end-sound index back by one.
    /// The alert and the context are not used.
    void alertDidEnd(QMessageBox* alert, qint64 returnCode, void* contextInfo);
    /// The same for the reminder-sound pop-up, moving only the reminder index.
    void reminderSoundAlertDidEnd(QMessageBox* alert, qint64 returnCode, void* contextInfo);

public slots:
    void textColorClick();
    void bgColorClick();
    void dropShadowClick(QCheckBox* sender);
    void playSoundCheckStatus(QCheckBox* sender);
    void continueCountdownCheckboxStatus(QCheckBox* sender);
    void playReminderSoundCheckboxStatus(QCheckBox* sender);
    void soundSelectionChanged();
    void reminderSoundSelectionChanged();
    /// Any edit of the three interval fields stores the three texts joined with ":", exactly as typed.
    void controlTextDidChange();
    /// Both deliberately do nothing: the interval is stored only when a field's text is edited.
    void tfRemindEveryHChange();
    void stepperRemindEveryHChange();
    /// Back to the colours and shadow of this window's opening, and to the signals near and past the end
    /// as they were then (only those changed since are written again); sound and reminder settings stay.
    void resetClick();
    /// Stored at once like the others; it posts nothing, the panel reads it at every hand-back.
    void returnFocusToPreviousWindowClick(QCheckBox* sender);

    /// Plays the stored list's entry at the pop-up's selection with a sound object of its own, which lives
    /// until it has played: quick clicks overlap. No selection, a name that is not a plain file name, or a
    /// file that does not load plays nothing.
    void previewSoundClicked();
    void previewReminderSoundClicked();
    /// Opens a file dialog offering only the sounds Sound plays and returns at once; the window stays usable
    /// meanwhile, and each click opens a dialog of its own. A chosen file is copied into the sound folder
    /// under its own name, listed last and made the end sound; when the copy fails (a file of that name is
    /// there already, the source cannot be read, is not a regular file or is larger than a sound may be) an
    /// application-modal "Error" alert says so and nothing changes. The copy runs on a worker thread; its
    /// outcome arrives through the event loop, and not at all when the window's controller is gone by
    /// then.
    void addSoundClicked();
    /// Whether a file chosen for adding is still being copied.
    bool isAddingSound() const;
    /// Asks on a sheet whether to remove the pop-up's sound (alertDidEnd() gets the answer); the built-in
    /// default sound is refused instead. Nothing happens while the pop-up selects nothing.
    void removeSoundClicked();
    void removeReminderSoundClicked();
    /// Opens the page of further sounds in the browser.
    void getMoreSoundFromVoskClicked();

private:
    using AlertCallback = void (PreferenceWindowController::*)(QMessageBox*, qint64, void*);

    void windowDidLoad();
    void connectControls();
    void connectSignalControls();
    /// Shows the signals near and past the end as the store holds them.
    void showSignalSettings(const SignalSettings& settings);
    void openPanelDidEnd(QFileDialog* panel, int result);
    /// Lists a sound just copied into the folder last and makes it the end sound.
    void addCopiedSound(const QString& name);
    void askToRemoveSound(const QComboBox* popUp, AlertCallback didEnd);
    /// Deletes the file of the pop-up's entry (where the name stays inside the sound folder) and removes
    /// the entry from the settings object. False when the pop-up selects no entry.
    bool removeSelectedSound(const QComboBox* popUp);

    std::unique_ptr<Brevlin> m_timerData;
    std::unique_ptr<Ui::PreferenceWindowController> m_ui;
    std::unique_ptr<QWidget> m_prefsWindow;
    int m_copiesInProgress = 0;
    /// The signals near and past the end at this window's opening, for the reset.
    SignalSettings m_openingSignals;
};
