#pragma once

#include <QColor>
#include <QColorDialog>
#include <QPointer>
#include <QPushButton>

/// A button that shows a colour and opens a colour dialog to pick another. Setting the colour in code sends
/// nothing. While the dialog is open, each colour the user moves to sets the well and sends colorChosen(), so
/// the change can be seen at once; OK keeps the colour last sent, Cancel puts back the colour the well had
/// when the dialog opened and sends colorChosen() for it.
class ColorWell : public QPushButton
{
    Q_OBJECT
    Q_PROPERTY(QColor color READ color WRITE setColor)

public:
    explicit ColorWell(QWidget* parent = nullptr);

    QColor color() const { return m_color; }
    /// An invalid colour leaves the well as it is: there is no "no colour" to show.
    void setColor(const QColor& color);

    /// The open colour dialog, or null while none is open.
    QColorDialog* colorDialog() const { return m_dialog; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void colorChosen();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openColorDialog();

    QColor m_color{Qt::black};
    QPointer<QColorDialog> m_dialog;
    // The well's colour when its dialog opened: what Cancel puts back.
    QColor m_colorBeforeDialog;
};
