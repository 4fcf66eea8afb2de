#include "PanelPlacement.h"

#include <QStringList>

#include <cstdlib>

#include <algorithm>
#include <limits>

namespace PanelPlacement {

QRect defaultFrame(QSize size, const QRect& area)
{
    constexpr int margin = 24;
    return {QPoint(area.right() - size.width() - margin + 1, area.top() + margin), size};
}

bool isInSight(const QRect& frame, const QList<QRect>& screens)
{
    const int wantedWidth = std::min(MinimumInSight.width(), frame.width());
    const int wantedHeight = std::min(MinimumInSight.height(), frame.height());
    return std::any_of(screens.cbegin(), screens.cend(), [&](const QRect& screen) {
        const QRect seen = frame.intersected(screen);
        return !seen.isEmpty() && seen.width() >= wantedWidth && seen.height() >= wantedHeight;
    });
}

QRect keptInSight(const QRect& frame, const QList<QRect>& screens, const QList<QRect>& usableAreas)
{
    if (screens.isEmpty() || isInSight(frame, screens))
        return frame;
    // The nearest screen by the distance from the frame's centre to the screen's rectangle.
    qsizetype nearest = 0;
    qint64 best = std::numeric_limits<qint64>::max();
    const QPoint centre = frame.center();
    for (qsizetype i = 0; i < screens.size(); ++i) {
        const QRect& s = screens[i];
        const qint64 dx =
            std::max<qint64>({qint64(s.left()) - centre.x(), 0, qint64(centre.x()) - s.right()});
        const qint64 dy =
            std::max<qint64>({qint64(s.top()) - centre.y(), 0, qint64(centre.y()) - s.bottom()});
        const qint64 distance = dx * dx + dy * dy;
        if (distance < best) {
            best = distance;
            nearest = i;
        }
    }
    const QRect area = usableAreas.value(nearest, screens[nearest]);
    QRect moved(frame.topLeft(), frame.size().boundedTo(area.size()));
    moved.moveLeft(std::clamp(moved.left(), area.left(), area.right() - moved.width() + 1));
    moved.moveTop(std::clamp(moved.top(), area.top(), area.bottom() - moved.height() + 1));
    return moved;
}

QString describe(const QRect& frame, const QString& screenName)
{
    return QStringLiteral("%1,%2,%3,%4;%5")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height())
        .arg(screenName);
}

std::optional<Place> parse(const QString& text)
{
    const qsizetype semicolon = text.indexOf(QLatin1Char(';'));
    const QStringList numbers = text.left(semicolon < 0 ? text.size() : semicolon).split(QLatin1Char(','));
    if (numbers.size() != 4)
        return std::nullopt;
    int values[4] = {};
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        values[i] = numbers[i].trimmed().toInt(&ok);
        if (!ok)
            return std::nullopt;
    }
    // A size of a few million pixels is no panel; it would also overflow the arithmetic above.
    constexpr int largest = 1 << 16;
    if (values[2] <= 0 || values[3] <= 0 || values[2] > largest || values[3] > largest ||
        std::abs(values[0]) > largest * 4 || std::abs(values[1]) > largest * 4)
        return std::nullopt;
    return Place{QRect(values[0], values[1], values[2], values[3]),
                 semicolon < 0 ? QString() : text.mid(semicolon + 1)};
}

} // namespace PanelPlacement
