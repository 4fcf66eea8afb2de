#pragma once

// The Wayland lab: a presenter's keyboard and mouse as the compositor itself receives them, and the
// screen as the compositor composes it. One implementation per compositor, each in a small file of its
// own; the stage tests see only this.

#include "PanelPixels.h"

#include <QImage>
#include <QPoint>
#include <QString>
#include <QTest>

#include <cstdint>
#include <functional>
#include <memory>

namespace lab {

// X keysyms of the keys the tests press.
constexpr std::uint32_t keyReturn = 0xff0d;
constexpr std::uint32_t keyRight = 0xff53;
constexpr std::uint32_t keySpace = 0x20;
constexpr std::uint32_t keyControl = 0xffe3;
constexpr std::uint32_t keyNext = 0xff56;

class Compositor
{
public:
    virtual ~Compositor() = default;

    /// Connects to the compositor of this session; false, with the reason in *why, where it cannot.
    virtual bool connect(QString* why) = 0;
    virtual void key(std::uint32_t keysym, bool pressed) = 0;
    virtual void button(bool pressed) = 0;
    /// Puts the pointer at a point of the screen, in the screen's pixels.
    virtual void moveTo(QPoint at) = 0;
    /// The whole screen as the compositor shows it, without the pointer; null on failure.
    virtual QImage screenshot() = 0;

    void tap(std::uint32_t keysym)
    {
        key(keysym, true);
        key(keysym, false);
        QTest::qWait(20);
    }

    void type(const QString& text)
    {
        for (const QChar ch : text)
            tap(ch.unicode()); // Latin-1 keysyms are the characters themselves
    }

    /// Selects all of a text field's content, as ctrl+a does.
    void selectAll()
    {
        key(keyControl, true);
        tap('a');
        key(keyControl, false);
        QTest::qWait(20);
    }

    void clickAt(QPoint at)
    {
        moveTo(at);
        QTest::qWait(50);
        button(true);
        QTest::qWait(30);
        button(false);
        QTest::qWait(50);
    }
};

/// The compositor this test session runs under, from BREVLIN_LAB_COMPOSITOR; null where it is unknown.
std::unique_ptr<Compositor> sessionCompositor();

// What the screen shows is read from the compositor's own picture of it.
using panelpixels::countPixels;
using panelpixels::panelArea;
using panelpixels::showsThePanel;
using panelpixels::showsThePlayButton;

} // namespace lab
