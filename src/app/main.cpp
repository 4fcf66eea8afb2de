#include "AppDelegate.h"
#include "CommandLine.h"
#include "FirstFrame.h"
#include "PanelPlace.h"
#include "Platform.h"
#include "SingleInstance.h"
#include "TitlelessPanel.h"
#include "ToolkitTranslations.h"

#include <QApplication>
#include <QIcon>
#include <QImageReader>
#include <QPixmap>

int main(int argc, char* argv[])
{
    platform::tuneMemoryAllocator();
    if (const std::optional<int> answered = CommandLine::answerOnTerminal(argc, argv))
        return *answered;
    platform::chooseWindowSystem();
    QApplication app(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Brevlin"));
    ToolkitTranslations::install();
    // The panel is a tool window; quitting is the context menu's job (or a close of the panel).
    QApplication::setQuitOnLastWindowClosed(false);
    // A signal to end (a logout, kill, Ctrl+C in a terminal) quits as the menu does, so pending settings
    // are saved.
    platform::quitOnTerminationRequests();

    // One panel per display: a second launch shows the first one and ends, before it reads or writes any
    // setting.
    if (SingleInstance::askRunningPanel())
        return 0;
    // Listening at once: a launch close behind this one then finds it, even before its panel shows.
    SingleInstance instance;
    instance.listen();

    // A tick on a large panel must not wait for the window system to read the digits.
    platform::sendRepaintsWithoutWaiting();
    // Before the panel can take the keyboard, so that it is known where the presenter was.
    platform::watchActiveWindow();
    AppDelegate delegate;
    // Where the presenter left it last time; the first time, top right of the main screen.
    auto* place = new PanelPlace(delegate.panel());
    place->restore();
    // Shown before the launch sequence, as a loaded interface is, so the launch itself sends no resize
    // and hands no focus away.
    delegate.panel()->show();
    // Set once for the application, so every window (panel, preferences, about, alerts) shows it. After
    // the first frame: its eight pictures are decoded and sent to the window system then, not before the
    // time is seen.
    callAfterFirstFrame(delegate.panel(), [] {
        // Read as PNG by name: QIcon::addFile would probe every image plug-in (loading the JPEG library).
        QIcon icon;
        for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
            QImageReader reader(QStringLiteral(":/icons/brevlin-%1.png").arg(size), "png");
            reader.setAutoDetectImageFormat(false);
            icon.addPixmap(QPixmap::fromImage(reader.read()));
        }
        QApplication::setWindowIcon(icon);
    });
    delegate.applicationDidFinishLaunching();
    QObject::connect(&instance, &SingleInstance::launchedAgain, delegate.panel(), &TitlelessPanel::flashEdge);
    return QApplication::exec();
}
