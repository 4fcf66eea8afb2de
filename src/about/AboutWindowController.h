#pragma once

#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QSizeF>

#include <memory>

class QFrame;
class QLabel;
class QPushButton;
class QWidget;

namespace Ui {
class AboutWindowController;
}

/// The about window: the application's icon, name, version, what it is for, its licence and a close
/// button. Every opening builds a new controller, whose window is centred on the screen and floats above
/// every window, full-screen slide shows included, on every desktop, like the panel. It never needs the
/// keyboard, so showing it leaves the keyboard with the slides.
class AboutWindowController : public QObject
{
    Q_OBJECT

public:
    /// Loads the window, places it and lifts it to the panel's level; not yet shown.
    explicit AboutWindowController(QObject* parent = nullptr);
    ~AboutWindowController() override;

    /// Shows the window without taking the keyboard, then keeps it above everything.
    void showWindow();

    QFrame* aboutWindow() const { return m_aboutWindow.get(); }
    QLabel* iconLabel() const;
    QLabel* versionLabel() const;
    QPushButton* closeButton() const;

    /// Where the window goes, as a bottom-left origin in coordinates that grow upwards from the main
    /// screen's lower left corner: centred within an area of the screen's size at that corner. Only sizes
    /// enter, so on a screen other than the main one the window is still centred on the main screen's area;
    /// a window without a screen passes an empty size and lands at (-width/2, -height/2).
    static QPointF centredOrigin(QSizeF screenSize, QSizeF windowSize);
    /// The same place as Qt's top-left corner (Qt's coordinates grow downwards from the main screen's top
    /// left corner): the origin is turned over at the main screen's edges, so a window centred on the main
    /// screen stays centred. Without a main screen (an empty rectangle) the origin only moves up by the
    /// window's height.
    static QPoint topLeftFromOrigin(QPointF origin, QSizeF windowSize, const QRect& mainScreen);

    /// Lets go of a replaced controller without closing a window the presenter still sees: destroyed at
    /// once when its window is closed, else kept by keeper until the window closes.
    static void letGo(std::unique_ptr<AboutWindowController> controller, QObject* keeper);

public slots:
    /// The close button's action: closes the window; the controller stays until it is let go.
    void closeClicked();

signals:
    /// The window was closed, by its button or by a window manager.
    void windowClosed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void windowDidLoad();

    std::unique_ptr<Ui::AboutWindowController> m_ui;
    std::unique_ptr<QFrame> m_aboutWindow;
};
