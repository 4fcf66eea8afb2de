// Win32, without Qt, so that it builds with any Windows C++ compiler on its own.

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif

#include "WindowSystem.h"

#include <windows.h>

namespace platform {
namespace {

HWND toHwnd(NativeWindow window)
{
    return reinterpret_cast<HWND>(window);
}

bool isPowerPointProcess(DWORD processId)
{
    // The limited right is granted even for elevated processes of the same user.
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (!process)
        return false;
    wchar_t path[MAX_PATH * 4] = {};
    DWORD size = sizeof path / sizeof path[0];
    const BOOL ok = QueryFullProcessImageNameW(process, 0, path, &size);
    CloseHandle(process);
    if (!ok || size == 0)
        return false;
    const wchar_t* name = path;
    for (const wchar_t* p = path; *p; ++p) {
        if (*p == L'\\' || *p == L'/')
            name = p + 1;
    }
    return CompareStringOrdinal(name, -1, L"POWERPNT.EXE", -1, TRUE) == CSTR_EQUAL;
}

// EnumWindows goes through the top-level windows from the top of the z-order down.
BOOL CALLBACK findPowerPointWindow(HWND window, LPARAM result)
{
    if (!IsWindowVisible(window))
        return TRUE;
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId == 0 || !isPowerPointProcess(processId))
        return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
}

bool isOwnWindow(HWND window)
{
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    return processId == GetCurrentProcessId();
}

// The foreground window of another process that was active last; written only by the hook below, which
// runs on this thread's message loop.
HWND previousForeground = nullptr;
HWINEVENTHOOK foregroundHook = nullptr;

void CALLBACK foregroundChanged(HWINEVENTHOOK, DWORD, HWND window, LONG objectId, LONG, DWORD, DWORD)
{
    if (window && objectId == OBJID_WINDOW && !isOwnWindow(window))
        previousForeground = window;
}

bool coversItsMonitor(HWND window)
{
    RECT rect{};
    if (!GetWindowRect(window, &rect))
        return false;
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    if (!GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor))
        return false;
    return rect.left <= monitor.rcMonitor.left && rect.top <= monitor.rcMonitor.top &&
           rect.right >= monitor.rcMonitor.right && rect.bottom >= monitor.rcMonitor.bottom;
}

// From the top of the z-order down: the first visible full-screen window of another process.
BOOL CALLBACK findFullScreenWindow(HWND window, LPARAM result)
{
    if (!IsWindowVisible(window) || IsIconic(window) || isOwnWindow(window) || !coversItsMonitor(window))
        return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
}

void bringToForeground(HWND window)
{
    if (IsIconic(window))
        ShowWindowAsync(window, SW_RESTORE); // asynchronous: a hung PowerPoint must not hang the panel
    if (SetForegroundWindow(window))
        return;
    // Refused because this process is not in the foreground: sharing the foreground thread's input
    // state for a moment lends this thread its right to choose the foreground window.
    const HWND foreground = GetForegroundWindow();
    const DWORD foregroundThread = foreground ? GetWindowThreadProcessId(foreground, nullptr) : 0;
    const DWORD ownThread = GetCurrentThreadId();
    if (foregroundThread == 0 || foregroundThread == ownThread)
        return;
    if (!AttachThreadInput(ownThread, foregroundThread, TRUE))
        return;
    BringWindowToTop(window);
    SetForegroundWindow(window);
    AttachThreadInput(ownThread, foregroundThread, FALSE);
}

class WinWindowSystem final : public WindowSystem
{
public:
    bool activatePowerPoint() override
    {
        HWND found = nullptr;
        EnumWindows(findPowerPointWindow, reinterpret_cast<LPARAM>(&found));
        if (!found)
            return false;
        bringToForeground(found);
        return true;
    }

    void watchActiveWindow() override
    {
        if (foregroundHook)
            return;
        const HWND foreground = GetForegroundWindow();
        if (foreground && !isOwnWindow(foreground))
            previousForeground = foreground;
        // Out of context: the callback runs in this process, on this thread, between its messages.
        foregroundHook = SetWinEventHook(EVENT_SYSTEM_FOREGROUND, EVENT_SYSTEM_FOREGROUND, nullptr,
                                         foregroundChanged, 0, 0, WINEVENT_OUTOFCONTEXT);
    }

    void activatePreviousWindow() override
    {
        HWND target = previousForeground;
        if (!target || !IsWindow(target) || !IsWindowVisible(target)) {
            target = nullptr;
            EnumWindows(findFullScreenWindow, reinterpret_cast<LPARAM>(&target));
        }
        if (target)
            bringToForeground(target);
    }

    void floatAboveEverything(NativeWindow window) override
    {
        const HWND hwnd = toHwnd(window);
        if (!hwnd || !IsWindow(hwnd))
            return;
        SetWindowPos(hwnd, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }

    // CS_DROPSHADOW belongs to the window class, not to the window: the change applies to every window of
    // that class, and a shown window draws it from its next show on.
    void setWindowShadow(NativeWindow window, bool hasShadow) override
    {
        const HWND hwnd = toHwnd(window);
        if (!hwnd || !IsWindow(hwnd))
            return;
        SetLastError(ERROR_SUCCESS);
        const ULONG_PTR style = GetClassLongPtrW(hwnd, GCL_STYLE);
        if (style == 0 && GetLastError() != ERROR_SUCCESS)
            return;
        const ULONG_PTR wanted =
            hasShadow ? style | CS_DROPSHADOW : style & ~static_cast<ULONG_PTR>(CS_DROPSHADOW);
        if (wanted != style)
            SetClassLongPtrW(hwnd, GCL_STYLE, static_cast<LONG_PTR>(wanted));
    }

    bool drawsWindowShadow(NativeWindow, bool hasShadow) override { return hasShadow; }

    // Walking the windows is a call within this process, not a round trip to a server: no lookups are
    // kept during a drag, and Windows hands a window's pixels over without a socket in between.
};

} // namespace

void prepareWindowSystem() {}

std::unique_ptr<WindowSystem> makeWindowSystem()
{
    return std::make_unique<WinWindowSystem>();
}

// A GUI process gets WM_CLOSE / WM_QUERYENDSESSION, which Qt already turns into a normal quit.
void quitOnTerminationRequests() noexcept {}

void tuneMemoryAllocator() noexcept {}

} // namespace platform
