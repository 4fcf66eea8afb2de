#include "Compositor.h"
#include "GnomeShell.h"

namespace lab {

std::unique_ptr<Compositor> sessionCompositor()
{
    const QByteArray name = qgetenv("BREVLIN_LAB_COMPOSITOR");
    if (name == "gnome-shell")
        return std::make_unique<GnomeShell>();
    return nullptr;
}

} // namespace lab
