#include "Compositor.h"
#include "GnomeShell.h"
#ifdef BREVLIN_LAB_KWIN_DRIVER
#include "KWin.h"
#endif
#ifdef BREVLIN_LAB_SWAY_DRIVER
#include "Sway.h"
#endif

namespace lab {

std::unique_ptr<Compositor> sessionCompositor()
{
    const QByteArray name = qgetenv("BREVLIN_LAB_COMPOSITOR");
    if (name == "gnome-shell")
        return std::make_unique<GnomeShell>();
#ifdef BREVLIN_LAB_KWIN_DRIVER // built only where the Wayland client library and KDE's protocols are
    if (name == "kwin")
        return std::make_unique<KWin>();
#endif
#ifdef BREVLIN_LAB_SWAY_DRIVER // built only where the Wayland client library and xkbcommon are
    if (name == "sway")
        return std::make_unique<Sway>();
#endif
    return nullptr;
}

} // namespace lab
