#include "SoundAlerts.h"

#include "Platform.h"

#include <QMessageBox>
#include <QPushButton>

namespace SoundAlerts {

namespace {

std::function<void(const QString&, const QString&)>& presenter()
{
    static std::function<void(const QString&, const QString&)> function;
    return function;
}

} // namespace

QMessageBox* showFloatingAlert(const QString& messageText, const QString& informativeText, QWidget* modalTo)
{
    auto* alert = new QMessageBox(modalTo);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    // Never application-modal: an alert that ends up behind a slide show must not leave the panel unable
    // to take a click.
    alert->setWindowModality(modalTo ? Qt::WindowModal : Qt::NonModal);
    Qt::WindowFlags flags = alert->windowFlags() | Qt::WindowStaysOnTopHint;
    if (platform::panelBypassesWindowManager()) {
        // Where no window manager keeps a window above a focused full-screen one, the alert stays out of
        // its hands like the panel, and draws its own edge in place of the frame.
        flags |= Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint;
        alert->setStyleSheet(QStringLiteral("QMessageBox { border: 1px solid palette(shadow); }"));
    }
    if (!modalTo)
        flags |= Qt::WindowDoesNotAcceptFocus;
    alert->setWindowFlags(flags);
    // Plain text: an alert may carry a sound's name, which anyone can write into the settings file.
    alert->setTextFormat(Qt::PlainText);
    alert->setText(messageText);
    alert->setInformativeText(informativeText);
    // Not a standard button: Qt would title it "OK".
    alert->setDefaultButton(alert->addButton(QStringLiteral("Ok"), QMessageBox::AcceptRole));
    alert->show();
    alert->raise();
    // After the show: some window systems forget the level and desktops of a window that was hidden.
    platform::floatAboveEverything(alert->winId());
    if (modalTo)
        alert->activateWindow();
    return alert;
}

void showAlert(const QString& messageText, const QString& informativeText)
{
    if (presenter()) {
        presenter()(messageText, informativeText);
        return;
    }
    showFloatingAlert(messageText, informativeText);
}

void setPresenter(std::function<void(const QString&, const QString&)> function)
{
    presenter() = std::move(function);
}

} // namespace SoundAlerts
