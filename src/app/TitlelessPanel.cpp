#include "TitlelessPanel.h"

#include "FocusReturn.h"
#include "Platform.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QWindow>

namespace {
// How close to the border a press resizes instead of moving; a frameless window has no border to grab.
constexpr qreal resizeGrip = 6;
} // namespace

TitlelessPanel::TitlelessPanel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setAttribute(Qt::WA_AcceptTouchEvents);
    // A tool window would otherwise vanish whenever the slide show is the active application.
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setMouseTracking(true);
    // A click on the background must not take the keyboard from the time field; ending the edit gives
    // the panel the focus in code, which then survives re-activation instead of Qt handing it back to the
    // time field.
    setFocusPolicy(Qt::NoFocus);
    setAutoFillBackground(true);
}

void TitlelessPanel::activatePowerPoint()
{
    FocusReturn::activatePowerPoint();
}

void TitlelessPanel::setLevel(Level level)
{
    m_level = level;
    applyWindowSystemState();
}

void TitlelessPanel::setCollectionBehavior(int behavior)
{
    m_collectionBehavior = behavior;
    applyWindowSystemState();
}

void TitlelessPanel::setBackgroundColor(const QColor& color)
{
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, color.isValid() ? color : QPalette().color(QPalette::Window));
    setPalette(palette);
}

QColor TitlelessPanel::backgroundColor() const
{
    return palette().color(QPalette::Window);
}

void TitlelessPanel::setHasShadow(bool hasShadow)
{
    m_hasShadow = hasShadow;
    if (testAttribute(Qt::WA_WState_Created))
        platform::setWindowShadow(winId(), hasShadow);
}

bool TitlelessPanel::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
        // Taken as touches, so no mouse press is made up from them: the hand-back comes when they end.
        event->accept();
        return true;
    case QEvent::TouchEnd:
        activatePowerPoint();
        event->accept();
        return true;
    case QEvent::WindowActivate:
        emit windowDidBecomeKey();
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

void TitlelessPanel::mousePressEvent(QMouseEvent* event)
{
    // Only the primary button: a right click opens the context menu and must not send focus away.
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    activatePowerPoint();
    m_pressPosition = event->position();
    m_pressEdges = edgesAt(event->position());
    event->accept();
}

void TitlelessPanel::mouseReleaseEvent(QMouseEvent* event)
{
    m_pressPosition.reset();
    QWidget::mouseReleaseEvent(event);
}

void TitlelessPanel::mouseMoveEvent(QMouseEvent* event)
{
    // The window manager takes over only once the pointer really drags: asked on the press itself, it
    // would start a move after a quick click had already ended, and keep the keyboard grabbed.
    if (m_pressPosition && (event->buttons() & Qt::LeftButton) &&
        (event->position() - *m_pressPosition).manhattanLength() >= QApplication::startDragDistance()) {
        const Qt::Edges edges = m_pressEdges;
        m_pressPosition.reset();
        if (QWindow* window = windowHandle()) {
            if (edges)
                window->startSystemResize(edges);
            else if (m_movableByBackground)
                window->startSystemMove();
        }
        return;
    }

    const Qt::Edges edges = edgesAt(event->position());
    if ((edges & Qt::LeftEdge && edges & Qt::TopEdge) || (edges & Qt::RightEdge && edges & Qt::BottomEdge))
        setCursor(Qt::SizeFDiagCursor);
    else if ((edges & Qt::RightEdge && edges & Qt::TopEdge) ||
             (edges & Qt::LeftEdge && edges & Qt::BottomEdge))
        setCursor(Qt::SizeBDiagCursor);
    else if (edges & (Qt::LeftEdge | Qt::RightEdge))
        setCursor(Qt::SizeHorCursor);
    else if (edges & (Qt::TopEdge | Qt::BottomEdge))
        setCursor(Qt::SizeVerCursor);
    else
        unsetCursor();
    QWidget::mouseMoveEvent(event);
}

void TitlelessPanel::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    emit windowDidResize();
}

void TitlelessPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // Some window systems forget the level and desktops when a window is shown again.
    applyWindowSystemState();
    platform::setWindowShadow(winId(), m_hasShadow);
}

void TitlelessPanel::closeEvent(QCloseEvent* event)
{
    // The panel is the whole application: a window manager's close must not leave an invisible process.
    event->accept();
    QCoreApplication::quit();
}

Qt::Edges TitlelessPanel::edgesAt(QPointF position) const
{
    Qt::Edges edges;
    if (position.x() < resizeGrip)
        edges |= Qt::LeftEdge;
    if (position.x() >= width() - resizeGrip)
        edges |= Qt::RightEdge;
    if (position.y() < resizeGrip)
        edges |= Qt::TopEdge;
    if (position.y() >= height() - resizeGrip)
        edges |= Qt::BottomEdge;
    return edges;
}

void TitlelessPanel::applyWindowSystemState()
{
    if (m_level == Level::Status && m_collectionBehavior == CollectionBehaviorFloatingEverywhere)
        platform::floatAboveEverything(winId());
}
