#include "PanelLayout.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>

namespace PanelLayout {

QString sizingSample()
{
    return QStringLiteral("-99:99:99");
}

QString measuringFamily()
{
    return QStringLiteral("Lucida Grande");
}

QFont measuringFont()
{
    // Where the family is missing, a fixed-pitch face stands in: its minus is as wide as a digit, so the
    // sample stays the widest text, and the idle layout's widened 8-character time still fits the panel.
    // A proportional default face has a narrow minus and would push the play button off the panel.
    static const bool available = QFontDatabase::hasFamily(measuringFamily());
    return available ? QFont(measuringFamily()) : QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

QSizeF measureSample(int pixelSize)
{
    QFont font = measuringFont();
    font.setPixelSize(pixelSize);
    const QFontMetricsF metrics(font);
    return {metrics.horizontalAdvance(sizingSample()), metrics.height()};
}

int searchFontSize(float maxWidth, float maxHeight, const std::function<QSizeF(int)>& measure)
{
    for (int size = 10; size < 1000; ++size) {
        const QSizeF measured = measure(size);
        if (measured.width() > maxWidth || measured.height() > maxHeight)
            return size - 1;
    }
    return 999;
}

int fontSizeForPanel(QSizeF panel, double playButtonWidth, bool idle,
                     const std::function<QSizeF(int)>& measure)
{
    double maxWidth = panel.width() - horizontalMargin;
    if (idle)
        maxWidth -= playButtonGap + playButtonWidth;
    const double maxHeight = panel.height() - verticalMargin;
    return searchFontSize(static_cast<float>(maxWidth), static_cast<float>(maxHeight), measure);
}

Geometry arrange(QSizeF panel, QSizeF playButton, QSizeF fittedField, qsizetype textLength, bool idle)
{
    Geometry geometry;
    const double fieldWidth = fittedField.width();
    const double fieldHeight = fittedField.height();
    const double y = (panel.height() - fieldHeight) * 0.5;

    if (idle) {
        // An 8-character time is counted about one character wider, the room a minus sign takes, so the
        // play button stands in much the same place beside a paused overtime as beside a paused time.
        const double width = textLength == 8 ? fieldWidth + fieldWidth / 7 : fieldWidth;
        const double x = (panel.width() - (width + playButtonGap + playButton.width())) * 0.5;
        geometry.playButtonOrigin = {x + width + playButtonGap, (panel.height() - playButton.height()) * 0.5};
        geometry.timeField = {x, y, fieldWidth, fieldHeight};
    } else {
        const double x = (panel.width() - fieldWidth) * 0.5;
        geometry.timeField = {x, y, fieldWidth, fieldHeight};
        geometry.pauseResetFrame = geometry.timeField;
    }
    return geometry;
}

} // namespace PanelLayout
