#pragma once

#include <QObject>
#include <QRect>
#include <QTimer>

class QScreen;
class QWidget;

/// Keeps the panel where the presenter put it: puts it back at launch where it was last time (on the same
/// screen, when that screen is there), stores each new place once a move or resize has settled, and brings
/// it back into sight when a screen goes away or changes, or a drag leaves too little of it on any screen.
class PanelPlace : public QObject
{
    Q_OBJECT

public:
    explicit PanelPlace(QWidget* panel);

    /// Moves the panel to its stored place, or to the top right of the main screen. Call before it shows.
    void restore();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void watch(QScreen* screen);
    // Back into sight if need be, then stored.
    void settle();

    QWidget* m_panel;
    QTimer m_settling;
    QRect m_launchFrame;
};
