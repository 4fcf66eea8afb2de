#pragma once

#include <QColor>

namespace PanelColors {

/// The colour the panel's time is drawn in. The stored colour as it is, unless the presenter could not see
/// it: fully transparent, or the background's own colour (a hand-edited settings file can hold either).
/// Then the default text colour, black, or white where the background is black. An invalid stored colour
/// (damaged data) stands for the fallback, which the same rule then applies to.
QColor visibleTextColor(const QColor& stored, const QColor& background, const QColor& fallback);

} // namespace PanelColors
