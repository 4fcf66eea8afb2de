// The cost of one panel layout at a given panel size, and of one countdown tick, in the real delegate.
//
//   bench_layout WIDTH HEIGHT   prints JSON lines: the first layout at that size in this process (cold
//                               font caches) and the median of repeated layouts (warm), idle and running;
//                               then the median cost of one tick.

#include "AppDelegate.h"
#include "FocusReturn.h"
#include "TitlelessPanel.h"

#include <QApplication>
#include <QLineEdit>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

template <typename F>
double microseconds(F&& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const char* metric, const char* size, double value, const char* detail)
{
    std::printf("{\"metric\": \"%s\", \"subject\": \"brevlin\", \"size\": \"%s\", \"value\": %.3f, \"unit\": "
                "\"us\", \"detail\": \"%s\"}\n",
                metric, size, value, detail);
}

} // namespace

int main(int argc, char* argv[])
{
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_layout WIDTH HEIGHT\n");
        return 2;
    }
    const int width = QByteArray(argv[1]).toInt();
    const int height = QByteArray(argv[2]).toInt();
    const QByteArray size = QByteArray(argv[1]) + "x" + argv[2];
    FocusReturn::setActivator([] {});

    AppDelegate delegate;
    delegate.panel()->resize(340, 120);
    delegate.panel()->show();
    delegate.applicationDidFinishLaunching();
    QCoreApplication::processEvents();

    // The panel is resized without its delegate hearing of it, so each layout below is exactly one updateUI.
    QObject::disconnect(delegate.panel(), &TitlelessPanel::windowDidResize, &delegate, nullptr);
    delegate.panel()->resize(width, height);
    report("layout_cold_us", size.constData(), microseconds([&] { delegate.updateUI(); }),
           "first idle layout at this size in a fresh process");
    std::vector<double> idle;
    for (int i = 0; i < 200; ++i)
        idle.push_back(microseconds([&] { delegate.updateUI(); }));
    report("layout_idle_us", size.constData(), median(idle), "median of 200");

    delegate.input()->setText(QStringLiteral("100:0:0"));
    delegate.startTimer();
    std::vector<double> running;
    for (int i = 0; i < 200; ++i)
        running.push_back(microseconds([&] { delegate.updateUI(); }));
    report("layout_running_us", size.constData(), median(running), "median of 200");

    std::vector<double> ticks;
    for (int i = 0; i < 5000; ++i)
        ticks.push_back(microseconds([&] { delegate.tick(); }));
    report("tick_us", size.constData(), median(ticks), "median of 5000 ticks, text and field size updated");
    return 0;
}
