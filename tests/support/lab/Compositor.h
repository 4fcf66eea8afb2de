#pragma once

// The Wayland lab: a presenter's keyboard and mouse as the compositor itself receives them, and the
// screen as the compositor composes it. One implementation per compositor, each in a small file of its
// own; the stage tests see only this.

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

// What the screen shows, read from the compositor's own picture of it.

inline int countPixels(const QImage& image, const QRect& area, const std::function<bool(QColor)>& wanted)
{
    int count = 0;
    const QRect inside = area & image.rect();
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            count += wanted(image.pixelColor(x, y)) ? 1 : 0;
    return count;
}

/// The smallest rectangle around the near-white pixels: the default panel's background, since the stand-in
/// show draws nothing near white. Null when there are too few of them to be a panel.
inline QRect panelArea(const QImage& screen)
{
    int left = screen.width(), top = screen.height(), right = -1, bottom = -1, count = 0;
    for (int y = 0; y < screen.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(screen.constScanLine(y));
        for (int x = 0; x < screen.width(); ++x) {
            const QRgb p = line[x];
            if (qRed(p) > 240 && qGreen(p) > 240 && qBlue(p) > 240) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                ++count;
            }
        }
    }
    if (count < 2000)
        return {};
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

/// Whether the screen shows the default panel there: mostly white, with dark digits.
inline bool showsThePanel(const QImage& screen, const QRect& panel)
{
    const int all = panel.width() * panel.height();
    const int white = countPixels(screen, panel, [](QColor c) { return c.lightness() > 240; });
    const int dark = countPixels(screen, panel, [](QColor c) { return c.lightness() < 60; });
    return all > 0 && white > all / 2 && dark > all / 50;
}

/// Whether the panel there shows its green play button, which it does only while idle.
inline bool showsThePlayButton(const QImage& screen, const QRect& panel)
{
    return countPixels(screen, panel,
                       [](QColor c) { return c.green() > 100 && c.red() < 90 && c.blue() < 90; }) > 50;
}

} // namespace lab
