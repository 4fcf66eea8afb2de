#include "TitlelessPanel.h"

#include "FocusReturn.h"
#include "Platform.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace {
// How close to the border a press resizes instead of moving; a frameless window has no border to grab.
constexpr qreal resizeGrip = 6;
// A resize never makes the panel smaller than something that can still be grabbed and read.
constexpr int smallestWidth = 60;
constexpr int smallestHeight = 24;

Qt::WindowFlags panelFlags(bool bypassesWindowManager)
{
    Qt::WindowFlags flags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    if (bypassesWindowManager)
        flags |= Qt::X11BypassWindowManagerHint;
    return flags;
}
} // namespace

TitlelessPanel::TitlelessPanel(QWidget* parent)
    : QWidget(parent, panelFlags(platform::panelBypassesWindowManager()))
    , m_bypassesWindowManager(platform::panelBypassesWindowManager())
{
    // The keyboard belongs to the slide show: showing the panel must not take it.
    setAttribute(Qt::WA_ShowWithoutActivating);
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
    update();
}

void TitlelessPanel::takeKeyboard()
{
    // Where the keyboard is only lent, it is asked for at every click: after a hand-back the panel may not
    // yet have heard that it lost it.
    if (!platform::lendKeyboard(winId()) && !isActiveWindow())
        activateWindow();
}

bool TitlelessPanel::drawsOwnEdge() const
{
    // The edge stands in for the shadow where the window system draws none, so it follows the same
    // setting: with the shadow off the panel is its background to the last pixel.
    return m_hasShadow &&
           !platform::drawsWindowShadow(testAttribute(Qt::WA_WState_Created) ? winId() : 0, m_hasShadow);
}

QColor TitlelessPanel::edgeColorFor(const QColor& background)
{
    const QColor hsl = background.toHsl();
    const float lightness = hsl.lightnessF();
    // Far enough from the background to be seen at a glance, on a white slide or a black one.
    const float edge = lightness > 0.5f ? lightness - 0.4f : lightness + 0.4f;
    return QColor::fromHslF(hsl.hslHueF(), hsl.hslSaturationF(), std::clamp(edge, 0.0f, 1.0f));
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
    // A drag from here resizes or moves the panel step by step, each step handing the keyboard back
    // (see AppDelegate::windowDidResize): whom to give it to is looked up once, at this press.
    holdWindowLookups(m_bypassesWindowManager);
    activatePowerPoint();
    m_pressPosition = event->position();
    m_pressEdges = edgesAt(event->position());
    m_dragStartGlobal = event->globalPosition();
    m_dragStartGeometry = geometry();
    event->accept();
}

void TitlelessPanel::mouseReleaseEvent(QMouseEvent* event)
{
    m_pressPosition.reset();
    m_dragging = false;
    holdWindowLookups(false);
    QWidget::mouseReleaseEvent(event);
}

void TitlelessPanel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragging && (event->buttons() & Qt::LeftButton)) {
        const QPoint delta = (event->globalPosition() - m_dragStartGlobal).toPoint();
        QRect frame = m_dragStartGeometry;
        if (!m_pressEdges) {
            frame.moveTopLeft(frame.topLeft() + delta);
        } else {
            if (m_pressEdges & Qt::LeftEdge)
                frame.setLeft(std::min(frame.left() + delta.x(), frame.right() - smallestWidth + 1));
            if (m_pressEdges & Qt::RightEdge)
                frame.setRight(std::max(frame.right() + delta.x(), frame.left() + smallestWidth - 1));
            if (m_pressEdges & Qt::TopEdge)
                frame.setTop(std::min(frame.top() + delta.y(), frame.bottom() - smallestHeight + 1));
            if (m_pressEdges & Qt::BottomEdge)
                frame.setBottom(std::max(frame.bottom() + delta.y(), frame.top() + smallestHeight - 1));
        }
        if (frame != geometry())
            setGeometry(frame);
        return;
    }
    // The drag starts only once the pointer really moves: asked on the press itself, a window manager
    // would start a move after a quick click had already ended, and keep the keyboard grabbed.
    if (m_pressPosition && (event->buttons() & Qt::LeftButton) &&
        (event->position() - *m_pressPosition).manhattanLength() >= QApplication::startDragDistance()) {
        const Qt::Edges edges = m_pressEdges;
        m_pressPosition.reset();
        if (m_bypassesWindowManager) {
            // No window manager moves a window it does not manage: the panel follows the pointer itself.
            m_dragging = edges || m_movableByBackground;
            return;
        }
        // The window manager carries the drag out, and the release may never reach the panel.
        holdWindowLookups(false);
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
    // Before the window is mapped: no click is to take the keyboard, from the first one on.
    platform::withholdKeyboard(winId());
    // Some window systems forget the level and desktops when a window is shown again.
    applyWindowSystemState();
    platform::setWindowShadow(winId(), m_hasShadow);
}

void TitlelessPanel::flashEdge()
{
    show();
    raise();
    m_flashingEdge = true;
    update();
    // Long enough to be seen once, short enough not to distract from the slides.
    constexpr int FlashMs = 800;
    QTimer::singleShot(FlashMs, this, [this] {
        m_flashingEdge = false;
        update();
    });
}

void TitlelessPanel::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (m_flashingEdge) {
        constexpr int Width = 4;
        QPainter painter(this);
        painter.setPen(
            QPen(palette().color(QPalette::Highlight), Width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(Width / 2.0, Width / 2.0, -Width / 2.0, -Width / 2.0));
        return;
    }
    if (!drawsOwnEdge())
        return;
    QPainter painter(this);
    painter.setPen(QPen(edgeColorFor(backgroundColor()), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void TitlelessPanel::closeEvent(QCloseEvent* event)
{
    // The panel is the whole application: a window manager's close must not leave an invisible process.
    event->accept();
    QCoreApplication::quit();
}

void TitlelessPanel::holdWindowLookups(bool hold)
{
    if (hold == m_holdingWindowLookups)
        return;
    m_holdingWindowLookups = hold;
    platform::holdWindowLookups(hold);
}

void TitlelessPanel::hideEvent(QHideEvent* event)
{
    // A panel hidden in the middle of a drag never sees its release.
    holdWindowLookups(false);
    m_dragging = false;
    m_pressPosition.reset();
    QWidget::hideEvent(event);
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
