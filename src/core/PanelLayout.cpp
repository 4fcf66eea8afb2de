#include "PanelLayout.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QRawFont>

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

namespace {

// The sample's size per pixel of font size. Taken once, at the face's own design resolution, where
// advances and extents are exact design units; sizes then scale linearly, as on a text system with
// fractional, unhinted metrics. Measuring each of up to 990 candidate sizes with hinting would build a font
// engine per size, some 100 ms a layout.
QSizeF samplePerPixel()
{
    static const QSizeF perPixel = [] {
        QFont font = measuringFont();
        font.setHintingPreference(QFont::PreferNoHinting);
        const QRawFont raw = QRawFont::fromFont(font);
        const int unitsPerEm = raw.isValid() && raw.unitsPerEm() > 0 ? qRound(raw.unitsPerEm()) : 2048;
        font.setPixelSize(unitsPerEm);
        const QFontMetricsF metrics(font);
        return QSizeF(metrics.horizontalAdvance(sizingSample()), metrics.height()) / unitsPerEm;
    }();
    return perPixel;
}

} // namespace

QSizeF measureSample(int pixelSize)
{
    return samplePerPixel() * pixelSize;
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
