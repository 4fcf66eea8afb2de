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
    void closeEvent(QCloseEvent* event) override;

private:
    Qt::Edges edgesAt(QPointF position) const;
    void applyWindowSystemState();

    Level m_level = Level::Normal;
    int m_collectionBehavior = 0;
    bool m_movableByBackground = false;
    bool m_hasShadow = true;
    std::optional<QPointF> m_pressPosition;
    Qt::Edges m_pressEdges;
};
