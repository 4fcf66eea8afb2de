#pragma once

#include <QWidget>
#include <QtGlobal>

class QToolButton;

/// Two arrow buttons that step a whole number up or down within a range: a spin box without a text of
/// its own, for standing beside a field that shows the number. Setting the value in code sends nothing;
/// each step the user makes sends valueStepped().
class Stepper : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(qint64 value READ value WRITE setValue)
    Q_PROPERTY(qint64 minimum READ minimum WRITE setMinimum)
    Q_PROPERTY(qint64 maximum READ maximum WRITE setMaximum)

public:
    explicit Stepper(QWidget* parent = nullptr);

    qint64 value() const { return m_value; }
    /// Any value is kept, even outside the range; the next step brings it back inside.
    void setValue(qint64 value) { m_value = value; }
    qint64 minimum() const { return m_minimum; }
    void setMinimum(qint64 minimum) { m_minimum = minimum; }
    qint64 maximum() const { return m_maximum; }
    void setMaximum(qint64 maximum) { m_maximum = maximum; }

    QToolButton* upButton() const { return m_up; }
    QToolButton* downButton() const { return m_down; }

    void stepUp();
    void stepDown();

signals:
    void valueStepped(qint64 value);

private:
    qint64 m_value = 0;
    qint64 m_minimum = 0;
    qint64 m_maximum = 99;
    QToolButton* m_up;
    QToolButton* m_down;
};
