// How close to the second the real panel's countdown ticks: the real delegate, its real timer and event
// loop, on whatever platform Qt runs (the benchmark runs it on Xvfb with a window manager).
//
//   bench_tickaccuracy SECONDS CONDITION   prints JSON lines for a countdown watched for SECONDS;
//                                          CONDITION is only a label (idle, loaded).
//
// Each tick's lateness is measured against an ideal grid of whole seconds from the moment the countdown
// was started, so a timer that drifted would show a growing lateness, not a steady one.

#include "AppDelegate.h"
#include "FocusReturn.h"
#include "TitlelessPanel.h"

#include <QApplication>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Tick
{
    double atMs;
    qint32 remaining;
};

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    const auto index = static_cast<size_t>(p * double(values.size() - 1) + 0.5);
    return values[std::min(index, values.size() - 1)];
}

void report(const char* metric, const char* condition, double value, const char* unit,
            const QByteArray& detail)
{
    std::printf("{\"metric\": \"%s\", \"subject\": \"brevlin\", \"condition\": \"%s\", \"value\": %.4f, "
                "\"unit\": \"%s\", \"detail\": \"%s\"}\n",
                metric, condition, value, unit, detail.constData());
}

} // namespace

int main(int argc, char* argv[])
{
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? QByteArray(argv[1]).toInt() : 120;
    const QByteArray condition = argc > 2 ? QByteArray(argv[2]) : QByteArray("idle");
    FocusReturn::setActivator([] {});

    AppDelegate delegate;
    delegate.panel()->show();
    delegate.applicationDidFinishLaunching();
    QCoreApplication::processEvents();

    std::vector<Tick> ticks;
    ticks.reserve(size_t(seconds) + 8);
    Clock::time_point start;
    bool started = false;
    QObject::connect(delegate.input(), &QLineEdit::textChanged, [&] {
        if (started)
            ticks.push_back({std::chrono::duration<double, std::milli>(Clock::now() - start).count(),
                             delegate.countdown().remainingSeconds()});
    });

    // Started as Return would start it, well away from zero so every tick is an ordinary one.
    QTimer::singleShot(500, [&] {
        delegate.input()->setText(QStringLiteral("100:0:0"));
        start = Clock::now();
        delegate.startTimer();
        started = true;
        // Precise: a long single shot is otherwise coarse and may end the watch seconds late.
        QTimer::singleShot(seconds * 1000 + 500, Qt::PreciseTimer, &app, &QCoreApplication::quit);
    });
    QApplication::exec();

    std::vector<double> lateness;
    int skipped = 0;
    int doubled = 0;
    for (size_t i = 0; i < ticks.size(); ++i) {
        const qint32 elapsedSeconds = 360000 - ticks[i].remaining;
        lateness.push_back(ticks[i].atMs - 1000.0 * elapsedSeconds);
        if (i > 0) {
            const qint32 step = ticks[i - 1].remaining - ticks[i].remaining;
            if (step > 1)
                skipped += step - 1;
            if (step < 1)
                ++doubled;
        }
    }
    // Seconds the watch lasted but the countdown never showed.
    const int expected = seconds;
    const int shown = ticks.empty() ? 0 : 360000 - ticks.back().remaining;
    skipped += std::max(0, expected - shown);

    if (lateness.empty()) {
        report("tick_count", condition.constData(), 0, "ticks", "no tick was seen");
        return 1;
    }
    const double median = percentile(lateness, 0.5);
    const double p99 = percentile(lateness, 0.99);
    const double max = *std::max_element(lateness.begin(), lateness.end());
    const QByteArray over =
        QByteArray::number(int(ticks.size())) + " ticks over " + QByteArray::number(seconds) + " s";
    report("tick_count", condition.constData(), double(ticks.size()), "ticks", over);
    report("tick_lateness_median_ms", condition.constData(), median, "ms", over);
    report("tick_lateness_p99_ms", condition.constData(), p99, "ms", over);
    report("tick_lateness_max_ms", condition.constData(), max, "ms", over);
    report("tick_jitter_ms", condition.constData(), p99 - median, "ms", "p99 minus median lateness");
    report("tick_drift_ms", condition.constData(), lateness.back() - lateness.front(), "ms",
           "lateness of the last tick minus the first");
    report("tick_skipped", condition.constData(), skipped, "ticks", "seconds never shown");
    report("tick_doubled", condition.constData(), doubled, "ticks", "seconds shown twice");
    return 0;
}
