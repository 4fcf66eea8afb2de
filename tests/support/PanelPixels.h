#pragma once

// Reading a picture of the screen, whoever took it (the X server's root window, a Wayland compositor's
// screenshot): where the default panel is, whether it is there, and whether it shows its play button.

#include <QColor>
#include <QImage>
#include <QRect>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace panelpixels {

/// How many pixels of the area are wanted; the second form counts the whole picture.
inline int countPixels(const QImage& image, const QRect& area, const std::function<bool(QColor)>& wanted)
{
    int count = 0;
    const QRect inside = area & image.rect();
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            count += wanted(image.pixelColor(x, y)) ? 1 : 0;
    return count;
}

/// Whether the screen shows the default panel there: mostly white, with dark digits.
inline bool showsThePanel(const QImage& screen, const QRect& panel)
{
    const int all = panel.width() * panel.height();
    const int white = countPixels(screen, panel, [](QColor c) { return c.lightness() > 240; });
    const int dark = countPixels(screen, panel, [](QColor c) { return c.lightness() < 60; });
    return all > 0 && white > all / 2 && dark > all / 50;
}

/// The default panel on screen: of the areas of touching near-white pixels (the stand-in show draws none,
/// a real slide may), the largest that looks like the panel. Null when none does.
inline QRect panelArea(const QImage& screen)
{
    const int w = screen.width(), h = screen.height();
    const auto nearWhite = [&screen](int x, int y) {
        const QRgb p = screen.pixel(x, y);
        return qRed(p) > 240 && qGreen(p) > 240 && qBlue(p) > 240;
    };
    std::vector<bool> seen(std::size_t(w) * std::size_t(h), false);
    std::vector<QPoint> stack;
    QRect best;
    int bestCount = 0;
    for (int y0 = 0; y0 < h; ++y0) {
        for (int x0 = 0; x0 < w; ++x0) {
            if (seen[std::size_t(y0) * w + x0] || !nearWhite(x0, y0))
                continue;
            int left = x0, right = x0, top = y0, bottom = y0, count = 0;
            stack.assign(1, QPoint(x0, y0));
            seen[std::size_t(y0) * w + x0] = true;
            while (!stack.empty()) {
                const QPoint p = stack.back();
                stack.pop_back();
                ++count;
                left = std::min(left, p.x());
                right = std::max(right, p.x());
                top = std::min(top, p.y());
                bottom = std::max(bottom, p.y());
                for (const QPoint next :
                     {p + QPoint(1, 0), p - QPoint(1, 0), p + QPoint(0, 1), p - QPoint(0, 1)}) {
                    if (next.x() < 0 || next.y() < 0 || next.x() >= w || next.y() >= h)
                        continue;
                    const std::size_t at = std::size_t(next.y()) * w + next.x();
                    if (!seen[at] && nearWhite(next.x(), next.y())) {
                        seen[at] = true;
                        stack.push_back(next);
                    }
                }
            }
            const QRect area(QPoint(left, top), QPoint(right, bottom));
            if (count > bestCount && count >= 2000 && showsThePanel(screen, area)) {
                best = area;
                bestCount = count;
            }
        }
    }
    return best;
}

/// Whether the panel there shows its green play button, which it does only while idle.
inline bool showsThePlayButton(const QImage& screen, const QRect& panel)
{
    return countPixels(screen, panel,
                       [](QColor c) { return c.green() > 100 && c.red() < 90 && c.blue() < 90; }) > 50;
}

inline int countPixels(const QImage& image, const std::function<bool(QColor)>& wanted)
{
    return countPixels(image, image.rect(), wanted);
}

} // namespace panelpixels
