// stage_show: stands in for a full-screen slide show on any window system Qt runs on, natively on
// Wayland (QT_QPA_PLATFORM=wayland) as LibreOffice, evince and pdfpc run under GNOME, or on X11.
//
//   stage_show
//
// Shows one full-screen window filled with a saturated dark blue, the slide number in large orange
// digits (so that near-white pixels on screen are never the show's). On stdout, flushed, one line per
// event: "shown" once the window is exposed, "focus in" and "focus out" as the keyboard comes and goes,
// "slide N" after Right, space or Page Down (forward) and Left or Page Up (back), else "key NAME", NAME
// being the character typed or the key code in hex. It quits when its stdin reaches end of file.

#include <QFont>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QSocketNotifier>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

void say(const QString& line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

class Show final : public QRasterWindow
{
protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(QRect(QPoint(), size()), QColor(0x10, 0x20, 0x80));
        QFont font = painter.font();
        font.setPixelSize(height() / 3);
        painter.setFont(font);
        painter.setPen(QColor(0xff, 0x80, 0x00));
        painter.drawText(QRect(QPoint(), size()), Qt::AlignCenter, QString::number(m_slide));
    }

    void exposeEvent(QExposeEvent* event) override
    {
        QRasterWindow::exposeEvent(event);
        if (isExposed() && !m_shown) {
            m_shown = true;
            say(QStringLiteral("shown"));
        }
    }

    void focusInEvent(QFocusEvent*) override { say(QStringLiteral("focus in")); }
    void focusOutEvent(QFocusEvent*) override { say(QStringLiteral("focus out")); }

    void keyPressEvent(QKeyEvent* event) override
    {
        switch (event->key()) {
        case Qt::Key_Right:
        case Qt::Key_Space:
        case Qt::Key_PageDown:
            turnTo(m_slide + 1);
            return;
        case Qt::Key_Left:
        case Qt::Key_PageUp:
            turnTo(std::max(1, m_slide - 1));
            return;
        default:
            break;
        }
        const QString text = event->text();
        if (!text.isEmpty() && text.at(0).isPrint())
            say(QStringLiteral("key ") + text);
        else
            say(QStringLiteral("key 0x") + QString::number(event->key(), 16));
    }

private:
    void turnTo(int slide)
    {
        m_slide = slide;
        say(QStringLiteral("slide %1").arg(slide));
        update();
    }

    int m_slide = 1;
    bool m_shown = false;
};

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("stage_show"));
    QGuiApplication::setDesktopFileName(QStringLiteral("stage_show"));
    Show show;
    show.setTitle(QStringLiteral("Stage show"));
    show.showFullScreen();
    show.requestActivate();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&input] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            input.setEnabled(false);
            QGuiApplication::quit();
        }
    });
    return QGuiApplication::exec();
}
