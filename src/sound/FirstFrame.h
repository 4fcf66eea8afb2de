#pragma once

#include <functional>

class QWidget;

/// Runs the call from the event loop once the window has been drawn for the first time, so that work
/// which can wait does not delay what the user sees first. A window that is hidden, or that the platform
/// never draws, gets the call after at most a second.
void callAfterFirstFrame(QWidget* window, std::function<void()> call);
