#include "TimeField.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLineEdit>
#include <QList>
#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QRegion>
#include <QStyleHints>

#include <cmath>
#include <utility>

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
    repaintOnlyChangedText();
    restartBlink();
}

void TimeFieldCaret::repaintOnlyChangedText()
{
    // QLineEdit repaints all of itself whenever its shown text changes, through its text control's
    // displayTextChanged; that one connection is replaced by a repaint of what changed. Every other
    // repaint of the field (selection, cursor, focus, font, size) stays the line edit's own.
    m_shownText = m_field->displayText();
    for (QObject* child : m_field->children()) {
        if (!child->inherits("QWidgetLineControl"))
            continue;
        if (QObject::disconnect(child, SIGNAL(displayTextChanged(QString)), m_field, SLOT(update())))
            connect(child, SIGNAL(displayTextChanged(QString)), this, SLOT(displayTextChanged(QString)));
        return;
    }
}

void TimeFieldCaret::displayTextChanged(const QString& text)
{
    const QString before = std::exchange(m_shownText, text);
    // Only where a character changed, each on its own: the unchanged colon between two changed digits
    // is neither repainted nor sent. The whole field when the changed characters cannot be told apart.
    QRegion area;
    QList<QRegion> characters;
    if (before.size() == text.size()) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (before[i] == text[i])
                continue;
            const QRect character = textArea(before, text, i, i + 1);
            if (character.isEmpty()) {
                area = QRegion();
                characters.clear();
                break;
            }
            // Apart from the characters before it: no pixel is to be painted twice.
            characters.append(QRegion(character) - area);
            area += character;
        }
    }
    if (area.isEmpty()) {
        m_characterAreas.clear();
        m_field->update();
        return;
    }
    // Kept for the paint that follows, if it covers just these characters.
    m_characterAreas = characters.size() > 1 ? characters : QList<QRegion>();
    m_field->update(area);
}

bool TimeFieldCaret::paintCharactersApart(const QPaintEvent* event)
{
    // The line edit fills its whole text as one path, clipped to what is repainted, at a cost that grows
    // with the width the clip spans, the unchanged characters between included. Several changed
    // characters are painted one after the other instead, each clipped to its own area: the same
    // pixels, each painted once, by narrower fills.
    const QList<QRegion> characters = std::exchange(m_characterAreas, {});
    QRegion requested;
    for (const QRegion& character : characters)
        requested += character;
    if (characters.size() < 2 || event->region() != requested)
        return false;
    QPainter probe(m_field);
    QPaintEngine* engine = probe.paintEngine();
    const QTransform toDevice = probe.deviceTransform();
    probe.end();
    // Areas map onto whole device pixels only through a shift and a whole scale.
    const bool whole =
        toDevice.type() <= QTransform::TxTranslate ||
        (toDevice.type() == QTransform::TxScale && toDevice.m11() == std::floor(toDevice.m11()) &&
         toDevice.m22() == std::floor(toDevice.m22()));
    if (!engine || !whole)
        return false;
    const QRegion clip = engine->systemClip();
    if (clip.isEmpty())
        return false;
    m_paintingApart = true;
    for (const QRegion& character : characters) {
        engine->setSystemClip(clip & toDevice.map(character));
        QPaintEvent part(character);
        QCoreApplication::sendEvent(m_field, &part);
    }
    engine->setSystemClip(clip);
    m_paintingApart = false;
    return true;
}

QRect TimeFieldCaret::textArea(const QString& before, const QString& text, qsizetype from, qsizetype to) const
{
    // Only the plain case a tick is: left to right, aligned left, the whole text in view. The line edit
    // places its text itself; the insertion point, which it reports, anchors the characters to it.
    if (m_field->layoutDirection() != Qt::LeftToRight || text.isRightToLeft() ||
        !(m_field->alignment() & Qt::AlignLeft) || m_field->echoMode() != QLineEdit::Normal)
        return {};
    const QFontMetricsF metrics(m_field->font());
    const QMargins margins = m_field->textMargins();
    const qreal room = m_field->width() - margins.left() - margins.right() - 2 * innerHorizontalMargin;
    if (metrics.horizontalAdvance(text) + caretRoom > room)
        return {};
    const QRectF cursor = m_field->inputMethodQuery(Qt::ImCursorRectangle).toRectF();
    const int position = m_field->cursorPosition();
    if (cursor.isEmpty() || position < 0 || position > text.size())
        return {};
    // The insertion point spans the line, from its top; the characters stand on the baseline below it.
    const QPointF start(cursor.center().x() - metrics.horizontalAdvance(text.left(position)) +
                            metrics.horizontalAdvance(text.left(from)),
                        cursor.top() + metrics.ascent());
    // The ink of the old characters and of the new ones, where they stand: the old to be covered, the new
    // to be drawn. Antialiasing and hinting reach a pixel or two past the outline.
    const QRectF ink = metrics.tightBoundingRect(before.mid(from, to - from))
                           .united(metrics.tightBoundingRect(text.mid(from, to - from)))
                           .translated(start);
    const qreal reach = metrics.height() / 32 + 2;
    const QRect area(QPoint(static_cast<int>(std::floor(ink.left() - reach)),
                            static_cast<int>(std::floor(ink.top() - reach))),
                     QPoint(static_cast<int>(std::ceil(ink.right() + reach)),
                            static_cast<int>(std::ceil(ink.bottom() + reach))));
    return area & m_field->rect();
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
        case QEvent::Paint:
            if (!m_paintingApart && paintCharactersApart(static_cast<QPaintEvent*>(event)))
                return true;
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
