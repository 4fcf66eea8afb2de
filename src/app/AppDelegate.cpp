#include "AppDelegate.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "DefaultsRegistration.h"
#include "FocusReturn.h"
#include "PanelLayout.h"
#include "Playable.h"
#include "PreferenceController.h"
#include "TimeField.h"
#include "TitlelessPanel.h"
#include "UserDefaults.h"
#include "ui_MainInterface.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
    , m_ui(std::make_unique<Ui::MainInterface>())
    , m_panel(new TitlelessPanel)
{
    m_ui->setupUi(m_panel);
    m_panel->setAttribute(Qt::WA_DeleteOnClose, false);

    connect(m_ui->playButton, &QPushButton::clicked, this, &AppDelegate::startTimer);
    connect(m_ui->pauseResetButton, &QPushButton::clicked, this, &AppDelegate::onPauseResetClick);
    connect(m_ui->actionQuit, &QAction::triggered, this, &AppDelegate::quit);
    m_ui->input->installEventFilter(this);

    m_countdownTimer.setInterval(1000);
    // Each timeout is scheduled from the previous one, not from when it was handled, so the seconds
    // do not drift over a long talk.
    m_countdownTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_countdownTimer, &QTimer::timeout, this, &AppDelegate::tick);
}

AppDelegate::~AppDelegate()
{
    delete m_panel;
}

QLineEdit* AppDelegate::input() const
{
    return m_ui->input;
}
QPushButton* AppDelegate::playButton() const
{
    return m_ui->playButton;
}
QPushButton* AppDelegate::pauseResetButton() const
{
    return m_ui->pauseResetButton;
}

void AppDelegate::applicationDidFinishLaunching()
{
    playButton()->hide();
    registerDefaults();
    readPrefs();
    m_panel->setLevel(TitlelessPanel::Level::Status);
    m_panel->setCollectionBehavior(TitlelessPanel::CollectionBehaviorFloatingEverywhere);
    m_panel->setBackgroundColor(Qt::black);
    m_panel->setMovableByWindowBackground(true);
    connect(m_panel, &TitlelessPanel::windowDidResize, this, &AppDelegate::windowDidResize,
            Qt::UniqueConnection);
    connect(m_panel, &TitlelessPanel::windowDidBecomeKey, this, &AppDelegate::windowDidBecomeKey,
            Qt::UniqueConnection);
    m_panel->setHasShadow(PreferenceController::preferenceDropShadow());
    input()->setReadOnly(false);
    input()->setText(m_timerData->countdownTime());
    updateUI();
    pauseResetButton()->setEnabled(false);
    // The time field's commands reach controlTextViewDoCommandBySelector through the event filter
    // installed when the interface was loaded.
    handleTextColorChange();
    handleBgColorChange();
    copyDefaultSoundAndLoadSelectedSound();
    completeContextMenu();
}

void AppDelegate::registerDefaults()
{
    m_timerData = std::make_unique<Brevlin>();
    UserDefaults::standardUserDefaults().registerDefaults(registrationDefaults(*m_timerData));
}

void AppDelegate::copyDefaultSoundAndLoadSelectedSound()
{
    // The sound folder and the two sound handles arrive with the sound library; until then the countdown
    // finds both handles empty and plays nothing.
}

void AppDelegate::readPrefs()
{
    m_timerData->setCountdownTime(PreferenceController::preferenceCountdownTime());
    m_timerData->setPlaySound(PreferenceController::preferencePlaySound());
    m_timerData->setSelectedSoundName(PreferenceController::preferenceSelectedSoundName());
    m_timerData->setContinueCountdown(PreferenceController::preferenceContinueCountdown());
    m_timerData->setPlayReminderSound(PreferenceController::preferencePlayReminderSound());
    m_timerData->setRemindEveryInterval(PreferenceController::preferenceRemindEveryInterval());
    m_timerData->setReminderSoundName(PreferenceController::preferenceReminderSoundName());
}

void AppDelegate::updateUI()
{
    QLineEdit* field = input();
    QPushButton* play = playButton();
    QPushButton* pauseReset = pauseResetButton();
    const QSizeF panelSize = m_panel->size();
    const QSizeF playSize = play->size();

    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(PanelLayout::fontSizeForPanel(panelSize, playSize.width(), m_isPaused));
    field->setFont(font);
    sizeToFit(field);

    const PanelLayout::Geometry geometry =
        PanelLayout::arrange(panelSize, playSize, field->size(), field->text().length(), m_isPaused);
    if (m_isPaused) {
        play->move(geometry.playButtonOrigin.toPoint());
        play->show();
        pauseReset->setEnabled(false);
        field->setReadOnly(false);
        field->setFocusPolicy(Qt::StrongFocus);
    } else {
        pauseReset->setGeometry(geometry.pauseResetFrame.toRect());
        play->hide();
        pauseReset->setEnabled(true);
        field->setReadOnly(true);
        field->deselect();
        field->setFocusPolicy(Qt::NoFocus);
    }
    // A disabled button must not swallow the clicks meant for the editable time beneath it.
    pauseReset->setAttribute(Qt::WA_TransparentForMouseEvents, !pauseReset->isEnabled());
    field->setGeometry(geometry.timeField.toRect());
}

void AppDelegate::windowDidResize()
{
    updateUI();
    activatePowerPoint();
}

void AppDelegate::windowDidBecomeKey()
{
    // Decided once the events that activated the panel are handled: a click into the time field activates
    // the panel first and focuses the field second, and that click means the presenter wants to type.
    QTimer::singleShot(0, this, [this] {
        if (!isEditingTime())
            activatePowerPoint();
    });
}

void AppDelegate::tick()
{
    const Countdown::Step step = m_countdown.tick(*m_timerData);
    if (step.playEndSound && m_endSound)
        m_endSound->play();
    if (step.stopTimer) {
        m_countdownTimer.stop();
        return;
    }
    if (step.playReminderSound && m_reminderSound)
        m_reminderSound->play();
    input()->setText(step.text);
    sizeToFit(input());
    if (step.relayout)
        updateUI();
}

bool AppDelegate::controlTextViewDoCommandBySelector(TextCommand command)
{
    if (command == TextCommand::InsertNewline)
        startTimer();
    return false;
}

void AppDelegate::activatePowerPoint()
{
    FocusReturn::activatePowerPoint();
}

void AppDelegate::startTimer()
{
    activatePowerPoint();
    const QString display = m_countdown.start(input()->text());
    if (display.isNull())
        return;
    PreferenceController::setPreferenceCountdownTime(display);
    m_countdownTimer.start();
    input()->setText(display);
    sizeToFit(input());
    endEditing();
    m_isPaused = false;
    updateUI();
}

void AppDelegate::onPauseResetClick()
{
    m_countdownTimer.stop();
    m_isPaused = true;
    updateUI();
}

void AppDelegate::handleTextColorChange()
{
    const QColor color = unarchiveObjectWithData(PreferenceController::preferenceTextColor());
    QLineEdit* field = input();
    QPalette palette = field->palette();
    // The caret is drawn in the text colour, so this one role colours both. Damaged data gives no colour;
    // the field then keeps the platform's own.
    palette.setColor(QPalette::Text, color.isValid() ? color : QPalette().color(QPalette::Text));
    palette.setColor(QPalette::Base, Qt::transparent);
    field->setPalette(palette);
}

void AppDelegate::handleBgColorChange()
{
    m_panel->setBackgroundColor(unarchiveObjectWithData(PreferenceController::preferenceBgColor()));
}

void AppDelegate::handleSoundSelectionChange()
{
    // Reloads endSound by the stored name once the sound library is there.
}

void AppDelegate::handleReminderSoundSelectionChange()
{
    // Reloads reminderSound by the stored name once the sound library is there.
}

void AppDelegate::quit()
{
    QCoreApplication::quit();
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == input() && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        TextCommand command = TextCommand::Other;
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
            command = TextCommand::InsertNewline;
        else if (key->key() == Qt::Key_Escape)
            command = TextCommand::CancelOperation;
        if (command != TextCommand::Other && !input()->isReadOnly())
            return controlTextViewDoCommandBySelector(command);
    }
    return QObject::eventFilter(watched, event);
}

bool AppDelegate::isEditingTime() const
{
    return m_panel->focusWidget() == input() && !input()->isReadOnly();
}

void AppDelegate::endEditing()
{
    input()->deselect();
    m_panel->setFocus(Qt::OtherFocusReason);
}

void AppDelegate::completeContextMenu()
{
    if (!m_rightClickMenu) {
        m_rightClickMenu = new QMenu(m_panel);
        m_panel->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(m_panel, &QWidget::customContextMenuRequested, this,
                [this](const QPoint& position) { m_rightClickMenu->popup(m_panel->mapToGlobal(position)); });
    }
    m_rightClickMenu->clear();
    m_rightClickMenu->addAction(m_ui->actionQuit);
    // Ctrl+Q also works while the panel has the keyboard.
    m_panel->addAction(m_ui->actionQuit);
}
