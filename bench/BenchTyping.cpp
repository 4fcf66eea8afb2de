// What a key costs in the time field when it already holds a long text: the real delegate's panel on the
// X server, the field being edited, and keys typed at its end one at a time, each followed by the event
// loop's repaint. A cost per key that grows with the text's length makes typing a long text cost its
// square.
//
//   bench_typing   prints JSON lines: the median cost of one key (µs) at several lengths of the text.

#include "AppDelegate.h"
#include "FocusReturn.h"
#include "TitlelessPanel.h"

#include <QApplication>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

int main(int argc, char* argv[])
{
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    FocusReturn::setActivator([] {});
    AppDelegate delegate;
    delegate.panel()->show();
    delegate.applicationDidFinishLaunching();
    if (!QTest::qWaitForWindowExposed(delegate.panel()))
        return 1;
    QLineEdit* field = delegate.input();
    field->setFocus();
    for (const int length : {100, 1000, 4000, 16000, 30000}) {
        field->setText(QString(length - 1, QLatin1Char('1')));
        QCoreApplication::processEvents();
        std::vector<double> costs;
        for (int i = 0; i < 40; ++i) {
            const auto start = std::chrono::steady_clock::now();
            QTest::keyClick(field, Qt::Key_2);
            QCoreApplication::processEvents();
            costs.push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
            QTest::keyClick(field, Qt::Key_Backspace);
            QCoreApplication::processEvents();
        }
        std::sort(costs.begin(), costs.end());
        std::printf(
            "{\"metric\": \"typing_key_us\", \"subject\": \"brevlin\", \"length\": %d, \"value\": %.1f, "
            "\"unit\": \"us\", \"detail\": \"median of 40 keys typed at the end of a text of %d "
            "characters, each with its repaint\"}\n",
            length, costs[costs.size() / 2], length);
    }
    return 0;
}
