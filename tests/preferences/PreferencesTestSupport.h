#pragma once

// Driving the preferences window as a user would: colours picked in the colour dialog, boxes clicked,
// fields typed into, pop-ups stepped with the keyboard.

#include "ColorWell.h"
#include "NotificationCenter.h"
#include "PreferenceKeys.h"
#include "StoredSettings.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTest>

#include <memory>
#include <vector>

namespace PreferencesTest {

/// Opens the well's dialog with a click, chooses the colour there and presses its OK (or Cancel).
inline bool pickColor(ColorWell* well, const QColor& color, bool accept = true)
{
    QTest::mouseClick(well, Qt::LeftButton);
    QColorDialog* dialog = well->colorDialog();
    if (!dialog || !dialog->isVisible())
        return false;
    dialog->setCurrentColor(color);
    auto* buttons = dialog->findChild<QDialogButtonBox*>();
    if (!buttons)
        return false;
    QPushButton* button = buttons->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
    if (!button)
        return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

/// Clicks where the button reacts: on a check box that is the box itself, which need not lie in the middle
/// of a check box stretched by its layout.
inline void click(QAbstractButton* button)
{
    QPoint point = button->rect().center();
    if (auto* box = qobject_cast<QCheckBox*>(button)) {
        QStyleOptionButton option;
        option.initFrom(box);
        option.text = box->text();
        point = box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, box).center();
    }
    QTest::mouseClick(button, Qt::LeftButton, {}, point);
}

/// Replaces the field's text by typing: everything selected and deleted, then the text keyed in.
inline void retype(QLineEdit* field, const QString& text)
{
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
}

/// Records every post of one name, as the centre delivers it.
class Listener
{
public:
    explicit Listener(const QString& name)
    {
        NotificationCenter::defaultCenter().addObserver(
            this, name, [this](const Notification& n) { received.push_back(n); });
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { NotificationCenter::defaultCenter().removeObserver(this); }

    std::vector<Notification> received;
};

/// Every change notification, in the order the delegate subscribes to them.
inline QStringList allNotificationNames()
{
    return StoredSettings::allNotificationNames();
}

/// One listener for each name.
struct AllListeners
{
    AllListeners()
    {
        for (const QString& name : allNotificationNames())
            listeners.push_back(std::make_unique<Listener>(name));
    }
    size_t total() const
    {
        size_t count = 0;
        for (const auto& listener : listeners)
            count += listener->received.size();
        return count;
    }
    std::vector<std::unique_ptr<Listener>> listeners;
};

} // namespace PreferencesTest
