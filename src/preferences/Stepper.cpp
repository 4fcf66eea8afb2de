#include "Stepper.h"

#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {
QToolButton* arrowButton(Qt::ArrowType arrow, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setArrowType(arrow);
    button->setAutoRepeat(true);
    // As tall as the row allows, half each: the pair stands beside a one-line field.
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);
    return button;
}
} // namespace

Stepper::Stepper(QWidget* parent)
    : QWidget(parent)
    , m_up(arrowButton(Qt::UpArrow, this))
    , m_down(arrowButton(Qt::DownArrow, this))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_up);
    layout->addWidget(m_down);
    connect(m_up, &QToolButton::clicked, this, &Stepper::stepUp);
    connect(m_down, &QToolButton::clicked, this, &Stepper::stepDown);
}

void Stepper::stepUp()
{
    if (m_value >= m_maximum)
        return;
    m_value = std::max(m_value + 1, m_minimum);
    emit valueStepped(m_value);
}

void Stepper::stepDown()
{
    if (m_value <= m_minimum)
        return;
    m_value = std::min(m_value - 1, m_maximum);
    emit valueStepped(m_value);
}
