// The timer's windows over a focused full-screen slide show made by another program, on a real X server
// with a window manager: after the presenter clicks on the show, the preferences window and its dialogs
// are still seen (read from the root window's pixels, whoever drew them) and take typing; and the drop
// shadow switch changes the panel's edge on the screen.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "ColorWell.h"
#include "DesktopDriver.h"
#include "DirectoryLocations.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "SoundDialogs.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QApplication>
#include <QColorDialog>
#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace desktop;
using namespace PreferencesTest;

namespace {

QString soundFolder()
{
    return QDir(QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation).first())
        .filePath(DirectoryLocations::executableName());
}

// Whether the screen shows the window as it draws itself: nearly every pixel of it the same.
bool showsTheWindow(QWidget* window)
{
    return window && window->isVisible() &&
           screenShows(window->grab().toImage(), QRect(window->mapToGlobal(QPoint(0, 0)), window->size()));
}

// With BREVLIN_SHOTS_DIR set, what the screen shows is kept there under that name, to be looked at.
void saveScreen(const QString& name)
{
    const QString folder = qEnvironmentVariable("BREVLIN_SHOTS_DIR");
    if (!folder.isEmpty())
        screenPixels(QGuiApplication::primaryScreen()->geometry()).save(QDir(folder).filePath(name));
}

void clickAtPoint(QPoint point)
{
    xdotool({QStringLiteral("mousemove"), QString::number(point.x()), QString::number(point.y()),
             QStringLiteral("click"), QStringLiteral("1")});
}

} // namespace

class TestInSightOverShow : public QObject
{
    Q_OBJECT

private:
    QProcess m_show;
    quint64 m_slides = 0;
    std::unique_ptr<AppDelegate> m_delegate;

    // A point of the show that none of this process's windows covers, with room for a window frame.
    QPoint pointOnTheShowOnly() const
    {
        const QRect screen = geometryOf(m_slides);
        for (int fy = 9; fy >= 1; --fy) {
            for (int fx = 9; fx >= 1; --fx) {
                const QPoint point(screen.x() + screen.width() * fx / 10,
                                   screen.y() + screen.height() * fy / 10);
                bool covered = false;
                for (QWidget* window : QApplication::topLevelWidgets()) {
                    if (window->isVisible() &&
                        window->frameGeometry().adjusted(-40, -40, 40, 40).contains(point))
                        covered = true;
                }
                if (!covered)
                    return point;
            }
        }
        return screen.bottomRight() - QPoint(2, 2);
    }

    // The presenter goes back to the slides with a click on them.
    bool clickOnTheShow()
    {
        clickAtPoint(pointOnTheShowOnly());
        return QTest::qWaitFor([this] { return keyboardWindow() == m_slides; }, 5000);
    }

    AppDelegate& launchAndStart()
    {
        m_delegate = testsupport::launchPanel({340, 120});
        if (!QTest::qWaitForWindowExposed(m_delegate->panel()))
            qWarning("panel not shown");
        testsupport::typeAndReturn(*m_delegate, QStringLiteral("0:10:0"));
        return *m_delegate;
    }

    // A click on the running time, where the screen shows it.
    bool clickOnTheTimePauses()
    {
        QLineEdit* time = m_delegate->input();
        clickAtPoint(time->mapToGlobal(time->rect().center()));
        return QTest::qWaitFor([this] { return m_delegate->isPaused(); }, 5000);
    }

private slots:
    void init()
    {
        StoredSettings::forgetAll();
        m_slides = startFocusedFullScreenShow(m_show, QStringLiteral(FAKE_SLIDESHOW));
        QVERIFY(m_slides != 0);
    }

    void cleanup()
    {
        m_delegate.reset();
        endShow(m_show);
        StoredSettings::forgetAll();
        QDir(soundFolder()).removeRecursively();
    }

    void thePreferencesWindowStaysInSightAndTakesTyping()
    {
        AppDelegate& d = launchAndStart();
        PreferenceWindowController* prefs = openPreferencesFromMenu(d);
        QVERIFY(prefs);
        QWidget* window = prefs->prefsWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(showsTheWindow(window));

        QVERIFY(clickOnTheShow());
        QTest::qWait(300);
        QTRY_VERIFY(showsTheWindow(window));
        saveScreen(QStringLiteral("preferences-over-show.png"));

        // A click into a field gives it the keyboard; what is typed lands there and is stored.
        auto* warnAt = window->findChild<QLineEdit*>(QStringLiteral("warnAtField"));
        QVERIFY(warnAt);
        clickAtPoint(warnAt->mapToGlobal(warnAt->rect().center()));
        QTRY_VERIFY(warnAt->hasFocus() && window->isActiveWindow());
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
        xdotool({QStringLiteral("type"), QStringLiteral("0:07:00")});
        QTRY_COMPARE(warnAt->text(), QStringLiteral("0:07:00"));
        QTRY_COMPARE(PreferenceController::preferenceWarnAt(), QStringLiteral("0:07:00"));

        // Its colour dialog, opened with a click, is in sight over the show too, also after a click on it.
        auto* well = window->findChild<ColorWell*>(QStringLiteral("bgColorWell"));
        QVERIFY(well);
        clickAtPoint(well->mapToGlobal(well->rect().center()));
        QTRY_VERIFY(well->colorDialog() && well->colorDialog()->isVisible());
        QColorDialog* dialog = well->colorDialog();
        QTRY_VERIFY(showsTheWindow(dialog));
        QVERIFY(clickOnTheShow());
        QTest::qWait(300);
        QTRY_VERIFY(showsTheWindow(dialog));
        saveScreen(QStringLiteral("colour-dialog-over-show.png"));
        QTRY_VERIFY(showsTheWindow(window) || window->frameGeometry().intersects(dialog->frameGeometry()));
        dialog->reject();
        QTRY_VERIFY(!well->colorDialog());

        // And so is the add button's file dialog.
        QFileDialog* panel = openAddSoundPanel(*prefs);
        QVERIFY(panel);
        QTRY_VERIFY(showsTheWindow(panel));
        QVERIFY(clickOnTheShow());
        QTest::qWait(300);
        QTRY_VERIFY(showsTheWindow(panel));
        saveScreen(QStringLiteral("file-dialog-over-show.png"));
        QVERIFY(cancelPanel(panel));
        QVERIFY(!d.isPaused());
        QVERIFY(clickOnTheTimePauses());
    }

    void theDropShadowSwitchSwitchesThePanelsEdgeOnScreen()
    {
        AppDelegate& d = launchAndStart();
        PreferenceWindowController* prefs = openPreferencesFromMenu(d);
        QVERIFY(prefs);
        QVERIFY(QTest::qWaitForWindowExposed(prefs->prefsWindow()));
        QVERIFY(clickOnTheShow());
        const QRect panel = d.panel()->geometry();
        const QColor background = d.panel()->backgroundColor();
        const QColor edge = TitlelessPanel::edgeColorFor(background);
        // The middle of each side, as the screen shows it.
        const auto sides = [&] {
            const QImage seen = screenPixels(panel).convertToFormat(QImage::Format_RGB32);
            const int w = seen.width() - 1, h = seen.height() - 1;
            return QList<QRgb>{seen.pixel(w / 2, 0), seen.pixel(w, h / 2), seen.pixel(w / 2, h),
                               seen.pixel(0, h / 2)};
        };
        const QList<QRgb> withEdge(4, edge.rgb());
        const QList<QRgb> withoutEdge(4, background.rgb());
        QVERIFY(prefs->dropShadowCheckbox()->isChecked());
        QTRY_COMPARE(sides(), withEdge);
        saveScreen(QStringLiteral("panel-shadow-on.png"));

        click(prefs->dropShadowCheckbox());
        QVERIFY(!PreferenceController::preferenceDropShadow());
        QTRY_COMPARE(sides(), withoutEdge);
        saveScreen(QStringLiteral("panel-shadow-off.png"));

        click(prefs->dropShadowCheckbox());
        QTRY_COMPARE(sides(), withEdge);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestInSightOverShow)
#include "tst_insightovershow.moc"
