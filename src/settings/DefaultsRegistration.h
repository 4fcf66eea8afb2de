#pragma once

#include <QVariantMap>

class Brevlin;

/// The registered defaults, taken from the settings object's built-in values so that a default lives in one
/// place only: the countdown time, both colours (archived), the shadow and sound switches, both sound
/// indices and the ":"-joined sound list. The reminder interval is left out on purpose: while the user has
/// not set one, the settings object's own interval is in effect.
QVariantMap registrationDefaults(const Brevlin& settings);
