#include "TimeField.h"

#include <QFontMetricsF>
#include <QLineEdit>

#include <cmath>

namespace {
// QLineEdit keeps this much room around its text inside the frame, and a pixel for the caret; without it
// the field would scroll its first digit out of view.
constexpr qreal innerHorizontalMargin = 2;
constexpr qreal innerVerticalMargin = 1;
constexpr qreal caretRoom = 2;
} // namespace

void sizeToFit(QLineEdit* field)
{
    const QFontMetricsF metrics(field->font());
    const QMargins margins = field->textMargins();
    const qreal width = metrics.horizontalAdvance(field->text()) + margins.left() + margins.right() +
                        2 * innerHorizontalMargin + caretRoom;
    const qreal height = metrics.height() + margins.top() + margins.bottom() + 2 * innerVerticalMargin;
    field->resize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
}
