// For window systems that let an application neither keep a window above others nor activate another
// application's window: the panel then behaves as an ordinary window.

#include "WindowSystem.h"

namespace platform {

void prepareWindowSystem() {}

std::unique_ptr<WindowSystem> makeWindowSystem()
{
    return std::make_unique<WindowSystem>();
}

} // namespace platform
