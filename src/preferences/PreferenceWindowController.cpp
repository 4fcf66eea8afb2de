#include "PreferenceWindowController.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "ColorWell.h"
#include "ExternalLinks.h"
#include "Platform.h"
#include "PreferenceController.h"
#include "SoundFileTypes.h"
#include "SoundFolder.h"
#include "SoundLoader.h"
#include "Stepper.h"
#include "TextValues.h"
#include "ui_PreferenceWindowController.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStandardPaths>
#include <QStyle>
#include <QToolButton>

#include <optional>

namespace {

PreferenceWindowController::SharedValues& shared()
{
    static PreferenceWindowController::SharedValues values;
    return values;
}

// A small window: a title and a close button, nothing to maximise. Its size follows its contents and the
// screen (fitInto).
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

// The list's entry at a pop-up's selection; none when the pop-up selects nothing or the list is shorter.
std::optional<QString> entryAt(const QStringList& names, int index)
{
    if (index < 0 || index >= names.size())
        return std::nullopt;
    return names.at(index);
}

void preview(const QComboBox* popUp)
{
    // The stored list, not the window's: what the store holds is what the panel would play.
    if (const std::optional<QString> name =
            entryAt(PreferenceController::preferenceSoundFiles(), popUp->currentIndex()))
        SoundLoader::playFile(SoundFolder::locationOfSound(*name));
}

// Closes the window it filters on an Escape that no control in it took.
class EscapeCloses : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress) {
            const auto* key = static_cast<QKeyEvent*>(event);
            if (key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier) {
                static_cast<QWidget*>(watched)->close();
                return true;
            }
        }
        return QObject::eventFilter(watched, event);
    }
};

// At the panel's level, on every desktop and over a slide show, like the panel itself: the presenter may
// have added the sound while presenting.
void runFileCopyErrorAlert()
{
    QMessageBox alert;
    alert.setWindowModality(Qt::ApplicationModal);
    alert.setText(QStringLiteral("Error"));
    alert.setInformativeText(QStringLiteral("%1").arg(QStringLiteral("File copy error")));
    // Not a standard button: Qt would title it "OK".
    alert.setDefaultButton(alert.addButton(QStringLiteral("Ok"), QMessageBox::AcceptRole));
    alert.setWindowFlag(Qt::WindowStaysOnTopHint);
    alert.show();
    platform::floatAboveEverything(alert.winId());
    alert.exec();
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

    m_openingSignals = PreferenceController::preferenceSignalSettings();

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
    showSignalSettings(m_openingSignals);

    // Wide enough for a few digits in any font; the fields take any text, so there is no fixed limit.
    const QFontMetrics metrics = tfRemindEveryH()->fontMetrics();
    for (QLineEdit* field : {tfRemindEveryH(), tfRemindEveryM(), tfRemindEveryS()})
        field->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("0000")) + metrics.height());
    for (QLineEdit* field : {m_ui->warnAtField, m_ui->finalAtField})
        field->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("00:00:00")) + metrics.height());
    m_ui->stepperRemindEveryH->upButton()->setAccessibleName(tr("One hour more"));
    m_ui->stepperRemindEveryH->downButton()->setAccessibleName(tr("One hour less"));

    // The page of more sounds reads as a link, in the style's own link colour.
    QFont linkFont = moreSoundsButton()->font();
    linkFont.setUnderline(true);
    moreSoundsButton()->setFont(linkFont);
    QPalette linkPalette = moreSoundsButton()->palette();
    linkPalette.setColor(QPalette::ButtonText, linkPalette.color(QPalette::Link));
    moreSoundsButton()->setPalette(linkPalette);

    connectControls();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        fitInto(screen->availableGeometry());
}

void PreferenceWindowController::fitInto(const QRect& area)
{
    QWidget* window = m_prefsWindow.get();
    QWidget* contents = m_ui->contents;
    contents->adjustSize();
    const QSize wanted = contents->sizeHint();
    // The window manager's title bar and borders lie outside the window; the font tells their size
    // better than any constant at every scale.
    const int frame = 3 * window->fontMetrics().height();
    // Too narrow an area scrolls sideways too, the scroll bar then taking some of the height.
    const int scrollBarSize = scrollArea()->style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const bool narrow = wanted.width() > area.width();
    const int height = qMax(1, qMin(wanted.height() + (narrow ? scrollBarSize : 0), area.height() - frame));
    const bool tall = height < wanted.height() + (narrow ? scrollBarSize : 0);
    const int width = qMax(1, qMin(wanted.width() + (tall ? scrollBarSize : 0), area.width()));
    window->setFixedWidth(width);
    window->setMaximumHeight(qMax(height, wanted.height() + (narrow ? scrollBarSize : 0)));
    // Where it all fits, of fixed size as before; otherwise the presenter may make it shorter still.
    window->setMinimumHeight(tall ? qMin(height, window->fontMetrics().height() * 10) : height);
    window->resize(width, height);
}

QScrollArea* PreferenceWindowController::scrollArea() const
{
    return m_ui->scrollArea;
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
    connectSignalControls();

    connect(ui.previewSoundButton, &QPushButton::clicked, this,
            &PreferenceWindowController::previewSoundClicked);
    connect(ui.previewReminderSoundButton, &QPushButton::clicked, this,
            &PreferenceWindowController::previewReminderSoundClicked);
    connect(ui.addSoundButton, &QPushButton::clicked, this, &PreferenceWindowController::addSoundClicked);
    connect(ui.removeSoundButton, &QPushButton::clicked, this,
            &PreferenceWindowController::removeSoundClicked);
    connect(ui.removeReminderSoundButton, &QPushButton::clicked, this,
            &PreferenceWindowController::removeReminderSoundClicked);
    connect(ui.moreSoundsButton, &QPushButton::clicked, this,
            &PreferenceWindowController::getMoreSoundFromVoskClicked);

    auto* close = new QAction(m_prefsWindow.get());
    close->setShortcut(QKeySequence::Close);
    connect(close, &QAction::triggered, m_prefsWindow.get(), &QWidget::close);
    m_prefsWindow->addAction(close);
    // Escape as a key the window itself receives, not as a shortcut: a shortcut would also fire for the
    // Escape that closes an open drop-down list, and the next Escape would then reach the slide show.
    m_prefsWindow->installEventFilter(new EscapeCloses(m_prefsWindow.get()));
}

void PreferenceWindowController::connectSignalControls()
{
    Ui::PreferenceWindowController& ui = *m_ui;
    connect(ui.changeColorsCheckbox, &QCheckBox::clicked, this, [this] {
        PreferenceController::setPreferenceChangeColorsNearEnd(isOn(m_ui->changeColorsCheckbox));
    });
    connect(ui.overtimeColorsCheckbox, &QCheckBox::clicked, this, [this] {
        PreferenceController::setPreferenceOvertimeColors(isOn(m_ui->overtimeColorsCheckbox));
    });
    connect(ui.flashCheckbox, &QCheckBox::clicked, this,
            [this] { PreferenceController::setPreferenceFlashAtZero(isOn(m_ui->flashCheckbox)); });
    // Stored as typed at every edit, like the reminder interval; the panel reads a text that is not a
    // time as a threshold never reached.
    connect(ui.warnAtField, &QLineEdit::textEdited, this,
            [](const QString& text) { PreferenceController::setPreferenceWarnAt(text); });
    connect(ui.finalAtField, &QLineEdit::textEdited, this,
            [](const QString& text) { PreferenceController::setPreferenceFinalAt(text); });
    const std::pair<ColorWell*, void (*)(const QColor&)> wells[] = {
        {ui.warnTextColorWell, &PreferenceController::setPreferenceWarnTextColor},
        {ui.warnBgColorWell, &PreferenceController::setPreferenceWarnBgColor},
        {ui.finalTextColorWell, &PreferenceController::setPreferenceFinalTextColor},
        {ui.finalBgColorWell, &PreferenceController::setPreferenceFinalBgColor},
        {ui.overtimeTextColorWell, &PreferenceController::setPreferenceOvertimeTextColor},
        {ui.overtimeBgColorWell, &PreferenceController::setPreferenceOvertimeBgColor},
    };
    for (const auto& [well, store] : wells)
        connect(well, &ColorWell::colorChosen, this, [well = well, store = store] { store(well->color()); });
}

void PreferenceWindowController::showSignalSettings(const SignalSettings& settings)
{
    m_ui->changeColorsCheckbox->setChecked(settings.changeColorsNearEnd);
    m_ui->warnAtField->setText(settings.warnAt);
    m_ui->finalAtField->setText(settings.finalAt);
    m_ui->warnTextColorWell->setColor(settings.warnTextColor);
    m_ui->warnBgColorWell->setColor(settings.warnBgColor);
    m_ui->finalTextColorWell->setColor(settings.finalTextColor);
    m_ui->finalBgColorWell->setColor(settings.finalBgColor);
    m_ui->overtimeColorsCheckbox->setChecked(settings.overtimeColors);
    m_ui->overtimeTextColorWell->setColor(settings.overtimeTextColor);
    m_ui->overtimeBgColorWell->setColor(settings.overtimeBgColor);
    m_ui->flashCheckbox->setChecked(settings.flashAtZero);
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
QPushButton* PreferenceWindowController::previewSoundButton() const
{
    return m_ui->previewSoundButton;
}
QPushButton* PreferenceWindowController::removeSoundButton() const
{
    return m_ui->removeSoundButton;
}
QPushButton* PreferenceWindowController::previewReminderSoundButton() const
{
    return m_ui->previewReminderSoundButton;
}
QPushButton* PreferenceWindowController::removeReminderSoundButton() const
{
    return m_ui->removeReminderSoundButton;
}
QPushButton* PreferenceWindowController::addSoundButton() const
{
    return m_ui->addSoundButton;
}
QPushButton* PreferenceWindowController::moreSoundsButton() const
{
    return m_ui->moreSoundsButton;
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

    // Only what changed since the opening: a window whose signals were not touched resets as it always did.
    const SignalSettings now = PreferenceController::preferenceSignalSettings();
    const SignalSettings& opening = m_openingSignals;
    showSignalSettings(opening);
    if (now.changeColorsNearEnd != opening.changeColorsNearEnd)
        PreferenceController::setPreferenceChangeColorsNearEnd(opening.changeColorsNearEnd);
    if (now.warnAt != opening.warnAt)
        PreferenceController::setPreferenceWarnAt(opening.warnAt);
    if (now.finalAt != opening.finalAt)
        PreferenceController::setPreferenceFinalAt(opening.finalAt);
    if (now.warnTextColor != opening.warnTextColor)
        PreferenceController::setPreferenceWarnTextColor(opening.warnTextColor);
    if (now.warnBgColor != opening.warnBgColor)
        PreferenceController::setPreferenceWarnBgColor(opening.warnBgColor);
    if (now.finalTextColor != opening.finalTextColor)
        PreferenceController::setPreferenceFinalTextColor(opening.finalTextColor);
    if (now.finalBgColor != opening.finalBgColor)
        PreferenceController::setPreferenceFinalBgColor(opening.finalBgColor);
    if (now.overtimeColors != opening.overtimeColors)
        PreferenceController::setPreferenceOvertimeColors(opening.overtimeColors);
    if (now.overtimeTextColor != opening.overtimeTextColor)
        PreferenceController::setPreferenceOvertimeTextColor(opening.overtimeTextColor);
    if (now.overtimeBgColor != opening.overtimeBgColor)
        PreferenceController::setPreferenceOvertimeBgColor(opening.overtimeBgColor);
    if (now.flashAtZero != opening.flashAtZero)
        PreferenceController::setPreferenceFlashAtZero(opening.flashAtZero);
}

void PreferenceWindowController::returnFocusToPreviousWindowClick(QCheckBox* sender)
{
    PreferenceController::setPreferenceReturnFocusToPreviousWindow(isOn(sender));
}

void PreferenceWindowController::previewSoundClicked()
{
    preview(soundFilesDropdownList());
}

void PreferenceWindowController::previewReminderSoundClicked()
{
    preview(reminderSoundFilesDropdownList());
}

void PreferenceWindowController::addSoundClicked()
{
    // Modeless: the window stays usable, and a second click opens a second dialog with its own completion.
    auto* panel = new QFileDialog(m_prefsWindow.get(), tr("Add a Sound"));
    panel->setObjectName(QStringLiteral("addSoundPanel"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowModality(Qt::NonModal);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setNameFilters(SoundFileTypes::fileDialogNameFilters());
    // Where people keep sounds; the working directory of a program started from a menu means nothing.
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    panel->setDirectory(QFileInfo(music).isDir() ? music : QDir::homePath());
    connect(panel, &QFileDialog::finished, this,
            [this, panel](int result) { openPanelDidEnd(panel, result); });
    panel->show();
}

void PreferenceWindowController::openPanelDidEnd(QFileDialog* panel, int result)
{
    if (result != QDialog::Accepted)
        return;
    const QStringList chosen = panel->selectedFiles();
    if (chosen.isEmpty())
        return;
    const QString& source = chosen.first();
    const QString name = QFileInfo(source).fileName();
    // The list is not consulted: only the folder decides. The copy never overwrites, so a file of that
    // name already there, a built-in sound included, fails it. Only a regular file of a size that can load
    // is copied, and on a worker thread: a FIFO, a device or a slow disk must not hold up the panel.
    const QString destination = SoundFolder::locationOfSound(name);
    if (destination.isNull()) {
        runFileCopyErrorAlert();
        return;
    }
    ++m_copiesInProgress;
    SoundLoader::copy(source, destination, this, [this, name](bool copied) {
        --m_copiesInProgress;
        if (copied)
            addCopiedSound(name);
        else
            runFileCopyErrorAlert();
    });
}

bool PreferenceWindowController::isAddingSound() const
{
    return m_copiesInProgress > 0;
}

void PreferenceWindowController::addCopiedSound(const QString& name)
{
    m_timerData->addSoundFile(name);
    reloadSoundPopUps();
    const qint64 newIndex = m_timerData->soundFiles().size() - 1;
    // The first call finds the new index outside the stored list, so 0 is stored and announced for a
    // moment; the second, after the list is stored, makes the new sound the panel's end sound. The
    // window's own end-sound index stays, so its pop-up keeps showing the sound it showed.
    PreferenceController::setPreferenceSelectedSoundIndex(newIndex);
    PreferenceController::setPreferenceSoundFiles(m_timerData->soundFiles());
    PreferenceController::setPreferenceSelectedSoundIndex(newIndex);
}

void PreferenceWindowController::removeSoundClicked()
{
    askToRemoveSound(soundFilesDropdownList(), &PreferenceWindowController::alertDidEnd);
}

void PreferenceWindowController::removeReminderSoundClicked()
{
    askToRemoveSound(reminderSoundFilesDropdownList(), &PreferenceWindowController::reminderSoundAlertDidEnd);
}

void PreferenceWindowController::askToRemoveSound(const QComboBox* popUp, AlertCallback didEnd)
{
    const std::optional<QString> name = entryAt(m_timerData->soundFiles(), popUp->currentIndex());
    if (!name)
        return;
    // A sheet: modal to this window only, and gone with it.
    auto* alert = new QMessageBox(m_prefsWindow.get());
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowModality(Qt::WindowModal);
    alert->setIcon(QMessageBox::Warning);
    // The name comes from the settings file, which anyone may edit: never read it as markup.
    alert->setTextFormat(Qt::PlainText);
    if (*name == m_timerData->defaultSound()) {
        alert->setText(QStringLiteral("Cannot remove default sound."));
        alert->setStandardButtons(QMessageBox::Ok);
        alert->open();
        return;
    }
    alert->setText(QStringLiteral("Are you sure you want to remove %1?").arg(*name));
    alert->setInformativeText(QStringLiteral("Removed sound file cannot be restored."));
    QPushButton* yes = alert->addButton(QStringLiteral("Yes"), QMessageBox::YesRole);
    QPushButton* no = alert->addButton(QStringLiteral("No"), QMessageBox::NoRole);
    alert->setDefaultButton(yes);
    alert->setEscapeButton(no);
    // Closing the sheet any other way than with "Yes" answers no.
    connect(alert, &QMessageBox::finished, this, [this, alert, yes, didEnd] {
        (this->*didEnd)(
            alert, alert->clickedButton() == yes ? alertFirstButtonReturn : alertSecondButtonReturn, nullptr);
    });
    alert->open();
}

bool PreferenceWindowController::removeSelectedSound(const QComboBox* popUp)
{
    // Read again now: the entry is the one the pop-up selects when the answer comes.
    const std::optional<QString> name = entryAt(m_timerData->soundFiles(), popUp->currentIndex());
    if (!name)
        return false;
    // A file already gone, or one that cannot be deleted, still leaves the list; a name that is not a plain
    // file name has no file in the folder, and nothing outside it is ever deleted.
    if (const QString location = SoundFolder::locationOfSound(*name); !location.isNull())
        QFile::remove(location);
    m_timerData->removeSoundFile(*name);
    return true;
}

void PreferenceWindowController::alertDidEnd(QMessageBox* /*alert*/, qint64 returnCode, void* /*contextInfo*/)
{
    if (returnCode != alertFirstButtonReturn || !removeSelectedSound(soundFilesDropdownList()))
        return;
    // One back, whichever entry went; the reminder index is deliberately left where it was.
    m_timerData->setSelectedSoundIndex(m_timerData->selectedSoundIndex() - 1);
    reloadSoundPopUps();
    PreferenceController::setPreferenceSoundFiles(m_timerData->soundFiles());
    PreferenceController::setPreferenceSelectedSoundIndex(m_timerData->selectedSoundIndex());
}

void PreferenceWindowController::reminderSoundAlertDidEnd(QMessageBox* /*alert*/, qint64 returnCode,
                                                          void* /*contextInfo*/)
{
    if (returnCode != alertFirstButtonReturn || !removeSelectedSound(reminderSoundFilesDropdownList()))
        return;
    // One back, whichever entry went; the end-sound index is deliberately left where it was.
    m_timerData->setReminderSoundIndex(m_timerData->reminderSoundIndex() - 1);
    reloadSoundPopUps();
    PreferenceController::setPreferenceSoundFiles(m_timerData->soundFiles());
    PreferenceController::setPreferenceReminderSoundIndex(m_timerData->reminderSoundIndex());
}

void PreferenceWindowController::getMoreSoundFromVoskClicked()
{
    ExternalLinks::open(ExternalLinks::soundPage());
}
