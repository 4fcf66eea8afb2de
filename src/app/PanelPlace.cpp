#include "PanelPlace.h"

#include "PanelPlacement.h"
#include "PreferenceController.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace {

QList<QRect> screenGeometries(bool usableOnly)
{
    QList<QRect> rects;
    for (const QScreen* screen : QGuiApplication::screens())
        rects << (usableOnly ? screen->availableGeometry() : screen->geometry());
    return rects;
}

QScreen* screenNamed(const QString& name)
{
    for (QScreen* screen : QGuiApplication::screens()) {
        if (screen->name() == name)
            return screen;
    }
    return nullptr;
}

} // namespace

PanelPlace::PanelPlace(QWidget* panel)
    : QObject(panel)
    , m_panel(panel)
{
    // A drag moves the panel many times a second; the place counts once it rests.
    constexpr int SettleMs = 400;
    m_settling.setSingleShot(true);
    m_settling.setInterval(SettleMs);
    connect(&m_settling, &QTimer::timeout, this, &PanelPlace::settle);
    m_panel->installEventFilter(this);
    const QList<QScreen*> screens = QGuiApplication::screens();
    for (QScreen* screen : screens)
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(screen);
        m_settling.start();
    });
    // The toolkit may move the panel to another screen itself first; the check comes after it.
    connect(qGuiApp, &QGuiApplication::screenRemoved, &m_settling, qOverload<>(&QTimer::start));
}

void PanelPlace::watch(QScreen* screen)
{
    connect(screen, &QScreen::geometryChanged, &m_settling, qOverload<>(&QTimer::start));
    connect(screen, &QScreen::availableGeometryChanged, &m_settling, qOverload<>(&QTimer::start));
}

void PanelPlace::restore()
{
    QRect frame;
    const std::optional<PanelPlacement::Place> stored =
        PanelPlacement::parse(PreferenceController::preferencePanelFrame());
    if (stored && screenNamed(stored->screenName))
        frame = PanelPlacement::keptInSight(stored->frame, screenGeometries(false), screenGeometries(true));
    else if (const QScreen* primary = QGuiApplication::primaryScreen())
        frame = PanelPlacement::defaultFrame(stored ? stored->frame.size() : m_panel->size(),
                                             primary->availableGeometry());
    else
        frame = m_panel->geometry();
    m_panel->setGeometry(frame);
    m_launchFrame = frame;
}

bool PanelPlace::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_panel && (event->type() == QEvent::Move || event->type() == QEvent::Resize))
        m_settling.start();
    return QObject::eventFilter(watched, event);
}

void PanelPlace::settle()
{
    const QRect frame = m_panel->geometry();
    const QRect kept = PanelPlacement::keptInSight(frame, screenGeometries(false), screenGeometries(true));
    if (kept != frame)
        m_panel->setGeometry(kept);
    const QScreen* screen = QGuiApplication::screenAt(kept.center());
    if (!screen)
        screen = m_panel->screen();
    const QString place = PanelPlacement::describe(kept, screen ? screen->name() : QString());
    const QString stored = PreferenceController::preferencePanelFrame();
    // Nothing is written for a panel that never left its first place: a launch alone writes no setting.
    if (place != stored && (!stored.isEmpty() || kept != m_launchFrame))
        PreferenceController::setPreferencePanelFrame(place);
}
