#pragma once

#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <functional>

/// The panel's geometry, computed from its size alone. Sizes are device-independent pixels, and fonts are
/// sized in pixels, so the panel looks the same on every screen density.
namespace PanelLayout {

constexpr double horizontalMargin = 30;
constexpr double verticalMargin = 30;
constexpr double playButtonGap = 10;

/// The widest time the layout provides for; the font is sized on it, never on the text shown, so the
/// digits keep their size while the count runs.
QString sizingSample();

/// Family the sample is measured in. The time is then shown in the system font; the two are deliberately
/// different.
QString measuringFamily();

/// The measuring family, or the platform's fixed-pitch font where that family is not installed.
QFont measuringFont();

/// The size of the sizing sample at a pixel size, in the measuring font.
QSizeF measureSample(int pixelSize);

/// The largest size from 10 to 999 at which the sample fits both bounds (9 when not even 10 fits).
/// The bounds are single precision, as the layout rounds them.
int searchFontSize(float maxWidth, float maxHeight, const std::function<QSizeF(int)>& measure);

/// The font size for a panel: the time gets the panel less its margins, and while idle also less the play
/// button and its gap.
int fontSizeForPanel(QSizeF panel, double playButtonWidth, bool idle,
                     const std::function<QSizeF(int)>& measure = measureSample);

struct Geometry
{
    QRectF timeField;         ///< where the time field goes (top-left origin)
    QPointF playButtonOrigin; ///< idle only
    QRectF pauseResetFrame;   ///< running only: exactly over the time, so a click on it pauses
};

/// Places the time field, fitted to its text, and the button of the state. An 8-character time (no minus,
/// two-digit hours) counts one seventh wider when the play button is placed beside it.
Geometry arrange(QSizeF panel, QSizeF playButton, QSizeF fittedField, qsizetype textLength, bool idle);

} // namespace PanelLayout
