#include "SoundAlerts.h"

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

void runModalAlert(const QString& messageText, const QString& informativeText)
{
    if (presenter()) {
        presenter()(messageText, informativeText);
        return;
    }
    QMessageBox alert;
    alert.setWindowModality(Qt::ApplicationModal);
    // Plain text: an alert may carry a sound's name, which anyone can write into the settings file.
    alert.setTextFormat(Qt::PlainText);
    alert.setText(messageText);
    alert.setInformativeText(informativeText);
    // Not a standard button: Qt would title it "OK".
    alert.addButton(QStringLiteral("Ok"), QMessageBox::AcceptRole);
    alert.exec();
}

void setPresenter(std::function<void(const QString&, const QString&)> function)
{
    presenter() = std::move(function);
}

} // namespace SoundAlerts
