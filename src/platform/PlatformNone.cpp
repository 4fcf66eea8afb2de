// For window systems that let an application neither keep a window above others nor activate another
// application's window (Wayland among them): the panel then behaves as an ordinary window.

#include "Platform.h"

namespace platform {

void chooseWindowSystem() noexcept {}

void activatePowerPoint() noexcept {}

void floatAboveEverything(NativeWindow) noexcept {}

void setWindowShadow(NativeWindow, bool) noexcept {}

} // namespace platform
