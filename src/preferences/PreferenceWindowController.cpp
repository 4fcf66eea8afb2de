#include "PreferenceWindowController.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "ColorWell.h"
#include "Platform.h"
#include "PreferenceController.h"
#include "Stepper.h"
#include "TextValues.h"
#include "ui_PreferenceWindowController.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFontMetrics>
#include <QKeySequence>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

namespace {

PreferenceWindowController::SharedValues& shared()
{
    static PreferenceWindowController::SharedValues values;
    return values;
}

// A small window of fixed size: a title and a close button, nothing to maximise.
constexpr Qt::WindowFlags windowFlags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                        Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint;

// A check box is "on" only when fully checked; the mixed state counts as off.
bool isOn(const QCheckBox* box)
{
    return box && box->checkState() == Qt::Checked;
}

void fillPopUp(QComboBox* popUp, const QStringList& names, qint64 index)
{
    // Filling is not a choice of the user's: no action may follow from it.
    const QSignalBlocker blocker(popUp);
    popUp->clear();
    popUp->addItems(names);
    popUp->setCurrentIndex(index >= 0 && index < names.size() ? static_cast<int>(index) : -1);
}

} // namespace

const PreferenceWindowController::SharedValues& PreferenceWindowController::sharedValues()
{
    return shared();
}

PreferenceWindowController::PreferenceWindowController(QObject* parent)
    : QObject(parent)
    , m_timerData(std::make_unique<Brevlin>())
    , m_ui(std::make_unique<Ui::PreferenceWindowController>())
    , m_prefsWindow(std::make_unique<QWidget>(nullptr, windowFlags))
{
    SharedValues& values = shared();
    // Where nothing is stored, the window starts from white on black, not from the panel's defaults.
    values.currentTextColor = QColor(Qt::white);
    values.currentBgColor = QColor(Qt::black);
    QByteArray textColorData = PreferenceController::preferenceTextColor();
    QByteArray bgColorData = PreferenceController::preferenceBgColor();
    if (!textColorData.isNull())
        values.currentTextColor = unarchiveObjectWithData(textColorData);
    else
        textColorData = archivedDataWithRootObject(values.currentTextColor);
    if (!bgColorData.isNull())
        values.currentBgColor = unarchiveObjectWithData(bgColorData);
    else
        bgColorData = archivedDataWithRootObject(values.currentBgColor);
    values.currentDropShadow = PreferenceController::preferenceDropShadow();
    values.openingDropShadow = values.currentDropShadow;
    values.openingTextColor = values.currentTextColor;
    values.openingBgColor = values.currentBgColor;
    values.openingTextColorData = textColorData;
    values.openingBgColorData = bgColorData;

    m_timerData->setSoundFiles(PreferenceController::preferenceSoundFiles());
    m_timerData->setSelectedSoundIndex(PreferenceController::preferenceSelectedSoundIndex());
    m_timerData->setPlaySound(PreferenceController::preferencePlaySound());
    m_timerData->setContinueCountdown(PreferenceController::preferenceContinueCountdown());
    m_timerData->setReminderSoundIndex(PreferenceController::preferenceReminderSoundIndex());
    m_timerData->setPlayReminderSound(PreferenceController::preferencePlayReminderSound());
    m_timerData->setRemindEveryInterval(PreferenceController::preferenceRemindEveryInterval());

    m_ui->setupUi(m_prefsWindow.get());
    windowDidLoad();
}

PreferenceWindowController::~PreferenceWindowController() = default;

void PreferenceWindowController::windowDidLoad()
{
    const SharedValues& values = shared();
    // A colour that did not decode leaves the well with the colour of the layout.
    if (values.currentTextColor.isValid())
        textColorWell()->setColor(values.currentTextColor);
    if (values.currentBgColor.isValid())
        bgColorWell()->setColor(values.currentBgColor);
    dropShadowCheckbox()->setChecked(values.currentDropShadow);

    // Every other control shows the window's settings object.
    playSoundCheckbox()->setChecked(m_timerData->playSound());
    m_ui->continueCountdownCheckbox->setChecked(m_timerData->continueCountdown());
    playReminderSoundCheckbox()->setChecked(m_timerData->playReminderSound());
    reloadSoundPopUps();
    tfRemindEveryH()->setText(QString::number(m_timerData->remindEveryH()));
    tfRemindEveryM()->setText(QString::number(m_timerData->remindEveryM()));
    tfRemindEveryS()->setText(QString::number(m_timerData->remindEveryS()));
    m_ui->stepperRemindEveryH->setValue(m_timerData->remindEveryH());
    m_ui->returnFocusCheckbox->setChecked(PreferenceController::preferenceReturnFocusToPreviousWindow());

    // Wide enough for a few digits in any font; the fields take any text, so there is no fixed limit.
    const QFontMetrics metrics = tfRemindEveryH()->fontMetrics();
    for (QLineEdit* field : {tfRemindEveryH(), tfRemindEveryM(), tfRemindEveryS()})
        field->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("0000")) + metrics.height());
    m_ui->stepperRemindEveryH->upButton()->setAccessibleName(tr("One hour more"));
    m_ui->stepperRemindEveryH->downButton()->setAccessibleName(tr("One hour less"));

    connectControls();
}

void PreferenceWindowController::connectControls()
{
    Ui::PreferenceWindowController& ui = *m_ui;
    connect(ui.textColorWell, &ColorWell::colorChosen, this, &PreferenceWindowController::textColorClick);
    connect(ui.bgColorWell, &ColorWell::colorChosen, this, &PreferenceWindowController::bgColorClick);

    // Only clicks act, as a user's: setting a box's state in code (the reset does) stores nothing itself.
    connect(ui.dropShadowCheckbox, &QCheckBox::clicked, this,
            [this] { dropShadowClick(m_ui->dropShadowCheckbox); });
    connect(ui.playSoundCheckbox, &QCheckBox::clicked, this, [this] {
        m_timerData->setPlaySound(isOn(m_ui->playSoundCheckbox));
        playSoundCheckStatus(m_ui->playSoundCheckbox);
    });
    connect(ui.continueCountdownCheckbox, &QCheckBox::clicked, this, [this] {
        m_timerData->setContinueCountdown(isOn(m_ui->continueCountdownCheckbox));
        continueCountdownCheckboxStatus(m_ui->continueCountdownCheckbox);
    });
    connect(ui.playReminderSoundCheckbox, &QCheckBox::clicked, this, [this] {
        m_timerData->setPlayReminderSound(isOn(m_ui->playReminderSoundCheckbox));
        playReminderSoundCheckboxStatus(m_ui->playReminderSoundCheckbox);
    });
    connect(ui.returnFocusCheckbox, &QCheckBox::clicked, this,
            [this] { returnFocusToPreviousWindowClick(m_ui->returnFocusCheckbox); });

    // activated: the user's choice only, never a refill of the list.
    connect(ui.soundFilesDropdownList, &QComboBox::activated, this, [this](int index) {
        m_timerData->setSelectedSoundIndex(index);
        soundSelectionChanged();
    });
    connect(ui.reminderSoundFilesDropdownList, &QComboBox::activated, this, [this](int index) {
        m_timerData->setReminderSoundIndex(index);
        reminderSoundSelectionChanged();
    });

    // textEdited: typing, pasting, cutting; not the stepper writing the hours into its field.
    connect(ui.tfRemindEveryH, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_timerData->setRemindEveryH(intValue(text));
        m_ui->stepperRemindEveryH->setValue(m_timerData->remindEveryH());
        controlTextDidChange();
    });
    connect(ui.tfRemindEveryM, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_timerData->setRemindEveryM(intValue(text));
        controlTextDidChange();
    });
    connect(ui.tfRemindEveryS, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_timerData->setRemindEveryS(intValue(text));
        controlTextDidChange();
    });
    connect(ui.tfRemindEveryH, &QLineEdit::returnPressed, this,
            &PreferenceWindowController::tfRemindEveryHChange);
    connect(ui.stepperRemindEveryH, &Stepper::valueStepped, this, [this](qint64 hours) {
        m_timerData->setRemindEveryH(hours);
        m_ui->tfRemindEveryH->setText(QString::number(hours));
        stepperRemindEveryHChange();
    });

    connect(ui.resetButton, &QPushButton::clicked, this, &PreferenceWindowController::resetClick);

    auto* close = new QAction(m_prefsWindow.get());
    close->setShortcuts({QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)});
    connect(close, &QAction::triggered, m_prefsWindow.get(), &QWidget::close);
    m_prefsWindow->addAction(close);
}

void PreferenceWindowController::showWindow()
{
    m_prefsWindow->show();
    m_prefsWindow->raise();
    m_prefsWindow->activateWindow();
    // After the show: some window systems forget the level and desktops of a window that is hidden.
    platform::floatAboveEverything(m_prefsWindow->winId());
}

void PreferenceWindowController::reloadSoundPopUps()
{
    const QStringList names = m_timerData->soundFiles();
    fillPopUp(soundFilesDropdownList(), names, m_timerData->selectedSoundIndex());
    fillPopUp(reminderSoundFilesDropdownList(), names, m_timerData->reminderSoundIndex());
}

ColorWell* PreferenceWindowController::textColorWell() const
{
    return m_ui->textColorWell;
}
ColorWell* PreferenceWindowController::bgColorWell() const
{
    return m_ui->bgColorWell;
}
QCheckBox* PreferenceWindowController::dropShadowCheckbox() const
{
    return m_ui->dropShadowCheckbox;
}
QCheckBox* PreferenceWindowController::playSoundCheckbox() const
{
    return m_ui->playSoundCheckbox;
}
QComboBox* PreferenceWindowController::soundFilesDropdownList() const
{
    return m_ui->soundFilesDropdownList;
}
QComboBox* PreferenceWindowController::reminderSoundFilesDropdownList() const
{
    return m_ui->reminderSoundFilesDropdownList;
}
QLineEdit* PreferenceWindowController::tfRemindEveryH() const
{
    return m_ui->tfRemindEveryH;
}
QLineEdit* PreferenceWindowController::tfRemindEveryM() const
{
    return m_ui->tfRemindEveryM;
}
QLineEdit* PreferenceWindowController::tfRemindEveryS() const
{
    return m_ui->tfRemindEveryS;
}
QCheckBox* PreferenceWindowController::playReminderSoundCheckbox() const
{
    return m_ui->playReminderSoundCheckbox;
}
QPushButton* PreferenceWindowController::resetButton() const
{
    return m_ui->resetButton;
}

void PreferenceWindowController::textColorClick()
{
    SharedValues& values = shared();
    values.currentTextColor = textColorWell()->color();
    values.lastTextColorData = archivedDataWithRootObject(values.currentTextColor);
    PreferenceController::setPreferenceTextColor(values.lastTextColorData);
}

void PreferenceWindowController::bgColorClick()
{
    SharedValues& values = shared();
    values.currentBgColor = bgColorWell()->color();
    values.lastBgColorData = archivedDataWithRootObject(values.currentBgColor);
    PreferenceController::setPreferenceBgColor(values.lastBgColorData);
}

void PreferenceWindowController::dropShadowClick(QCheckBox* sender)
{
    PreferenceController::setPreferenceDropShadow(isOn(sender));
}

void PreferenceWindowController::playSoundCheckStatus(QCheckBox* sender)
{
    PreferenceController::setPreferencePlaySound(isOn(sender));
}

void PreferenceWindowController::continueCountdownCheckboxStatus(QCheckBox* sender)
{
    PreferenceController::setPreferenceContinueCountdown(isOn(sender));
}

void PreferenceWindowController::playReminderSoundCheckboxStatus(QCheckBox* sender)
{
    PreferenceController::setPreferencePlayReminderSound(isOn(sender));
}

void PreferenceWindowController::soundSelectionChanged()
{
    // Read from the pop-up itself; -1 (nothing selected) is the store's to turn into 0.
    PreferenceController::setPreferenceSelectedSoundIndex(soundFilesDropdownList()->currentIndex());
}

void PreferenceWindowController::reminderSoundSelectionChanged()
{
    PreferenceController::setPreferenceReminderSoundIndex(reminderSoundFilesDropdownList()->currentIndex());
}

void PreferenceWindowController::controlTextDidChange()
{
    // No trimming, padding or checking: "1", "" and "30" are stored as "1::30", and a ":" typed into a
    // field makes more than three parts, which the panel then ignores.
    PreferenceController::setPreferenceRemindEveryInterval(tfRemindEveryH()->text() + QLatin1Char(':') +
                                                           tfRemindEveryM()->text() + QLatin1Char(':') +
                                                           tfRemindEveryS()->text());
}

void PreferenceWindowController::tfRemindEveryHChange() {}

void PreferenceWindowController::stepperRemindEveryHChange() {}

void PreferenceWindowController::resetClick()
{
    const SharedValues& values = shared();
    textColorWell()->setColor(values.openingTextColor);
    bgColorWell()->setColor(values.openingBgColor);
    dropShadowCheckbox()->setChecked(values.openingDropShadow);
    // Written and announced even when nothing changed.
    PreferenceController::setPreferenceTextColor(values.openingTextColorData);
    PreferenceController::setPreferenceBgColor(values.openingBgColorData);
    PreferenceController::setPreferenceDropShadow(values.openingDropShadow);
}

void PreferenceWindowController::returnFocusToPreviousWindowClick(QCheckBox* sender)
{
    PreferenceController::setPreferenceReturnFocusToPreviousWindow(isOn(sender));
}
