#pragma once

#include <QString>
#include <QWidget>

class QLineEdit;

/// The time of a running countdown, drawn by the panel itself where the time field stands, in the field's
/// font and text colour, while the field (read-only then, and hidden) keeps the same text for everything
/// that reads it. A line edit repaints all of itself whenever its text changes; this repaints only the
/// characters that changed, each on its own, so a tick sends the window system a digit, not the panel.
class TimeDisplay : public QWidget
{
    Q_OBJECT

public:
    /// A sibling of the field, beneath it; hidden until shown in the field's place.
    explicit TimeDisplay(QLineEdit* field);

    QString text() const { return m_text; }
    /// Takes the field's text, font, colour and place. A change of the text alone repaints the characters
    /// that changed; anything else repaints all of it.
    void follow();

    /// Where the text starts and its baseline, in this widget's coordinates: where the field draws it.
    QPointF textOrigin() const;
    /// The area a repaint of the characters from..to (exclusive) covers: their ink, old and new, with the
    /// reach of antialiasing. Empty where the text is laid out in a way this does not follow.
    QRect characterArea(const QString& before, qsizetype from, qsizetype to) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLineEdit* m_field;
    QString m_text;
};
