#include "AboutWindowController.h"

#include "ExternalLinks.h"
#include "Platform.h"
#include "ui_AboutWindowController.h"

#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QIcon>
#include <QLabel>
#include <QPalette>
#include <QPushButton>
#include <QScreen>

namespace {

constexpr int iconSize = 64;

// Where the panel bypasses the window manager to stay over a focused full-screen show, so does this
// window: it needs no keyboard, and no window manager would keep it above such a show. Elsewhere it is
// an ordinary small window with a title and a close button that stays on top.
// It never takes the keyboard: nothing in it is typed into, and the keyboard belongs to the slide show.
Qt::WindowFlags windowFlags(bool bypassesWindowManager)
{
    const Qt::WindowFlags floating = Qt::Window | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;
    if (bypassesWindowManager)
        return floating | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint;
    return floating | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
}

// The icon the application gave its windows, else the one installed in the icon theme; null when neither
// exists, as in a build tree without an installed icon.
QIcon applicationIcon()
{
    QIcon icon = QApplication::windowIcon();
    if (!icon.isNull())
        return icon;
    return QIcon::fromTheme(QStringLiteral("brevlin"));
}

} // namespace

AboutWindowController::AboutWindowController(QObject* parent)
    : QObject(parent)
    , m_ui(std::make_unique<Ui::AboutWindowController>())
    , m_aboutWindow(std::make_unique<QFrame>(nullptr, windowFlags(platform::panelBypassesWindowManager())))
{
    m_ui->setupUi(m_aboutWindow.get());
    m_aboutWindow->setAttribute(Qt::WA_DeleteOnClose, false);
    m_aboutWindow->setAttribute(Qt::WA_ShowWithoutActivating);
    m_aboutWindow->setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    m_aboutWindow->installEventFilter(this);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &AboutWindowController::closeClicked);
    windowDidLoad();
}

AboutWindowController::~AboutWindowController() = default;

QLabel* AboutWindowController::iconLabel() const
{
    return m_ui->iconLabel;
}
QLabel* AboutWindowController::versionLabel() const
{
    return m_ui->versionLabel;
}
QPushButton* AboutWindowController::closeButton() const
{
    return m_ui->closeButton;
}

void AboutWindowController::windowDidLoad()
{
    versionLabel()->setText(tr("Version %1").arg(ExternalLinks::version()));
    const QIcon icon = applicationIcon();
    if (icon.isNull())
        iconLabel()->hide();
    else
        iconLabel()->setPixmap(icon.pixmap(QSize(iconSize, iconSize), m_aboutWindow->devicePixelRatioF()));
    // The window never takes the keyboard, so it is never the active window, and some styles (Adwaita's
    // dark one) draw an inactive window's text in a faint grey. Its texts take the active text colour.
    QString styleSheet =
        QStringLiteral("QLabel, QPushButton { color: %1; }")
            .arg(m_aboutWindow->palette().color(QPalette::Active, QPalette::WindowText).name());
    if (m_aboutWindow->windowFlags() & Qt::FramelessWindowHint) {
        // No window manager draws a border here; without one a white window vanishes on a white slide.
        styleSheet += QStringLiteral(" QFrame#aboutWindow { border: 1px solid palette(dark); }");
    }
    m_aboutWindow->setStyleSheet(styleSheet);

    // The layout fixes the size; it must be known before the window is placed.
    m_aboutWindow->adjustSize();
    const QScreen* screen = m_aboutWindow->screen();
    const QScreen* mainScreen = QGuiApplication::primaryScreen();
    // The window's own size: a title bar that a window manager may add is unknown until it is shown.
    const QSizeF size = m_aboutWindow->size();
    const QPointF origin = centredOrigin(screen ? QSizeF(screen->geometry().size()) : QSizeF(0, 0), size);
    m_aboutWindow->move(topLeftFromOrigin(origin, size, mainScreen ? mainScreen->geometry() : QRect()));
}

void AboutWindowController::showWindow()
{
    m_aboutWindow->show();
    m_aboutWindow->raise();
    // After the show: some window systems forget the level and desktops of a window that was hidden.
    platform::floatAboveEverything(m_aboutWindow->winId());
}

void AboutWindowController::closeClicked()
{
    m_aboutWindow->close();
}

QPointF AboutWindowController::centredOrigin(QSizeF screenSize, QSizeF windowSize)
{
    return {screenSize.width() * 0.5 - windowSize.width() * 0.5,
            screenSize.height() * 0.5 - windowSize.height() * 0.5};
}

QPoint AboutWindowController::topLeftFromOrigin(QPointF origin, QSizeF windowSize, const QRect& mainScreen)
{
    // Upwards from the main screen's bottom edge becomes downwards from its top edge.
    const qreal top = mainScreen.y() + mainScreen.height() - origin.y() - windowSize.height();
    return QPointF(mainScreen.x() + origin.x(), top).toPoint();
}

void AboutWindowController::letGo(std::unique_ptr<AboutWindowController> controller, QObject* keeper)
{
    if (!controller || !controller->aboutWindow()->isVisible())
        return;
    AboutWindowController* released = controller.release();
    released->setParent(keeper);
    connect(released, &AboutWindowController::windowClosed, released, &QObject::deleteLater);
}

bool AboutWindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_aboutWindow.get() && event->type() == QEvent::Close)
        emit windowClosed();
    return QObject::eventFilter(watched, event);
}
