#pragma once

// Answering the sound library's dialogs as a user would: the add button's file dialog, the sheets of the
// remove buttons and the application-modal copy alert, each found among the application's windows.

#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTextDocument>
#include <QTimer>

#include <functional>

namespace PreferencesTest {

/// The visible file dialogs of the add button, oldest first.
inline QList<QFileDialog*> addSoundPanels()
{
    QList<QFileDialog*> panels;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* panel = qobject_cast<QFileDialog*>(window); panel && panel->isVisible())
            panels << panel;
    }
    return panels;
}

/// Clicks the add button and returns the file dialog it opened; null when none opened.
inline QFileDialog* openAddSoundPanel(PreferenceWindowController& c)
{
    const QList<QFileDialog*> before = addSoundPanels();
    click(c.addSoundButton());
    QFileDialog* opened = nullptr;
    // The dialog found, or null, is the answer.
    static_cast<void>(QTest::qWaitFor(
        [&] {
            for (QFileDialog* panel : addSoundPanels()) {
                if (!before.contains(panel))
                    opened = panel;
            }
            return opened != nullptr;
        },
        3000));
    return opened;
}

/// Chooses the file in the dialog and presses its Open button.
inline bool chooseFile(QFileDialog* panel, const QString& path)
{
    auto* buttons = panel ? panel->findChild<QDialogButtonBox*>() : nullptr;
    QPushButton* open = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (!open)
        return false;
    const QPointer<QFileDialog> guard(panel);
    panel->selectFile(path);
    if (!QTest::qWaitFor([open] { return open->isEnabled(); }, 3000))
        return false;
    QTest::mouseClick(open, Qt::LeftButton);
    return QTest::qWaitFor([&] { return !guard || !guard->isVisible(); }, 3000);
}

/// Presses the dialog's Cancel.
inline bool cancelPanel(QFileDialog* panel)
{
    auto* buttons = panel ? panel->findChild<QDialogButtonBox*>() : nullptr;
    QPushButton* cancel = buttons ? buttons->button(QDialogButtonBox::Cancel) : nullptr;
    if (!cancel)
        return false;
    QTest::mouseClick(cancel, Qt::LeftButton);
    return !panel->isVisible();
}

/// The visible message box whose text is the given one; null when there is none.
inline QMessageBox* visibleAlert(const QString& text = {})
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* box = qobject_cast<QMessageBox*>(window);
        if (box && box->isVisible() && (text.isNull() || box->text() == text))
            return box;
    }
    return nullptr;
}

/// The button of the message box titled exactly so (mnemonic marks ignored).
inline QAbstractButton* alertButton(QMessageBox* box, const QString& title)
{
    for (QAbstractButton* button : box->buttons()) {
        if (button->text().remove(QLatin1Char('&')) == title)
            return button;
    }
    return nullptr;
}

/// What an alert looked like when it was answered.
struct SeenAlert
{
    QString text;
    QString informativeText;
    QStringList buttons;
    Qt::WindowModality modality = Qt::NonModal;
    bool staysOnTop = false;
    QWidget* parent = nullptr;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    // Every label of the box that would read its text as markup (links, images, styles).
    QStringList richLabels;
};

inline SeenAlert describe(QMessageBox* box)
{
    SeenAlert seen{box->text(),
                   box->informativeText(),
                   {},
                   box->windowModality(),
                   box->windowFlags().testFlag(Qt::WindowStaysOnTopHint),
                   box->parentWidget(),
                   box->icon(),
                   {}};
    for (QAbstractButton* button : box->buttons())
        seen.buttons << button->text().remove(QLatin1Char('&'));
    for (const QLabel* label : box->findChildren<QLabel*>()) {
        const Qt::TextFormat format = label->textFormat();
        if (format == Qt::RichText || (format == Qt::AutoText && Qt::mightBeRichText(label->text())))
            seen.richLabels << label->text();
    }
    return seen;
}

/// Answers every message box that appears while it lives by clicking the button of that title, from
/// within whatever event loop shows it (an application-modal alert blocks its caller), and keeps what
/// each one looked like.
class AlertAnswerer
{
public:
    explicit AlertAnswerer(QString button)
        : m_button(std::move(button))
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            QMessageBox* box = visibleAlert();
            if (!box || m_answered.contains(box))
                return;
            QAbstractButton* button = alertButton(box, m_button);
            if (!button)
                return;
            m_answered << box;
            seen.push_back(describe(box));
            QTest::mouseClick(button, Qt::LeftButton);
        });
        m_timer.start(20);
    }

    std::vector<SeenAlert> seen;

private:
    QString m_button;
    QTimer m_timer;
    QList<QPointer<QMessageBox>> m_answered;
};

/// Selects the entry as a user does: the pop-up opened and the entry activated.
inline void choose(QComboBox* popUp, int index)
{
    popUp->setFocus();
    // Home, then down index times; each key activates the entry it lands on, as a closed pop-up does.
    QTest::keyClick(popUp, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(popUp, Qt::Key_Down);
}

inline bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace PreferencesTest
