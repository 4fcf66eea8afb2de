#include "TimeDisplay.h"

#include <QFontMetrics>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFrame>

#include <cmath>
#include <utility>

namespace {
// QLineEdit keeps this much room between its contents' edge and its text (its own layout, which the test
// of this widget compares pixel for pixel).
constexpr int horizontalMargin = 2;
} // namespace

TimeDisplay::TimeDisplay(QLineEdit* field)
    : QWidget(field->parentWidget())
    , m_field(field)
{
    setObjectName(QStringLiteral("timeDisplay"));
    // Clicks reach what lies beneath: on a running panel, the pause button.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    stackUnder(field);
    hide();
}

QPointF TimeDisplay::textOrigin() const
{
    // The line edit's own placement of a left-aligned line that fits: its contents less the text margins,
    // the line centred in them, the text two pixels in.
    QStyleOptionFrame option;
    option.initFrom(m_field);
    option.rect = rect();
    QStyle* fieldStyle = m_field->style();
    option.lineWidth =
        m_field->hasFrame() ? fieldStyle->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, m_field) : 0;
    option.midLineWidth = 0;
    option.state |= QStyle::State_Sunken;
    option.features = QStyleOptionFrame::None;
    const QRect contents = fieldStyle->subElementRect(QStyle::SE_LineEditContents, &option, m_field)
                               .marginsRemoved(m_field->textMargins());
    const QFontMetrics metrics(font());
    const int lineHeight = qMax(metrics.boundingRect(m_text).height(), metrics.height());
    const int top = contents.y() + (contents.height() - lineHeight + 1) / 2;
    // The line's own ascent, fractions included, as a text layout draws it.
    return QPointF(contents.x() + horizontalMargin, top + QFontMetricsF(font()).ascent());
}

QRect TimeDisplay::characterArea(const QString& before, qsizetype from, qsizetype to) const
{
    if (layoutDirection() != Qt::LeftToRight || m_text.isRightToLeft() || before.isRightToLeft())
        return {};
    const QFontMetricsF metrics(font());
    const QPointF origin = textOrigin();
    const QPointF start(origin.x() + metrics.horizontalAdvance(m_text.left(from)), origin.y());
    // The ink of the old characters and of the new ones, where they stand: the old to be covered, the new
    // to be drawn. Antialiasing and hinting reach a pixel or two past the outline.
    const QRectF ink = metrics.tightBoundingRect(before.mid(from, to - from))
                           .united(metrics.tightBoundingRect(m_text.mid(from, to - from)))
                           .translated(start);
    const qreal reach = metrics.height() / 32 + 2;
    const QRect area(QPoint(static_cast<int>(std::floor(ink.left() - reach)),
                            static_cast<int>(std::floor(ink.top() - reach))),
                     QPoint(static_cast<int>(std::ceil(ink.right() + reach)),
                            static_cast<int>(std::ceil(ink.bottom() + reach))));
    return area & rect();
}

void TimeDisplay::follow()
{
    const QString text = m_field->text();
    const bool sameLook = geometry() == m_field->geometry() && font() == m_field->font() &&
                          palette().color(QPalette::Text) == m_field->palette().color(QPalette::Text);
    if (!sameLook) {
        setGeometry(m_field->geometry());
        setFont(m_field->font());
        QPalette colors = palette();
        colors.setColor(QPalette::Text, m_field->palette().color(QPalette::Text));
        setPalette(colors);
        m_text = text;
        update();
        return;
    }
    const QString before = std::exchange(m_text, text);
    if (before == text)
        return;
    // Only where a character changed, each on its own: the unchanged colon between two changed digits is
    // neither repainted nor sent. All of it when the characters cannot be told apart.
    if (before.size() != text.size()) {
        update();
        return;
    }
    QRegion area;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (before[i] == text[i])
            continue;
        const QRect character = characterArea(before, i, i + 1);
        if (character.isEmpty()) {
            update();
            return;
        }
        area += character;
    }
    update(area);
}

void TimeDisplay::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    const QPointF origin = textOrigin();
    // A large text is filled as one path, at a cost that grows with the width the clip spans; painted
    // once per repainted rectangle, each fill spans one character, and every pixel is painted once.
    for (const QRect& part : event->region()) {
        painter.setClipRect(part);
        painter.drawText(origin, m_text);
    }
}
