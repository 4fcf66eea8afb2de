#pragma once

// KWin (Plasma) in the lab: input through the org_kde_kwin_fake_input Wayland protocol, as KDE Connect's
// remote keyboard and mouse arrive, on one Wayland connection of our own that lives as long as this
// driver (the test process itself runs offscreen); screenshots through KWin's org.kde.KWin.ScreenShot2,
// which kwin.sh opens to any caller.

#include "Compositor.h"

#include <QSize>

struct wl_display;
struct wl_registry;
struct org_kde_kwin_fake_input;

namespace lab {

class KWin final : public Compositor
{
public:
    KWin() = default;
    ~KWin() override;
    KWin(const KWin&) = delete;
    KWin& operator=(const KWin&) = delete;

    bool connect(QString* why) override;
    void key(std::uint32_t keysym, bool pressed) override;
    void button(bool pressed) override;
    void moveTo(QPoint at) override;
    QImage screenshot() override;

private:
    void sendKeycode(std::uint32_t evdevCode, bool pressed);
    void flush();

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    org_kde_kwin_fake_input* m_fakeInput = nullptr;
    std::uint32_t m_fakeInputVersion = 0;
    QSize m_lastSize;

    friend struct KWinRegistryListener;
};

} // namespace lab
