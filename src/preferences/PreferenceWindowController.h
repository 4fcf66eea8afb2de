#pragma once

#include <QByteArray>
#include <QColor>
#include <QObject>

#include <memory>

class Brevlin;
class ColorWell;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
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
    /// The window's own settings object, never the panel's.
    Brevlin* timerData() const { return m_timerData.get(); }

    /// Lists the settings object's sounds in both pop-ups and selects its two indices, as after a change
    /// of the sound list.
    void reloadSoundPopUps();

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
    /// Back to the colours and shadow of this window's opening; sound and reminder settings stay.
    void resetClick();
    /// Stored at once like the others; it posts nothing, the panel reads it at every hand-back.
    void returnFocusToPreviousWindowClick(QCheckBox* sender);

private:
    void windowDidLoad();
    void connectControls();

    std::unique_ptr<Brevlin> m_timerData;
    std::unique_ptr<Ui::PreferenceWindowController> m_ui;
    std::unique_ptr<QWidget> m_prefsWindow;
};
