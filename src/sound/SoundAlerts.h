#pragma once

#include <QString>

#include <functional>

class QMessageBox;
class QWidget;

/// The alerts of the sound library. None of them holds up the panel: each is shown and the call returns at
/// once, and none blocks more than the window it belongs to. Every launch alert goes through showAlert(),
/// so tests can see each one.
namespace SoundAlerts {

/// Shows an alert with the message, the informative text and the single button "Ok", above every window
/// (full-screen slide shows included) and on every desktop, and returns at once. With `modalTo`, it blocks
/// that window until it is answered, and takes the keyboard; without, it blocks nothing and leaves the
/// keyboard where it is. It is deleted once answered.
QMessageBox* showFloatingAlert(const QString& messageText, const QString& informativeText,
                               QWidget* modalTo = nullptr);

/// A launch alert: showFloatingAlert() without a window to block, or what setPresenter() put in its place.
void showAlert(const QString& messageText, const QString& informativeText);

/// Replaces what showAlert() does; an empty function restores the real alert.
void setPresenter(std::function<void(const QString& messageText, const QString& informativeText)> presenter);

} // namespace SoundAlerts
