// lab_driver: the lab's keyboard, mouse and eyes for scripts (scripts/stage.sh), inside a lab session
// (BREVLIN_LAB_COMPOSITOR names the compositor). One connection for the whole run, since some
// compositors drop the first key of a new virtual keyboard. Reads one command a line on stdin and
// answers each with one line, "ok ..." or "error ...":
//
//   click X Y        a left click at the screen's pixel X, Y
//   key NAME         Right, Left, Return, space, Next, Escape, or ctrl+a
//   type TEXT        the characters of TEXT, one key each
//   shot FILE        the whole screen into FILE (PNG)
//   panel            "ok X Y W H": the rectangle of the default panel on screen, "ok none" without one
//   changed A B X Y W H   "ok N": how many pixels differ between two shots outside the rectangle

#include "Compositor.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>

namespace {

std::uint32_t keysymOf(const QString& name)
{
    if (name == QLatin1String("Right"))
        return lab::keyRight;
    if (name == QLatin1String("Left"))
        return 0xff51;
    if (name == QLatin1String("Return"))
        return lab::keyReturn;
    if (name == QLatin1String("space"))
        return lab::keySpace;
    if (name == QLatin1String("Next"))
        return lab::keyNext;
    if (name == QLatin1String("Escape"))
        return 0xff1b;
    return 0;
}

int changedOutside(const QImage& a, const QImage& b, const QRect& except)
{
    if (a.size() != b.size())
        return -1;
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            if (except.contains(x, y))
                continue;
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            count += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                         std::abs(qBlue(p) - qBlue(q)) >
                     60;
        }
    return count;
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    QTextStream out(stdout);
    const std::unique_ptr<lab::Compositor> compositor = lab::sessionCompositor();
    QString why = QStringLiteral("BREVLIN_LAB_COMPOSITOR names no known compositor");
    if (!compositor || !compositor->connect(&why)) {
        out << "error " << why << Qt::endl;
        return 1;
    }
    out << "ok ready" << Qt::endl;
    QTextStream in(stdin);
    QString line;
    while (in.readLineInto(&line)) {
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QString command = words.value(0);
        if (command == QLatin1String("click") && words.size() == 3) {
            compositor->clickAt({words[1].toInt(), words[2].toInt()});
            out << "ok" << Qt::endl;
        } else if (command == QLatin1String("key") && words.size() == 2) {
            if (words[1] == QLatin1String("ctrl+a")) {
                compositor->selectAll();
            } else if (const std::uint32_t keysym = keysymOf(words[1])) {
                compositor->tap(keysym);
            } else {
                out << "error unknown key " << words[1] << Qt::endl;
                continue;
            }
            out << "ok" << Qt::endl;
        } else if (command == QLatin1String("type") && words.size() == 2) {
            compositor->type(words[1]);
            out << "ok" << Qt::endl;
        } else if (command == QLatin1String("shot") && words.size() == 2) {
            const QImage screen = compositor->screenshot();
            out << (!screen.isNull() && screen.save(words[1]) ? "ok" : "error no screenshot") << Qt::endl;
        } else if (command == QLatin1String("panel")) {
            const QImage screen = compositor->screenshot();
            const QRect panel = lab::panelArea(screen);
            if (panel.isValid() && lab::showsThePanel(screen, panel))
                out << "ok " << panel.x() << ' ' << panel.y() << ' ' << panel.width() << ' ' << panel.height()
                    << Qt::endl;
            else
                out << "ok none" << Qt::endl;
        } else if (command == QLatin1String("changed") && words.size() == 7) {
            const QRect except(words[3].toInt(), words[4].toInt(), words[5].toInt(), words[6].toInt());
            out << "ok " << changedOutside(QImage(words[1]), QImage(words[2]), except) << Qt::endl;
        } else {
            out << "error unknown command" << Qt::endl;
        }
    }
    return 0;
}
