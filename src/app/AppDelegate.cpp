#include "AppDelegate.h"

#include "AboutWindowController.h"
#include "Brevlin.h"
#include "ColorArchive.h"
#include "DefaultsRegistration.h"
#include "ExternalLinks.h"
#include "FirstFrame.h"
#include "FocusReturn.h"
#include "NotificationCenter.h"
#include "PanelColors.h"
#include "PanelLayout.h"
#include "PanelSignals.h"
#include "Playable.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "PreferenceWindowController.h"
#include "Sound.h"
#include "SoundAlerts.h"
#include "SoundFolder.h"
#include "TimeField.h"
#include "TitlelessPanel.h"
#include "UserDefaults.h"
#include "ui_MainInterface.h"

#include <QAction>
#include <QCoreApplication>
#include <QCursor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>

#include <utility>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
    , m_ui(std::make_unique<Ui::MainInterface>())
    , m_panel(new TitlelessPanel)
{
    m_ui->setupUi(m_panel);
    TimeFieldCaret::attach(m_ui->input);
    m_ui->input->setMaxLength(longestTypedTime);
    m_panel->setAttribute(Qt::WA_DeleteOnClose, false);

    connect(m_ui->playButton, &QPushButton::clicked, this, &AppDelegate::startTimer);
    connect(m_ui->pauseResetButton, &QPushButton::clicked, this, &AppDelegate::onPauseResetClick);
    connect(m_ui->actionQuit, &QAction::triggered, this, &AppDelegate::quit);
    connect(m_ui->actionAbout, &QAction::triggered, this, &AppDelegate::aboutClicked);
    connect(m_ui->actionContactSupport, &QAction::triggered, this, &AppDelegate::contactSupportClicked);
    connect(m_ui->actionUserGuide, &QAction::triggered, this, &AppDelegate::userGuideClicked);
    m_ui->input->installEventFilter(this);

    m_countdownTimer.setInterval(1000);
    // Each timeout is scheduled from the previous one, not from when it was handled, so the seconds
    // do not drift over a long talk.
    m_countdownTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_countdownTimer, &QTimer::timeout, this, &AppDelegate::tick);

    m_flashTimer.setInterval(PanelSignals::flashChangeMs);
    m_flashTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_flashTimer, &QTimer::timeout, this, &AppDelegate::flashStep);
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
    applyPanelColors();
    // Copying and decoding the sounds waits for the panel's first frame, so the timer shows as early as
    // it would without them. A countdown that reaches zero before then plays them when they are there.
    m_endSoundLoad.awaitingLaunch = true;
    m_reminderSoundLoad.awaitingLaunch = true;
    callAfterFirstFrame(m_panel, [this] { copyDefaultSoundAndLoadSelectedSound(); });
    completeContextMenu();
}

void AppDelegate::registerDefaults()
{
    m_timerData = std::make_unique<Brevlin>();
    UserDefaults::standardUserDefaults().registerDefaults(registrationDefaults(*m_timerData));
}

void AppDelegate::loadSound(const QString& name, std::shared_ptr<Playable>& handle, SoundLoad& load)
{
    load.request.cancel();
    load.awaitingLaunch = false;
    // Decoded off the main thread: a long or slow file must never hold up the time. The handle becomes
    // empty when the file is missing, not a regular file, not audio, or the name is not a plain file name.
    // The callback only runs while the delegate lives, so the references it holds stay valid.
    load.request = SoundLoader::load(SoundFolder::locationOfSound(name), this,
                                     [&handle, &load](std::shared_ptr<Sound> sound) {
                                         handle = std::move(sound);
                                         if (std::exchange(load.playWhenLoaded, false) && handle)
                                             handle->play();
                                     });
}

void AppDelegate::playSound(const std::shared_ptr<Playable>& handle, SoundLoad& load)
{
    // The sound being decoded is the one chosen last; the one held until then is no longer wanted.
    if (load.isPending())
        load.playWhenLoaded = true;
    else if (handle)
        handle->play();
}

void AppDelegate::setEndSound(std::shared_ptr<Playable> sound)
{
    m_endSoundLoad.request.cancel();
    m_endSoundLoad = SoundLoad{};
    m_endSound = std::move(sound);
}

void AppDelegate::setReminderSound(std::shared_ptr<Playable> sound)
{
    m_reminderSoundLoad.request.cancel();
    m_reminderSoundLoad = SoundLoad{};
    m_reminderSound = std::move(sound);
}

bool AppDelegate::isLoadingSounds() const
{
    return m_endSoundLoad.isPending() || m_reminderSoundLoad.isPending();
}

void AppDelegate::copyDefaultSoundAndLoadSelectedSound()
{
    const QDir resources(SoundFolder::resourceFolder());
    // Only the built-in names are visited: the launch's settings object holds the built-in list.
    for (const QString& name : m_timerData->soundFiles()) {
        const QString destination = SoundFolder::locationOfSound(name);
        // Whatever is there already stays, even a different file of the same name.
        if (!destination.isNull() && QFileInfo::exists(destination))
            continue;
        if (destination.isNull() || !QFile::copy(resources.filePath(name), destination))
            SoundAlerts::runModalAlert(QStringLiteral("Info"),
                                       QStringLiteral("Default sound file copy error."));
    }
    loadSound(m_timerData->selectedSoundName(), m_endSound, m_endSoundLoad);
    loadSound(m_timerData->reminderSoundName(), m_reminderSound, m_reminderSoundLoad);
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
    m_signalSettings = PreferenceController::preferenceSignalSettings();
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
    // Decided on the activation itself, never later: a timer would race the presenter's next click.
    if (!isEditingTime() && !isClickIntoIdleTime())
        activatePowerPoint();
}

void AppDelegate::tick()
{
    const qint32 countBefore = m_countdown.remainingSeconds();
    const Countdown::Step step = m_countdown.tick(*m_timerData);
    if (step.playEndSound)
        playSound(m_endSound, m_endSoundLoad);
    startFlash(PanelSignals::flashChangesAtTick(countBefore, m_countdown.remainingSeconds(), m_signalSettings,
                                                m_timerData->remindEveryIntervalSeconds()));
    if (step.stopTimer) {
        m_countdownTimer.stop();
        return;
    }
    if (step.playReminderSound)
        playSound(m_reminderSound, m_reminderSoundLoad);
    input()->setText(step.text);
    sizeToFit(input());
    // In the same turn as the new text, so a threshold's colours arrive with the second that reaches it.
    applyPanelColors();
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
    stopFlash();
    applyPanelColors();
    updateUI();
}

void AppDelegate::onPauseResetClick()
{
    m_countdownTimer.stop();
    m_isPaused = true;
    // An idle panel shows the presenter's own colours and never flashes.
    stopFlash();
    applyPanelColors();
    updateUI();
}

void AppDelegate::handleTextColorChange()
{
    applyPanelColors();
}

void AppDelegate::handleBgColorChange()
{
    // Text of the new background's colour would vanish; the text colour's rule looks at both.
    applyPanelColors();
}

void AppDelegate::handleSignalSettingsChange()
{
    m_signalSettings = PreferenceController::preferenceSignalSettings();
    if (!m_signalSettings.flashAtZero)
        stopFlash();
    applyPanelColors();
}

void AppDelegate::applyPanelColors()
{
    const PanelSignals::ColorPair stored{unarchiveObjectWithData(PreferenceController::preferenceTextColor()),
                                         unarchiveObjectWithData(PreferenceController::preferenceBgColor())};
    PanelSignals::ColorPair shown = stored;
    if (!m_isPaused) {
        shown =
            PanelSignals::colorsFor(PanelSignals::lookFor(m_countdown.remainingSeconds(), m_signalSettings),
                                    m_signalSettings, stored);
    }
    // Damaged data gives no colour; the panel and the field then keep the platform's own. Whatever the
    // file says, the time stays readable.
    if (!shown.background.isValid())
        shown.background = QPalette().color(QPalette::Window);
    shown.text =
        PanelColors::visibleTextColor(shown.text, shown.background, QPalette().color(QPalette::Text));
    if (m_flashSwapped)
        shown = PanelSignals::swapped(shown);

    if (m_panel->backgroundColor() != shown.background)
        m_panel->setBackgroundColor(shown.background);
    QLineEdit* field = input();
    QPalette palette = field->palette();
    // The caret is drawn in the text colour, so this one role colours both.
    palette.setColor(QPalette::Text, shown.text);
    // The hint of an empty field, in the same colour half faded, so it reads on any background.
    QColor hint = shown.text;
    hint.setAlphaF(shown.text.alphaF() / 2);
    palette.setColor(QPalette::PlaceholderText, hint);
    palette.setColor(QPalette::Base, Qt::transparent);
    if (palette != field->palette())
        field->setPalette(palette);
}

void AppDelegate::startFlash(int changes)
{
    if (changes <= 0 || m_flashChangesLeft > 0)
        return;
    m_flashChangesLeft = changes;
    flashStep();
    if (m_flashChangesLeft > 0)
        m_flashTimer.start();
}

void AppDelegate::stopFlash()
{
    m_flashTimer.stop();
    m_flashChangesLeft = 0;
    m_flashSwapped = false;
}

void AppDelegate::flashStep()
{
    m_flashSwapped = !m_flashSwapped;
    if (--m_flashChangesLeft <= 0)
        stopFlash();
    applyPanelColors();
}

void AppDelegate::handleDropShadowChange()
{
    m_panel->setHasShadow(PreferenceController::preferenceDropShadow());
}

void AppDelegate::handleSoundSelectionChange()
{
    // Read from disk again even when the name did not change: the file may have.
    loadSound(PreferenceController::preferenceSelectedSoundName(), m_endSound, m_endSoundLoad);
}

void AppDelegate::handleReminderSoundSelectionChange()
{
    loadSound(PreferenceController::preferenceReminderSoundName(), m_reminderSound, m_reminderSoundLoad);
}

void AppDelegate::handlePlaySoundChange()
{
    m_timerData->setPlaySound(PreferenceController::preferencePlaySound());
}

void AppDelegate::handleContinueCountdownChange()
{
    m_timerData->setContinueCountdown(PreferenceController::preferenceContinueCountdown());
}

void AppDelegate::handleRemindEveryIntervalChange()
{
    m_timerData->setRemindEveryInterval(PreferenceController::preferenceRemindEveryInterval());
}

void AppDelegate::handlePlayReminderSoundChange()
{
    m_timerData->setPlayReminderSound(PreferenceController::preferencePlayReminderSound());
}

void AppDelegate::preferenceClick()
{
    // Never reused: a new controller takes a new snapshot, which is what its reset goes back to. The
    // previous window closes with its controller.
    m_prefsWindowController = std::make_unique<PreferenceWindowController>();
    // On the panel's screen, where the presenter is looking (a laptop beside a projector), in its middle.
    if (const QScreen* screen = m_panel->screen()) {
        QWidget* window = m_prefsWindowController->prefsWindow();
        const QRect area = screen->availableGeometry();
        m_prefsWindowController->fitInto(area);
        const QPoint centred = area.center() - QPoint(window->width() / 2, window->height() / 2);
        // Never above the screen's top, where its title bar could not be grabbed.
        window->move(qMax(area.left(), centred.x()), qMax(area.top(), centred.y()));
    }
    m_prefsWindowController->showWindow();

    // Subscribed at the first opening only, and never removed. Every observer re-reads the store and
    // applies what it finds, so a second subscription of the same name would show nothing new; but each
    // would be kept for the rest of the run and called at every change, the sound observers decoding
    // their file once per opening so far. One subscription per name leaves panel and settings the same.
    if (std::exchange(m_observersSubscribed, true))
        return;
    using Observer = void (AppDelegate::*)();
    const std::pair<QString, Observer> observers[] = {
        {NotificationNames::TextColorChanged, &AppDelegate::handleTextColorChange},
        {NotificationNames::BgColorChanged, &AppDelegate::handleBgColorChange},
        {NotificationNames::DropShadowChanged, &AppDelegate::handleDropShadowChange},
        {NotificationNames::SoundSelectionChanged, &AppDelegate::handleSoundSelectionChange},
        {NotificationNames::PlaySoundChanged, &AppDelegate::handlePlaySoundChange},
        {NotificationNames::ContinueCountdownChanged, &AppDelegate::handleContinueCountdownChange},
        {NotificationNames::PlayReminderSoundChanged, &AppDelegate::handlePlayReminderSoundChange},
        {NotificationNames::RemindEveryIntervalChanged, &AppDelegate::handleRemindEveryIntervalChange},
        {NotificationNames::ReminderSoundSelectionChanged, &AppDelegate::handleReminderSoundSelectionChange},
        {NotificationNames::ChangeColorsNearEndChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::WarnAtChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::FinalAtChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::WarnTextColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::WarnBgColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::FinalTextColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::FinalBgColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::OvertimeColorsChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::OvertimeTextColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::OvertimeBgColorChanged, &AppDelegate::handleSignalSettingsChange},
        {NotificationNames::FlashAtZeroChanged, &AppDelegate::handleSignalSettingsChange},
    };
    for (const auto& [name, observer] : observers) {
        NotificationCenter::defaultCenter().addObserver(
            this, name, [this, observer = observer](const Notification&) { (this->*observer)(); });
    }
}

AppDelegate::ObserverRegistration::~ObserverRegistration()
{
    NotificationCenter::defaultCenter().removeObserver(observer);
}

void AppDelegate::quit()
{
    QCoreApplication::quit();
}

void AppDelegate::aboutClicked()
{
    // Never reused: each opening is placed and lifted afresh. The previous one is let go, but a window
    // the presenter has not closed yet stays on screen until it is closed.
    AboutWindowController::letGo(
        std::exchange(m_aboutWindowController, std::make_unique<AboutWindowController>()), this);
    m_aboutWindowController->showWindow();
}

void AppDelegate::contactSupportClicked()
{
    ExternalLinks::open(ExternalLinks::contactPage());
}

void AppDelegate::userGuideClicked()
{
    ExternalLinks::open(ExternalLinks::userGuide());
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == input() && event->type() == QEvent::MouseButtonPress &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton && m_isPaused) {
        // The one way into typing: a click into the time of an idle panel. The field takes the focus
        // first, so the activation that follows finds it being edited and keeps the keyboard.
        input()->setFocus(Qt::MouseFocusReason);
        m_panel->takeKeyboard();
    }
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
    if (input()->isReadOnly())
        return false;
    // A window activated without a focused widget gives the focus to its first focusable one right after
    // the activation, and the time field is the panel's only one while idle: it is as good as edited.
    const QWidget* focus = m_panel->focusWidget();
    return focus == input() ||
           (!focus && input()->isVisibleTo(m_panel) && input()->focusPolicy() != Qt::NoFocus);
}

bool AppDelegate::isClickIntoIdleTime() const
{
    // Where the window system activates the panel on a click, the activation arrives before the click
    // itself: the pointer over the editable time tells that the presenter is about to type. A panel that
    // bypasses the window manager is only ever activated by that click, already handled.
    if (m_panel->bypassesWindowManager() || input()->isReadOnly() || !input()->isVisible())
        return false;
    return input()->rect().contains(input()->mapFromGlobal(QCursor::pos()));
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
        m_preferencesAction = new QAction(QStringLiteral("Preferences…"), this);
        m_preferencesAction->setMenuRole(QAction::PreferencesRole);
        m_preferencesAction->setShortcut(QKeySequence::Preferences);
        connect(m_preferencesAction, &QAction::triggered, this, &AppDelegate::preferenceClick);
    }
    // What a presenter changes most comes first, help and the version together, and quitting last, apart,
    // where it is not chosen by a slip.
    m_rightClickMenu->clear();
    m_rightClickMenu->addAction(m_preferencesAction);
    m_rightClickMenu->addSeparator();
    m_rightClickMenu->addAction(m_ui->actionUserGuide);
    m_rightClickMenu->addAction(m_ui->actionContactSupport);
    m_rightClickMenu->addAction(m_ui->actionAbout);
    m_rightClickMenu->addSeparator();
    m_rightClickMenu->addAction(m_ui->actionQuit);
    m_panel->addAction(m_preferencesAction);
    // Ctrl+Q also works while the panel has the keyboard.
    m_panel->addAction(m_ui->actionQuit);
}
