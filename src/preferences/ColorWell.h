#pragma once

#include <QColor>
#include <QColorDialog>
#include <QPointer>
#include <QPushButton>

/// A button that shows a colour and opens a colour dialog to pick another. Setting the colour in code sends
/// nothing; each colour the user picks (the dialog's OK) sets it and sends colorChosen() once.
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
};
