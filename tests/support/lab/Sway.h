#pragma once

// sway (wlroots) in the lab: input through the virtual keyboard and virtual pointer protocols, as a remote
// desktop or on-screen keyboard's input arrives, from one Wayland connection of our own that lives as long
// as the test (a keyboard that goes away takes the seat's keymap with it, and a new one drops its first
// key); screenshots from grim, which reads the composed output through wlr-screencopy.

#include "Compositor.h"

#include <QTemporaryDir>

namespace lab {

class Sway final : public Compositor
{
public:
    Sway();
    ~Sway() override;

    bool connect(QString* why) override;
    void key(std::uint32_t keysym, bool pressed) override;
    void button(bool pressed) override;
    void moveTo(QPoint at) override;
    QImage screenshot() override;

private:
    struct Wayland;
    std::unique_ptr<Wayland> m_wl;
    QTemporaryDir m_folder;
};

} // namespace lab
