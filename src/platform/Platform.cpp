// The free functions of Platform.h, each handed to the window system this session runs on. Every failure
// stops here: the panel must keep working on stage whatever the window system does.

#include "Platform.h"
#include "WindowSystem.h"

#include <QCoreApplication>

namespace platform {
namespace {

/// Chosen once the application object exists, since only then is it known which window system Qt
/// talks to; before that, the defaults, which do nothing.
WindowSystem& windowSystem()
{
    static WindowSystem beforeTheApplication;
    static std::unique_ptr<WindowSystem> chosen;
    if (!chosen) {
        if (!QCoreApplication::instance())
            return beforeTheApplication;
        chosen = makeWindowSystem();
        if (!chosen)
            chosen = std::make_unique<WindowSystem>();
    }
    return *chosen;
}

template <typename Result, typename Call>
Result guarded(Result failed, Call call) noexcept
{
    try {
        return call(windowSystem());
    } catch (...) {
        return failed;
    }
}

template <typename Call>
void guarded(Call call) noexcept
{
    try {
        call(windowSystem());
    } catch (...) {
    }
}

} // namespace

void chooseWindowSystem() noexcept
{
    try {
        prepareWindowSystem();
    } catch (...) {
    }
}

bool panelBypassesWindowManager() noexcept
{
    return guarded(false, [](WindowSystem& ws) { return ws.panelBypassesWindowManager(); });
}

bool activatePowerPoint() noexcept
{
    return guarded(false, [](WindowSystem& ws) { return ws.activatePowerPoint(); });
}

void watchActiveWindow() noexcept
{
    guarded([](WindowSystem& ws) { ws.watchActiveWindow(); });
}

void activatePreviousWindow() noexcept
{
    guarded([](WindowSystem& ws) { ws.activatePreviousWindow(); });
}

void holdWindowLookups(bool hold) noexcept
{
    guarded([hold](WindowSystem& ws) { ws.holdWindowLookups(hold); });
}

void floatAboveEverything(NativeWindow window) noexcept
{
    guarded([window](WindowSystem& ws) { ws.floatAboveEverything(window); });
}

void withholdKeyboard(NativeWindow panel) noexcept
{
    guarded([panel](WindowSystem& ws) { ws.withholdKeyboard(panel); });
}

bool lendKeyboard(NativeWindow panel) noexcept
{
    return guarded(false, [panel](WindowSystem& ws) { return ws.lendKeyboard(panel); });
}

void setWindowShadow(NativeWindow window, bool hasShadow) noexcept
{
    guarded([window, hasShadow](WindowSystem& ws) { ws.setWindowShadow(window, hasShadow); });
}

bool drawsWindowShadow(NativeWindow window, bool hasShadow) noexcept
{
    return guarded(false,
                   [window, hasShadow](WindowSystem& ws) { return ws.drawsWindowShadow(window, hasShadow); });
}

void sendRepaintsWithoutWaiting() noexcept
{
    guarded([](WindowSystem& ws) { ws.sendRepaintsWithoutWaiting(); });
}

} // namespace platform
