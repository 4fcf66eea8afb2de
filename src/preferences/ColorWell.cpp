#include "ColorWell.h"

#include "Platform.h"

#include <QColorDialog>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

ColorWell::ColorWell(QWidget* parent)
    : QPushButton(parent)
{
    connect(this, &QPushButton::clicked, this, &ColorWell::openColorDialog);
    setColor(m_color);
}

void ColorWell::setColor(const QColor& color)
{
    if (!color.isValid())
        return;
    m_color = color;
    // The swatch says nothing to a screen reader; the colour's name does.
    setAccessibleDescription(color.name());
    setToolTip(color.name());
    update();
}

QSize ColorWell::sizeHint() const
{
    const int line = fontMetrics().height();
    return {line * 3, line + line / 2 + 6};
}

QSize ColorWell::minimumSizeHint() const
{
    return sizeHint();
}

void ColorWell::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    const int inset = qMax(2, fontMetrics().height() / 6);
    const QRect swatch = contents.adjusted(inset, inset, -inset, -inset);
    QPainter painter(this);
    painter.setPen(
        QPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText), 1));
    painter.setBrush(m_color);
    painter.drawRect(swatch.adjusted(0, 0, -1, -1));
}

void ColorWell::openColorDialog()
{
    if (m_dialog && m_dialog->isVisible()) {
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    auto* dialog = new QColorDialog(m_color, this);
    // Qt's own dialog on every system: a native one could not be kept above a full-screen slide show with
    // the preferences window.
    dialog->setOption(QColorDialog::DontUseNativeDialog);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(accessibleName().isEmpty() ? tr("Colour") : accessibleName());
    m_colorBeforeDialog = m_color;
    // Shown the moment the presenter moves to it, so the panel can be judged before choosing.
    connect(dialog, &QColorDialog::currentColorChanged, this, [this](const QColor& color) {
        if (!color.isValid() || color == m_color)
            return;
        setColor(color);
        emit colorChosen();
    });
    // OK: the colour is normally the one already shown and sent; only one that differs is sent again.
    connect(dialog, &QColorDialog::colorSelected, this, [this](const QColor& color) {
        if (!color.isValid() || color == m_color)
            return;
        setColor(color);
        emit colorChosen();
    });
    connect(dialog, &QDialog::rejected, this, [this] {
        if (m_color == m_colorBeforeDialog)
            return;
        setColor(m_colorBeforeDialog);
        emit colorChosen();
    });
    // Closed is gone, even before the deferred deletion: the next click opens a fresh dialog.
    connect(dialog, &QDialog::finished, this, [this] { m_dialog = nullptr; });
    m_dialog = dialog;
    dialog->show();
    platform::floatAboveEverything(dialog->winId());
}
