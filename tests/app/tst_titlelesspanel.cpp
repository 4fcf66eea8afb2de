#include "TitlelessPanel.h"

#include "TestMain.h"

#include <QImage>
#include <QTest>

class TestTitlelessPanel : public QObject
{
    Q_OBJECT

private:
    static QImage shownPanel(TitlelessPanel& panel, const QColor& background)
    {
        panel.resize(200, 80);
        panel.setBackgroundColor(background);
        panel.show();
        if (!QTest::qWaitForWindowExposed(&panel))
            return {};
        return panel.grab().toImage();
    }

private slots:
    void theEdgeStandsOutFromAnyBackground_data()
    {
        QTest::addColumn<QColor>("background");
        QTest::newRow("white") << QColor(Qt::white);
        QTest::newRow("black") << QColor(Qt::black);
        QTest::newRow("mid grey") << QColor(128, 128, 128);
        QTest::newRow("yellow") << QColor(255, 255, 0);
        QTest::newRow("dark blue") << QColor(0, 0, 90);
    }

    void theEdgeStandsOutFromAnyBackground()
    {
        QFETCH(QColor, background);
        const QColor edge = TitlelessPanel::edgeColorFor(background);
        QVERIFY2(qAbs(edge.lightnessF() - background.lightnessF()) >= 0.3,
                 qPrintable(QStringLiteral("%1 on %2").arg(edge.name(), background.name())));
    }

    void theEdgeIsAShadeOfTheBackground()
    {
        const QColor blue(0, 0, 90);
        const QColor edge = TitlelessPanel::edgeColorFor(blue);
        QCOMPARE(edge.hslHue(), blue.hslHue());
        QVERIFY(edge.lightness() > blue.lightness());
        QVERIFY(TitlelessPanel::edgeColorFor(Qt::white).lightness() < 255);
    }

    void aPanelWithoutAWindowSystemShadowDrawsItsEdge()
    {
        TitlelessPanel panel;
        panel.setHasShadow(true);
        QVERIFY(panel.drawsOwnEdge());
        const QImage image = shownPanel(panel, Qt::white);
        QVERIFY(!image.isNull());
        const QColor edge = TitlelessPanel::edgeColorFor(Qt::white);
        const int w = image.width() - 1;
        const int h = image.height() - 1;
        for (const QPoint& p :
             {QPoint(0, 0), QPoint(w / 2, 0), QPoint(w, h / 2), QPoint(w / 2, h), QPoint(0, h)})
            QCOMPARE(image.pixelColor(p).rgb(), edge.rgb());
        QCOMPARE(image.pixelColor(w / 2, h / 2), QColor(Qt::white));
        QCOMPARE(image.pixelColor(1, 1), QColor(Qt::white));
    }

    void withTheShadowOffThePanelHasNoEdge()
    {
        TitlelessPanel panel;
        const QImage on = shownPanel(panel, Qt::white);
        QCOMPARE(on.pixelColor(0, 0).rgb(), TitlelessPanel::edgeColorFor(Qt::white).rgb());
        panel.setHasShadow(false);
        QVERIFY(!panel.drawsOwnEdge());
        const QImage image = panel.grab().toImage();
        const int w = image.width() - 1;
        const int h = image.height() - 1;
        for (const QPoint& p :
             {QPoint(0, 0), QPoint(w / 2, 0), QPoint(w, h / 2), QPoint(w / 2, h), QPoint(0, h), QPoint(w, h)})
            QCOMPARE(image.pixelColor(p), QColor(Qt::white));
    }

    void theEdgeFollowsTheBackground()
    {
        TitlelessPanel panel;
        panel.setHasShadow(true);
        shownPanel(panel, Qt::white);
        panel.setBackgroundColor(Qt::black);
        const QImage image = panel.grab().toImage();
        QCOMPARE(image.pixelColor(0, 0).rgb(), TitlelessPanel::edgeColorFor(Qt::black).rgb());
        QCOMPARE(image.pixelColor(image.width() / 2, image.height() / 2), QColor(Qt::black));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestTitlelessPanel)
#include "tst_titlelesspanel.moc"
