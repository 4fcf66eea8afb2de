#pragma once

#include <QRect>
#include <QTimer>
#include <QWidget>

class QLineEdit;

/// Sizes a line edit to its text and font, keeping its top-left corner, as a label would size itself.
void sizeToFit(QLineEdit* field);

/// The time field's caret, drawn in the field's text colour (QPalette::Text). Qt's own caret inverts
/// whatever lies beneath it, so on a coloured panel it never shows in the presenter's text colour; it is
/// hidden in the field and this transparent child, covering the field, draws one instead, repainting only
/// its own few pixels at each blink.
class TimeFieldCaret : public QWidget
{
    Q_OBJECT

public:
    /// Hides the field's own caret and gives it this one; the field owns it. Once per field.
    static TimeFieldCaret* attach(QLineEdit* field);

    /// Whether the caret is drawn now: the field has the focus, is editable, and the blink is on.
    bool isCaretShown() const;
    /// Where the caret is drawn, in the field's coordinates, whether or not it is in its shown phase.
    QRect caretRect() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    explicit TimeFieldCaret(QLineEdit* field);
    bool isActive() const;
    /// Shows the caret at once and starts its blink again, as a caret does after each move.
    void restartBlink();
    void toggleBlink();
    /// Repaints where the caret was last drawn and where it is to be drawn now, and nothing else.
    void repaintCaret();

    QLineEdit* m_field;
    QTimer m_blink;
    bool m_blinkOn = true;
    QRect m_drawnCaret;
};
