#pragma once

#include <QString>

#include <functional>

/// The application-modal alerts of the sound library. Every alert goes through here, so tests can see
/// each one instead of being blocked by it.
namespace SoundAlerts {

/// Shows an application-modal alert with the message, the informative text and the single button "Ok",
/// and returns once it is dismissed.
void runModalAlert(const QString& messageText, const QString& informativeText);

/// Replaces what runModalAlert() does; an empty function restores the real alert.
void setPresenter(std::function<void(const QString& messageText, const QString& informativeText)> presenter);

} // namespace SoundAlerts
