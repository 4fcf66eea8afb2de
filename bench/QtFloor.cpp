// The least a Qt Widgets program does to show what the panel shows: one frameless window of the panel's
// size holding one line edit with the panel's text. Its start-up time, memory and idle CPU are the floor
// that Qt itself sets under Brevlin's.

#include <QApplication>
#include <QLineEdit>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    // The same kind of window as the panel on X11: frameless, a tool window, kept on top, and left out of
    // the window manager's hands, so that both reach the screen the same way.
    QWidget window(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                Qt::X11BypassWindowManagerHint);
    window.resize(340, 120);
    QLineEdit field(QStringLiteral("00:01:00"), &window);
    field.setGeometry(40, 40, 200, 40);
    window.show();
    return QApplication::exec();
}
