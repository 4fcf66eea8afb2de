// The about window on the offscreen platform: where it goes, what it shows, its close button, how it floats.
#include "AboutWindowController.h"

#include "ExternalLinks.h"
#include "Platform.h"
#include "Processes.h"
#include "TestMain.h"

#include <QApplication>
#include <QFrame>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <memory>

namespace {

QStringList shownTexts(const QWidget& window)
{
    QStringList texts;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty())
            texts << label->text();
    }
    return texts;
}

QIcon redIcon()
{
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::red);
    return QIcon(pixmap);
}

int redPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            count += c.red() > 200 && c.green() < 60 && c.blue() < 60 ? 1 : 0;
        }
    return count;
}

} // namespace

class TestAboutWindowController : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QApplication::setWindowIcon(QIcon()); }

    void on1440By900A400By200WindowHasItsOriginAt520And350()
    {
        const QPointF origin = AboutWindowController::centredOrigin({1440, 900}, {400, 200});
        QCOMPARE(origin, QPointF(520, 350));
        // On the main screen the bottom-left origin and Qt's top-left corner coincide, as a centred
        // window's must.
        QCOMPARE(AboutWindowController::topLeftFromOrigin(origin, {400, 200}, QRect(0, 0, 1440, 900)),
                 QPoint(520, 350));
    }

    void onlyTheScreensSizeEntersNotItsPlace()
    {
        // A second screen of 1920 x 1080 right of a 1440 x 900 main screen: the window is centred within
        // an area of 1920 x 1080 at the main screen's lower left corner, not on the second screen.
        const QPointF origin = AboutWindowController::centredOrigin({1920, 1080}, {400, 200});
        QCOMPARE(origin, QPointF(760, 440));
        QCOMPARE(AboutWindowController::topLeftFromOrigin(origin, {400, 200}, QRect(0, 0, 1440, 900)),
                 QPoint(760, 260));
        // A main screen away from the global origin carries the flip with it.
        QCOMPARE(AboutWindowController::topLeftFromOrigin(QPointF(520, 350), {400, 200},
                                                          QRect(100, 50, 1440, 900)),
                 QPoint(620, 400));
    }

    void aWindowWithoutAScreenGoesToMinusHalfItsSize()
    {
        const QPointF origin = AboutWindowController::centredOrigin({0, 0}, {400, 200});
        QCOMPARE(origin, QPointF(-200, -100));
        QCOMPARE(AboutWindowController::topLeftFromOrigin(origin, {400, 200}, QRect()), QPoint(-200, -100));
    }

    void theWindowIsCentredOnA1440By900Screen()
    {
        const QScreen* screen = QGuiApplication::primaryScreen();
        if (screen->geometry() != QRect(0, 0, 1440, 900)) {
            // The same test again, in a process whose only screen is 1440 x 900.
            QTemporaryDir dir;
            QVERIFY(dir.isValid());
            QFile config(dir.filePath(QStringLiteral("screens.json")));
            QVERIFY(config.open(QIODevice::WriteOnly));
            config.write(R"({"screens": [{"name": "main", "x": 0, "y": 0, "width": 1440, "height": 900,
                             "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
            config.close();
            QByteArray output;
            const bool passed = testsupport::runThisExecutable(
                {QStringLiteral("-platform"), QStringLiteral("offscreen:configfile=") + config.fileName(),
                 QString::fromLatin1(QTest::currentTestFunction())},
                &output);
            QVERIFY2(passed, output.constData());
            return;
        }
        AboutWindowController controller;
        QFrame& window = *controller.aboutWindow();
        const QSize size = window.size();
        QVERIFY(size.width() > 200 && size.height() > 100);
        // Placed before it is shown, by the same arithmetic as above.
        const QPoint expected = AboutWindowController::topLeftFromOrigin(
            AboutWindowController::centredOrigin({1440, 900}, size), size, screen->geometry());
        QCOMPARE(window.pos(), expected);
        QCOMPARE(window.pos(), QPointF((1440 - size.width()) / 2.0, (900 - size.height()) / 2.0).toPoint());
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.pos(), expected);
    }

    void theWindowShowsNameVersionDescriptionAndLicence()
    {
        AboutWindowController controller;
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.aboutWindow()));
        const QStringList texts = shownTexts(*controller.aboutWindow());
        QCOMPARE(texts.size(), 4);
        QCOMPARE(texts.at(0), QStringLiteral("Brevlin"));
        // The version the build was configured with, not one written into the window.
        QCOMPARE(ExternalLinks::version(), QStringLiteral(BREVLIN_PROJECT_VERSION));
        QCOMPARE(texts.at(1), QStringLiteral("Version %1").arg(QStringLiteral(BREVLIN_PROJECT_VERSION)));
        QVERIFY(texts.at(2).contains(QStringLiteral("countdown timer")));
        QVERIFY(texts.at(3).contains(QStringLiteral("licence")));
        QCOMPARE(controller.closeButton()->text(), QStringLiteral("Close"));
        QCOMPARE(controller.aboutWindow()->windowTitle(), QStringLiteral("About Brevlin"));
    }

    void itsTextIsNotFadedByAStyleThatFadesInactiveWindows()
    {
        // As Adwaita's dark style does: light text, faded to grey in a window that is not active. The
        // about window never takes the keyboard, so it is never active.
        const QPalette before = QApplication::palette();
        QPalette fading = before;
        fading.setColor(QPalette::Window, QColor(53, 53, 53));
        fading.setColor(QPalette::Button, QColor(53, 53, 53));
        for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::ButtonText}) {
            fading.setColor(QPalette::Active, role, QColor(238, 238, 236));
            fading.setColor(QPalette::Inactive, role, QColor(145, 145, 144));
        }
        QApplication::setPalette(fading);
        AboutWindowController controller;
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.aboutWindow()));
        // Where the test's platform lets it become active anyway, another window takes that.
        QWidget slides;
        slides.show();
        slides.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&slides));
        QVERIFY(!controller.aboutWindow()->isActiveWindow());
        const QImage text = controller.versionLabel()->grab().toImage();
        int brightest = 0;
        for (int y = 0; y < text.height(); ++y)
            for (int x = 0; x < text.width(); ++x)
                brightest = std::max(brightest, qGray(text.pixel(x, y)));
        QApplication::setPalette(before);
        // The digits' cores reach the active text colour; faded, nothing would pass 145.
        QVERIFY2(brightest >= 230, qPrintable(QString::number(brightest)));
    }

    void theApplicationsIconIsShown()
    {
        QApplication::setWindowIcon(redIcon());
        AboutWindowController controller;
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.aboutWindow()));
        QVERIFY(controller.iconLabel()->isVisible());
        // Drawn at 64 x 64, in the window itself.
        QVERIFY(redPixels(controller.aboutWindow()->grab().toImage()) >= 64 * 64);
    }

    void withoutAnIconTheWindowClosesUp()
    {
        QApplication::setWindowIcon(redIcon());
        AboutWindowController withIconNow;
        QApplication::setWindowIcon(QIcon());
        AboutWindowController without;
        without.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(without.aboutWindow()));
        QVERIFY(!without.iconLabel()->isVisible());
        QCOMPARE(redPixels(without.aboutWindow()->grab().toImage()), 0);
        // Nothing but the icon is missing, and the window is shorter by its height.
        QCOMPARE(shownTexts(*without.aboutWindow()).size(), 4);
        QVERIFY(without.aboutWindow()->height() <= withIconNow.aboutWindow()->height() - 64);
    }

    void theCloseButtonClosesTheWindowAndKeepsTheController()
    {
        AboutWindowController controller;
        QSignalSpy closed(&controller, &AboutWindowController::windowClosed);
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.aboutWindow()));
        QTest::mouseClick(controller.closeButton(), Qt::LeftButton);
        QVERIFY(!controller.aboutWindow()->isVisible());
        QCOMPARE(closed.size(), 1);
        // Kept, closed, until the controller goes.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(controller.aboutWindow());
    }

    void itFloatsAboveLikeThePanelAndAsksForNoKeyboard()
    {
        AboutWindowController controller;
        const Qt::WindowFlags flags = controller.aboutWindow()->windowFlags();
        QVERIFY(flags & Qt::WindowStaysOnTopHint);
        // Out of the window manager's hands exactly where the panel is.
        QCOMPARE(bool(flags & Qt::X11BypassWindowManagerHint), platform::panelBypassesWindowManager());
        QCOMPARE(bool(flags & Qt::FramelessWindowHint), platform::panelBypassesWindowManager());
        // The offscreen platform activates every window it shows; that the keyboard really stays with the
        // slides is seen on a real X server (tst_aboutx11).
        QVERIFY(flags & Qt::WindowDoesNotAcceptFocus);
        QVERIFY(controller.aboutWindow()->testAttribute(Qt::WA_ShowWithoutActivating));
    }

    void lettingGoKeepsAnOpenWindowUntilItIsClosed()
    {
        QObject keeper;
        auto open = std::make_unique<AboutWindowController>();
        open->showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(open->aboutWindow()));
        const QPointer<AboutWindowController> openOne = open.get();
        AboutWindowController::letGo(std::move(open), &keeper);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(openOne);
        QVERIFY(openOne->aboutWindow()->isVisible());
        QTest::mouseClick(openOne->closeButton(), Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!openOne);

        auto closed = std::make_unique<AboutWindowController>();
        const QPointer<AboutWindowController> closedOne = closed.get();
        AboutWindowController::letGo(std::move(closed), &keeper);
        QVERIFY(!closedOne);
        QVERIFY(keeper.children().isEmpty());
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestAboutWindowController)
#include "tst_aboutwindowcontroller.moc"
