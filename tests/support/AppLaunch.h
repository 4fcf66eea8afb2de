#pragma once

// The panel launched as main() launches it, for the tests that drive the whole application in-process.
// Only for test executables that link brevlin_app.

#include "AppDelegate.h"
#include "TitlelessPanel.h"

#include <QLineEdit>
#include <QSize>
#include <QTest>

#include <memory>

namespace testsupport {

/// Builds the delegate (which loads the interface), shows its panel, at `size` where one is given, and
/// runs the launch sequence. What a test then waits for (exposure, activation, the sounds) is its own.
inline std::unique_ptr<AppDelegate> launchPanel(QSize size = {})
{
    auto delegate = std::make_unique<AppDelegate>();
    if (size.isValid())
        delegate->panel()->resize(size);
    delegate->panel()->show();
    delegate->applicationDidFinishLaunching();
    return delegate;
}

/// Waits until both of the delegate's sound handles hold what their files gave (decoded off the main
/// thread), at most ten seconds; whether they did is the answer.
inline bool waitForSounds(const AppDelegate& delegate)
{
    return QTest::qWaitFor([&delegate] { return !delegate.isLoadingSounds(); }, 10000);
}

/// The launch sequence's steps up to and including the sound step (defaults, stored settings, the sound
/// folder filled and both sounds loaded), in a fresh delegate whose panel is never shown.
inline std::unique_ptr<AppDelegate> launchSoundStep()
{
    auto delegate = std::make_unique<AppDelegate>();
    delegate->registerDefaults();
    delegate->readPrefs();
    delegate->copyDefaultSoundAndLoadSelectedSound();
    if (!waitForSounds(*delegate))
        qWarning("the sounds did not load");
    return delegate;
}

/// Types a time into the panel's field over whatever it showed, and presses Return, as a presenter does.
inline void typeAndReturn(AppDelegate& delegate, const QString& text)
{
    QLineEdit* field = delegate.input();
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
}

} // namespace testsupport
