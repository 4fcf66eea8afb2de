#include "PanelColors.h"

namespace PanelColors {

QColor visibleTextColor(const QColor& stored, const QColor& background, const QColor& fallback)
{
    const QColor text = stored.isValid() ? stored : fallback;
    // rgb() leaves the alpha out: a background drawn with any opacity still hides text of its colour.
    const auto sameAs = [](const QColor& a, const QColor& b) { return b.isValid() && a.rgb() == b.rgb(); };
    if (text.isValid() && text.alpha() > 0 && !sameAs(text, background))
        return text;
    const QColor black(Qt::black);
    return sameAs(black, background) ? QColor(Qt::white) : black;
}

} // namespace PanelColors
