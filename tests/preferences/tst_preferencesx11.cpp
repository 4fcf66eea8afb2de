// The preferences window on a real X server with a window manager: above ordinary and full-screen windows,
// on every desktop, as the panel is.
#include "PreferenceWindowController.h"

#include "Brevlin.h"
#include "DefaultsRegistration.h"
#include "DirectoryLocations.h"
#include "SinkRecorder.h"
#include "SoundDialogs.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QTemporaryDir>

#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QWidget>

#include <memory>

namespace {

QString xprop(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("xprop"), arguments);
    if (!process.waitForFinished(5000))
        return {};
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

QString windowProperty(const QWidget& window, const QString& property)
{
    return xprop({QStringLiteral("-id"), QString::number(window.winId()), property});
}

// Bottom to top, as the window manager stacks its clients.
QList<quint64> stacking()
{
    QList<quint64> ids;
    const QString out = xprop({QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST_STACKING")});
    static const QRegularExpression hex(QStringLiteral("0x[0-9a-fA-F]+"));
    for (auto it = hex.globalMatch(out.section(QLatin1Char('#'), 1)); it.hasNext();)
        ids << it.next().captured().toULongLong(nullptr, 16);
    return ids;
}

bool isAbove(const QWidget& upper, const QWidget& lower)
{
    const QList<quint64> order = stacking();
    const qsizetype u = order.indexOf(upper.winId()), l = order.indexOf(lower.winId());
    return u >= 0 && l >= 0 && u > l;
}

} // namespace

class TestPreferencesX11 : public QObject
{
    Q_OBJECT

private slots:
    void init() { StoredSettings::forgetAll(); }

    void theWindowIsOnEveryDesktopAndKeptAbove()
    {
        PreferenceWindowController controller;
        controller.showWindow();
        QWidget& window = *controller.prefsWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(windowProperty(window, QStringLiteral("_NET_WM_STATE")).contains("_NET_WM_STATE_ABOVE"));
        QTRY_VERIFY(windowProperty(window, QStringLiteral("_NET_WM_DESKTOP")).contains("4294967295"));
    }

    void itOpensOverAFullScreenSlideShowAndStaysAboveOrdinaryWindows()
    {
        QWidget slideShow;
        slideShow.setWindowTitle(QStringLiteral("slide show"));
        slideShow.showFullScreen();
        QVERIFY(QTest::qWaitForWindowActive(&slideShow));

        PreferenceWindowController controller;
        controller.showWindow();
        QWidget& window = *controller.prefsWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTRY_VERIFY(isAbove(window, slideShow));

        QWidget ordinary;
        ordinary.setWindowTitle(QStringLiteral("ordinary"));
        ordinary.resize(600, 400);
        ordinary.show();
        ordinary.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&ordinary));
        QTest::qWait(100);
        QVERIFY(isAbove(window, ordinary));
    }

    void escapeFromTheKeyboardInAnOpenDropDownClosesOnlyTheDropDown()
    {
        // The sound list the window shows on a fresh installation.
        const Brevlin builtIn;
        UserDefaults::standardUserDefaults().registerDefaults(registrationDefaults(builtIn));
        PreferenceWindowController controller;
        controller.showWindow();
        QWidget& window = *controller.prefsWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QComboBox* popUp = controller.soundFilesDropdownList();
        popUp->showPopup();
        QVERIFY(QTest::qWaitFor([] { return QApplication::activePopupWidget() != nullptr; }));
        QVERIFY(QTest::qWaitForWindowExposed(QApplication::activePopupWidget()));
        // A real key press, through the X server to whatever holds the keyboard.
        QCOMPARE(
            QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Escape")}),
            0);
        QVERIFY(QTest::qWaitFor([] { return !QApplication::activePopupWidget(); }));
        QTest::qWait(300);
        QVERIFY(window.isVisible());
        // The next Escape is the window's.
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(
            QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Escape")}),
            0);
        QTRY_VERIFY(!window.isVisible());
    }

    void theCopyErrorAlertStandsAtThePanelsLevelOnEveryDesktop()
    {
        // A sound of that name is in the folder already, so adding another one fails.
        const QString folder = DirectoryLocations::applicationSupportDirectory();
        QVERIFY(
            PreferencesTest::writeFile(QDir(folder).filePath(QStringLiteral("Tone.wav")), sineWav(440, 0.2)));
        QTemporaryDir elsewhere;
        const QString source = elsewhere.filePath(QStringLiteral("Tone.wav"));
        QVERIFY(PreferencesTest::writeFile(source, sineWav(660, 0.2)));

        PreferenceWindowController controller;
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.prefsWindow()));
        QString state, desktop;
        bool answered = false;
        // The alert blocks the add's completion until answered, so it is looked at from inside its loop.
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, [&] {
            QMessageBox* alert = PreferencesTest::visibleAlert(QStringLiteral("Error"));
            if (!alert || answered)
                return;
            answered = true;
            // What it saw last is checked once the alert is answered; a QVERIFY cannot stop this lambda.
            static_cast<void>(QTest::qWaitFor(
                [&] {
                    state = windowProperty(*alert, QStringLiteral("_NET_WM_STATE"));
                    desktop = windowProperty(*alert, QStringLiteral("_NET_WM_DESKTOP"));
                    return state.contains(QLatin1String("_NET_WM_STATE_ABOVE")) &&
                           desktop.contains(QLatin1String("4294967295"));
                },
                5000));
            QTest::mouseClick(PreferencesTest::alertButton(alert, QStringLiteral("Ok")), Qt::LeftButton);
        });
        look.start(50);
        QVERIFY(PreferencesTest::chooseFile(PreferencesTest::openAddSoundPanel(controller), source));
        QTRY_VERIFY(answered);
        QVERIFY2(state.contains(QLatin1String("_NET_WM_STATE_ABOVE")), qPrintable(state));
        QVERIFY2(desktop.contains(QLatin1String("4294967295")), qPrintable(desktop));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPreferencesX11)
#include "tst_preferencesx11.moc"
