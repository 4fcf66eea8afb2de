// What each opening of the preferences window leaves behind: the real delegate opens the window, flips the
// drop-shadow switch and closes it again, OPENINGS times, and the heap in use (glibc's own count, so
// memory the allocator keeps for reuse does not hide or fake a rise) is read every STEP openings.
//
//   bench_prefsopenings [OPENINGS [STEP]]   prints one JSON line per sample, then the growth per opening
//                                           from the highest sample of the first half to the highest of
//                                           the second: the toolkit's caches rise and are purged again
//                                           (a saw-tooth), so peaks compare what is really kept.

#include "AppDelegate.h"
#include "FocusReturn.h"
#include "PreferenceWindowController.h"
#include "TitlelessPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QStandardPaths>
#include <QTest>
#include <QWidget>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

long long heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long long>(info.uordblks) + static_cast<long long>(info.hblkhd);
}

void settle()
{
    // Twice: a closed window's deferred deletions post further deletions of their own.
    for (int i = 0; i < 2; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

} // namespace

int main(int argc, char* argv[])
{
    QStandardPaths::setTestModeEnabled(true);
    // The offscreen platform warns at every show that it cannot raise; only the figures are wanted.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QApplication app(argc, argv);
    const int openings = argc > 1 ? QByteArray(argv[1]).toInt() : 500;
    const int step = argc > 2 ? QByteArray(argv[2]).toInt() : 50;
    if (openings < 2 || step < 1) {
        std::fprintf(stderr, "usage: bench_prefsopenings [OPENINGS >= 2 [STEP >= 1]]\n");
        return 2;
    }
    FocusReturn::setActivator([] {});

    auto delegate = std::make_unique<AppDelegate>();
    delegate->panel()->show();
    delegate->applicationDidFinishLaunching();
    settle();

    long long firstPeak = 0;
    long long secondPeak = 0;
    for (int i = 1; i <= openings; ++i) {
        delegate->preferenceClick();
        PreferenceWindowController* controller = delegate->prefsWindowController();
        QTest::mouseClick(controller->dropShadowCheckbox(), Qt::LeftButton);
        controller->dropShadowCheckbox()->window()->close();
        settle();
        if (i == 1 || i % step == 0 || i == openings) {
            const long long heap = heapInUse();
            std::printf("{\"metric\": \"prefs_opening_heap\", \"subject\": \"brevlin\", \"openings\": %d, "
                        "\"value\": %lld, \"unit\": \"bytes\"}\n",
                        i, heap);
            long long& peak = i <= openings / 2 ? firstPeak : secondPeak;
            peak = std::max(peak, heap);
        }
    }
    std::printf("{\"metric\": \"prefs_opening_heap_growth\", \"subject\": \"brevlin\", \"value\": %.1f, "
                "\"unit\": \"bytes per opening\", \"detail\": \"highest heap in use over openings 1-%d: %lld "
                "bytes, over openings %d-%d: %lld bytes\"}\n",
                double(secondPeak - firstPeak) / (openings - openings / 2), openings / 2, firstPeak,
                openings / 2 + 1, openings, secondPeak);
    return 0;
}
