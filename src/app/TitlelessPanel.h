#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

/// The floating timer panel: no title bar, above every window and on every desktop, moved by dragging its
/// background and resized from its edges. Any press on it, other than on its controls, hands the keyboard
/// back to the presentation application.
class TitlelessPanel : public QWidget
{
    Q_OBJECT

public:
    enum class Level
    {
        Normal,
        Status
    };
    /// Shown on every desktop, stays put when desktops switch, may stand beside a full-screen window.
    static constexpr int CollectionBehaviorFloatingEverywhere = 1 | 16 | 256;

    explicit TitlelessPanel(QWidget* parent = nullptr);

    static constexpr bool canBecomeKeyWindow() { return true; }
    void activatePowerPoint();

    void setLevel(Level level);
    Level level() const { return m_level; }
    void setCollectionBehavior(int behavior);
    int collectionBehavior() const { return m_collectionBehavior; }
    void setBackgroundColor(const QColor& color);
    QColor backgroundColor() const;
    void setMovableByWindowBackground(bool movable) { m_movableByBackground = movable; }
    bool isMovableByWindowBackground() const { return m_movableByBackground; }
    void setHasShadow(bool hasShadow);
    bool hasShadow() const { return m_hasShadow; }

    /// True where the window manager is left out (see platform::panelBypassesWindowManager): the panel
    /// then moves and resizes itself, and gets the keyboard only through takeKeyboard().
    bool bypassesWindowManager() const { return m_bypassesWindowManager; }
    /// Gives the panel the keyboard, as the presenter's click into the time field asks.
    void takeKeyboard();
    /// Whether the panel draws its own edge: with the shadow on, where the window system draws none around
    /// it.
    bool drawsOwnEdge() const;
    /// A shade of the background that stands out from it: darker on a light colour, lighter on a dark one.
    static QColor edgeColorFor(const QColor& background);
    /// Shows the panel, raises it and draws a wide edge in the selection colour for a moment, so the eye
    /// finds it: the answer to a second launch.
    void flashEdge();
    bool isFlashingEdge() const { return m_flashingEdge; }

signals:
    void windowDidResize();
    void windowDidBecomeKey();

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::Edges edgesAt(QPointF position) const;
    void applyWindowSystemState();
    void holdWindowLookups(bool hold);

    Level m_level = Level::Normal;
    int m_collectionBehavior = 0;
    bool m_movableByBackground = false;
    bool m_hasShadow = true;
    bool m_bypassesWindowManager = false;
    bool m_flashingEdge = false;
    std::optional<QPointF> m_pressPosition;
    Qt::Edges m_pressEdges;
    // A move or resize the panel carries out itself: where the drag started, and the frame then.
    bool m_dragging = false;
    QPointF m_dragStartGlobal;
    QRect m_dragStartGeometry;
    bool m_holdingWindowLookups = false;
};
