// AppKit. Compiled with automatic reference counting; only the previously active application and the
// observer that follows it are kept beyond a call.
//
// Qt sets a window's level itself (floating for a tool window, modal-panel level for stay-on-top) and
// sets it again on every flags change, full-screen change and re-creation of the native window, which
// is why the caller applies floatAboveEverything after each of those.

#include "WindowSystem.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

namespace platform {
namespace {

// Shown on every Space, left in place when Spaces switch, allowed beside a full-screen window.
constexpr NSWindowCollectionBehavior floatingCollectionBehavior =
    NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
    NSWindowCollectionBehaviorFullScreenAuxiliary;
static_assert(floatingCollectionBehavior == 273, "the collection behaviour the panel is known to need");

bool isOrContains(NSView* view, NativeWindow wanted)
{
    if (reinterpret_cast<NativeWindow>((__bridge void*)view) == wanted)
        return true;
    for (NSView* subview in [view subviews]) {
        if (isOrContains(subview, wanted))
            return true;
    }
    return false;
}

/// The window that holds the NSView that Qt gives as a window id (for a top-level window, its content
/// view); nil if there is none. The id is only compared, never sent a message: it may be stale, or
/// come from another Qt platform.
NSWindow* windowOf(NativeWindow window)
{
    if (window == 0)
        return nil;
    for (NSWindow* candidate in [NSApp windows]) {
        if (isOrContains([candidate contentView], window))
            return candidate;
    }
    return nil;
}

// The application that was active before this one, e.g. Keynote; kept from the workspace's
// notifications, which arrive on the main thread.
NSRunningApplication* previousApplication = nil;
id activationObserver = nil;

class MacWindowSystem final : public WindowSystem
{
public:
    bool activatePowerPoint() override
    {
        @autoreleasepool {
            @try {
                NSArray<NSRunningApplication*>* running = [NSRunningApplication
                    runningApplicationsWithBundleIdentifier:@"com.microsoft.Powerpoint"];
                NSRunningApplication* powerPoint = [running firstObject];
                if (!powerPoint)
                    return false;
                // From macOS 14 activation is a request that the active application has to allow.
                if (@available(macOS 14.0, *)) {
                    if ([NSApp respondsToSelector:@selector(yieldActivationToApplication:)])
                        [NSApp performSelector:@selector(yieldActivationToApplication:)
                                    withObject:powerPoint];
                }
                [powerPoint activateWithOptions:NSApplicationActivateAllWindows];
                return true;
            } @catch (...) {
                return false;
            }
        }
    }

    void watchActiveWindow() override
    {
        @autoreleasepool {
            @try {
                if (activationObserver)
                    return;
                NSRunningApplication* own = [NSRunningApplication currentApplication];
                NSRunningApplication* front = [[NSWorkspace sharedWorkspace] frontmostApplication];
                if (front && ![front isEqual:own])
                    previousApplication = front;
                activationObserver = [[[NSWorkspace sharedWorkspace] notificationCenter]
                    addObserverForName:NSWorkspaceDidActivateApplicationNotification
                                object:nil
                                 queue:[NSOperationQueue mainQueue]
                            usingBlock:^(NSNotification* note) {
                              NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
                              if (app && ![app isEqual:[NSRunningApplication currentApplication]])
                                  previousApplication = app;
                            }];
            } @catch (...) {
            }
        }
    }

    void activatePreviousWindow() override
    {
        @autoreleasepool {
            @try {
                NSRunningApplication* target = previousApplication;
                if (!target || [target isTerminated])
                    return;
                if (@available(macOS 14.0, *)) {
                    if ([NSApp respondsToSelector:@selector(yieldActivationToApplication:)])
                        [NSApp performSelector:@selector(yieldActivationToApplication:) withObject:target];
                }
                [target activateWithOptions:NSApplicationActivateAllWindows];
            } @catch (...) {
            }
        }
    }

    void floatAboveEverything(NativeWindow window) override
    {
        @autoreleasepool {
            @try {
                NSWindow* nsWindow = windowOf(window);
                if (!nsWindow)
                    return;
                [nsWindow setLevel:CGWindowLevelForKey(kCGStatusWindowLevelKey)];
                [nsWindow setCollectionBehavior:floatingCollectionBehavior];
                // A panel hides by default when its application is no longer active, and PowerPoint is
                // made active right after every use of the panel.
                if ([nsWindow respondsToSelector:@selector(setHidesOnDeactivate:)])
                    [nsWindow setHidesOnDeactivate:NO];
            } @catch (...) {
            }
        }
    }

    void setWindowShadow(NativeWindow window, bool hasShadow) override
    {
        @autoreleasepool {
            @try {
                NSWindow* nsWindow = windowOf(window);
                if (!nsWindow)
                    return;
                [nsWindow setHasShadow:hasShadow ? YES : NO];
                // The shadow follows the window's shape, which changes with its contents.
                [nsWindow invalidateShadow];
            } @catch (...) {
            }
        }
    }

    bool drawsWindowShadow(NativeWindow, bool hasShadow) override { return hasShadow; }

    // The workspace answers from within this process (no lookups to keep during a drag), and the window
    // server shares the window's pixels (no buffer to raise).
};

} // namespace

void prepareWindowSystem() {}

std::unique_ptr<WindowSystem> makeWindowSystem()
{
    return std::make_unique<MacWindowSystem>();
}

} // namespace platform
