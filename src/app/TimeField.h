#pragma once

#include <QList>
#include <QRegion>
#include <QTimer>
#include <QWidget>

class QLineEdit;

/// Sizes a line edit to its text and font, keeping its top-left corner, as a label would size itself.
void sizeToFit(QLineEdit* field);

/// The time field's caret, drawn in the field's text colour (QPalette::Text). Qt's own caret inverts
/// whatever lies beneath it, so on a coloured panel it never shows in the presenter's text colour; it is
/// hidden in the field and this transparent child, covering the field, draws one instead.
///
/// It also keeps a tick cheap: a new text of the same length repaints only the characters that changed
/// (a line edit repaints all of itself), and the caret repaints only its own few pixels, so a tick sends
/// the X server the changed digits rather than the whole field, at any panel size.
class TimeFieldCaret : public QWidget
{
    Q_OBJECT

public:
    /// Hides the field's own caret and gives it this one, and makes a change of the field's text repaint
    /// only what changed; the field owns it. Once per field.
    static TimeFieldCaret* attach(QLineEdit* field);

    /// Whether the caret is drawn now: the field has the focus, is editable, and the blink is on.
    bool isCaretShown() const;
    /// Where the caret is drawn, in the field's coordinates, whether or not it is in its shown phase.
    QRect caretRect() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private slots:
    void displayTextChanged(const QString& text);

private:
    explicit TimeFieldCaret(QLineEdit* field);
    bool isActive() const;
    /// Shows the caret at once and starts its blink again, as a caret does after each move.
    void restartBlink();
    void toggleBlink();
    /// Repaints where the caret was last drawn and where it is to be drawn now, and nothing else.
    void repaintCaret();
    /// Takes over the field's repaint on a text change: the area of the characters that changed.
    void repaintOnlyChangedText();
    /// Where the characters from..to (exclusive) of the shown text, and those they replace, are inked;
    /// empty when that cannot be told.
    QRect textArea(const QString& before, const QString& text, qsizetype from, qsizetype to) const;
    /// Paints a repaint of several changed characters one character at a time; false when the repaint
    /// is not that (the line edit then paints it as usual).
    bool paintCharactersApart(const QPaintEvent* event);

    QLineEdit* m_field;
    QTimer m_blink;
    bool m_blinkOn = true;
    QRect m_drawnCaret;
    QString m_shownText;
    QList<QRegion> m_characterAreas;
    bool m_paintingApart = false;
};
