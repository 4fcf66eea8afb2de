// platform_probe: makes one call of the window-system layer in a process of its own, so that a test
// sees everything the process prints and whether it survives.
//
//   platform_probe [--app gui|core|none] [--report-x-errors] activate | float <window id> |
//                  shadow <window id> on|off
//
// --app says what application object exists during the call: a QGuiApplication on the platform that
// QT_QPA_PLATFORM names (the default), a bare QCoreApplication, or none at all. With a QGuiApplication
// the probe lets Qt's event loop run for a moment after the call, so that Qt has received every X error
// the call caused before the process ends. Qt logs those only at debug level; --report-x-errors prints
// them too. Exit status 0 after the call, 2 on a wrong argument.

#include "Platform.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLoggingCategory>

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

int usage()
{
    std::fprintf(stderr, "usage: platform_probe [--app gui|core|none] [--report-x-errors] activate | "
                         "float <window id> | shadow <window id> on|off\n");
    return 2;
}

QtMessageHandler defaultHandler = nullptr;

void reportXErrors(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type != QtDebugMsg || message.contains(QLatin1String("XCB error")))
        defaultHandler(type, context, message);
}

platform::NativeWindow parseWindow(const char* text)
{
    return static_cast<platform::NativeWindow>(std::strtoull(text, nullptr, 0));
}

/// Waits until the X server has handled every request sent so far and Qt has read what came back.
void settle(QGuiApplication& app)
{
    if (auto* x11 = app.nativeInterface<QNativeInterface::QX11Application>()) {
        if (xcb_connection_t* c = x11->connection())
            std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    }
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 200)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

} // namespace

int main(int argc, char** argv)
{
    std::string appKind = "gui";
    int first = 1;
    for (; first < argc && std::strncmp(argv[first], "--", 2) == 0; ++first) {
        if (std::strcmp(argv[first], "--app") == 0 && first + 1 < argc) {
            appKind = argv[++first];
        } else if (std::strcmp(argv[first], "--report-x-errors") == 0) {
            QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.xcb.debug=true"));
            defaultHandler = qInstallMessageHandler(reportXErrors);
        } else {
            return usage();
        }
    }
    if (first >= argc)
        return usage();
    const std::string command = argv[first];
    const int rest = argc - first - 1;

    std::unique_ptr<QCoreApplication> app;
    if (appKind == "gui")
        app = std::make_unique<QGuiApplication>(argc, argv);
    else if (appKind == "core")
        app = std::make_unique<QCoreApplication>(argc, argv);
    else if (appKind != "none")
        return usage();

    if (command == "activate" && rest == 0)
        platform::activatePowerPoint();
    else if (command == "float" && rest == 1)
        platform::floatAboveEverything(parseWindow(argv[first + 1]));
    else if (command == "shadow" && rest == 2)
        platform::setWindowShadow(parseWindow(argv[first + 1]), std::strcmp(argv[first + 2], "on") == 0);
    else
        return usage();

    if (auto* gui = qobject_cast<QGuiApplication*>(app.get()))
        settle(*gui);
    return 0;
}
