#include "TimeField.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleHints>

#include <cmath>

namespace {
// QLineEdit keeps this much room around its text inside the frame, and a pixel for the caret; without it
// the field would scroll its first digit out of view.
constexpr qreal innerHorizontalMargin = 2;
constexpr qreal innerVerticalMargin = 1;
constexpr qreal caretRoom = 2;

// Wide enough to find on a slide, narrow enough to fit the room sizeToFit leaves after the last digit.
constexpr int caretWidth = 2;

// A zero-wide text cursor: QLineEdit then paints nothing for its own caret, and nothing else in the field
// depends on that width but the area it reports for input methods.
class HiddenCaretStyle : public QProxyStyle
{
public:
    explicit HiddenCaretStyle(const QString& baseKey)
        : QProxyStyle(baseKey)
    {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        if (metric == PM_TextCursorWidth)
            return 0;
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
};
} // namespace

void sizeToFit(QLineEdit* field)
{
    const QFontMetricsF metrics(field->font());
    const QMargins margins = field->textMargins();
    // An empty field fits its hint, so that it stays big enough to find and click into.
    const QString shown = field->text().isEmpty() ? field->placeholderText() : field->text();
    const qreal width = metrics.horizontalAdvance(shown) + margins.left() + margins.right() +
                        2 * innerHorizontalMargin + caretRoom;
    const qreal height = metrics.height() + margins.top() + margins.bottom() + 2 * innerVerticalMargin;
    field->resize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
}

TimeFieldCaret* TimeFieldCaret::attach(QLineEdit* field)
{
    // The same style as every other widget, but for the caret's width.
    auto* style = new HiddenCaretStyle(field->style()->name());
    style->setParent(field);
    field->setStyle(style);
    return new TimeFieldCaret(field);
}

TimeFieldCaret::TimeFieldCaret(QLineEdit* field)
    : QWidget(field)
    , m_field(field)
{
    setObjectName(QStringLiteral("timeFieldCaret"));
    // Clicks, the pointer's shape and tooltips stay the field's.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(field->rect());
    show();
    raise();

    connect(&m_blink, &QTimer::timeout, this, &TimeFieldCaret::toggleBlink);
    connect(field, &QLineEdit::cursorPositionChanged, this, &TimeFieldCaret::restartBlink);
    connect(field, &QLineEdit::textChanged, this, &TimeFieldCaret::restartBlink);
    connect(field, &QLineEdit::selectionChanged, this, &TimeFieldCaret::restartBlink);
    connect(QGuiApplication::styleHints(), &QStyleHints::cursorFlashTimeChanged, this,
            &TimeFieldCaret::restartBlink);
    field->installEventFilter(this);
    restartBlink();
}

bool TimeFieldCaret::isActive() const
{
    // Qt draws no caret over an input mask's block either.
    return m_field->hasFocus() && !m_field->isReadOnly() && m_field->inputMask().isEmpty();
}

bool TimeFieldCaret::isCaretShown() const
{
    return isActive() && m_blinkOn;
}

QRect TimeFieldCaret::caretRect() const
{
    // The field reports an area around the insertion point, centred on it.
    const QRectF area = m_field->inputMethodQuery(Qt::ImCursorRectangle).toRectF();
    if (area.isEmpty())
        return {};
    const int left = qRound(area.center().x() - caretWidth / 2.0);
    return QRect(left, qRound(area.top()), caretWidth, qRound(area.height())) & m_field->rect();
}

void TimeFieldCaret::restartBlink()
{
    m_blinkOn = true;
    const int flashTime = QGuiApplication::styleHints()->cursorFlashTime();
    if (isActive() && flashTime > 0)
        m_blink.start(flashTime / 2);
    else
        m_blink.stop();
    repaintCaret();
}

void TimeFieldCaret::toggleBlink()
{
    m_blinkOn = !m_blinkOn;
    repaintCaret();
}

void TimeFieldCaret::repaintCaret()
{
    // Nothing at all where no caret was drawn and none is to be: a running countdown's field.
    update(m_drawnCaret);
    if (isCaretShown())
        update(caretRect());
}

bool TimeFieldCaret::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field) {
        switch (event->type()) {
        case QEvent::Resize:
            setGeometry(m_field->rect());
            break;
        case QEvent::FocusIn:
        case QEvent::ReadOnlyChange:
        case QEvent::Show:
            restartBlink();
            break;
        case QEvent::FocusOut:
        case QEvent::Hide:
            // Asks nothing of the line edit: a field being destroyed still loses its focus.
            m_blink.stop();
            update(m_drawnCaret);
            break;
        case QEvent::PaletteChange:
        case QEvent::FontChange:
        case QEvent::LayoutDirectionChange:
            update();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TimeFieldCaret::paintEvent(QPaintEvent*)
{
    m_drawnCaret = isCaretShown() ? caretRect() : QRect();
    if (m_drawnCaret.isEmpty())
        return;
    QPainter painter(this);
    // The field's palette, not this widget's: that is the one the text colour is put into.
    painter.fillRect(m_drawnCaret, m_field->palette().color(QPalette::Text));
}
