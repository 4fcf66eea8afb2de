// Each colour well shows the colour the presenter moves to on the running panel while its dialog is still
// open; OK keeps it, Cancel puts the colour back. Driven through the real dialog, read from the panel's
// pixels.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "ColorArchive.h"
#include "ColorWell.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <functional>
#include <memory>

using namespace PreferencesTest;

namespace {

// Where the panel stands while a well's colour is the one drawn.
enum class Zone
{
    Idle,
    Warn,
    Final,
    Overtime
};

using StoredColor = std::function<QColor()>;

} // namespace

Q_DECLARE_METATYPE(StoredColor)

class TestColourPreview : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;
    PreferenceWindowController* m_prefs = nullptr;

    template <typename T>
    T* control(const QString& name) const
    {
        T* widget = m_prefs->prefsWindow()->findChild<T*>(name);
        if (!widget)
            qFatal("no control %s", qPrintable(name));
        return widget;
    }

    QImage panelPixels() const
    {
        return m_delegate->panel()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    QColor panelBackground() const { return panelPixels().pixelColor(4, 4); }

    // Glyph interiors carry the exact text colour.
    int pixelsOf(const QColor& color) const
    {
        const QImage image = panelPixels();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += QColor(image.pixel(x, y)) == color ? 1 : 0;
        }
        return count;
    }

    bool panelShows(const QColor& color, bool isBackground) const
    {
        return isBackground ? panelBackground() == color : pixelsOf(color) >= 20;
    }

    void bringPanelTo(Zone zone)
    {
        m_delegate = testsupport::launchPanel({340, 120});
        QVERIFY(QTest::qWaitForWindowExposed(m_delegate->panel()));
        m_prefs = openPreferencesFromMenu(*m_delegate);
        QVERIFY(m_prefs);
        if (zone == Zone::Idle)
            return;
        click(control<QCheckBox>(QStringLiteral("changeColorsCheckbox")));
        if (zone == Zone::Warn || zone == Zone::Final)
            retype(control<QLineEdit>(QStringLiteral("warnAtField")), QStringLiteral("0:20:00"));
        if (zone == Zone::Final)
            retype(control<QLineEdit>(QStringLiteral("finalAtField")), QStringLiteral("0:20:00"));
        if (zone == Zone::Overtime)
            click(control<QCheckBox>(QStringLiteral("overtimeColorsCheckbox")));
        testsupport::typeAndReturn(*m_delegate, zone == Zone::Overtime ? QStringLiteral("-0:0:30")
                                                                       : QStringLiteral("0:10:0"));
        QVERIFY(QTest::qWaitFor([&] { return !m_delegate->isPaused(); }, 5000));
    }

    // The dialog's own "HTML" field, typed into as a presenter types a colour's code.
    static QLineEdit* htmlField(QColorDialog* dialog)
    {
        for (QLineEdit* field : dialog->findChildren<QLineEdit*>()) {
            if (!qobject_cast<QSpinBox*>(field->parentWidget()) && field->text().startsWith(QLatin1Char('#')))
                return field;
        }
        return nullptr;
    }

    static void press(QColorDialog* dialog, QDialogButtonBox::StandardButton which)
    {
        auto* buttons = dialog->findChild<QDialogButtonBox*>();
        QVERIFY(buttons && buttons->button(which));
        QTest::mouseClick(buttons->button(which), Qt::LeftButton);
    }

private slots:
    void init() { StoredSettings::forgetAll(); }

    void cleanup()
    {
        m_delegate.reset();
        StoredSettings::forgetAll();
    }

    void eachWellShowsItsColourBeforeOkAndCancelPutsItBack_data()
    {
        QTest::addColumn<QString>("well");
        QTest::addColumn<int>("zone");
        QTest::addColumn<bool>("isBackground");
        QTest::addColumn<StoredColor>("stored");
        const StoredColor text = [] {
            return unarchiveObjectWithData(PreferenceController::preferenceTextColor());
        };
        const StoredColor background = [] {
            return unarchiveObjectWithData(PreferenceController::preferenceBgColor());
        };
        QTest::newRow("text") << "textColorWell" << int(Zone::Idle) << false << text;
        QTest::newRow("background") << "bgColorWell" << int(Zone::Idle) << true << background;
        QTest::newRow("warn text") << "warnTextColorWell" << int(Zone::Warn) << false
                                   << StoredColor(&PreferenceController::preferenceWarnTextColor);
        QTest::newRow("warn background") << "warnBgColorWell" << int(Zone::Warn) << true
                                         << StoredColor(&PreferenceController::preferenceWarnBgColor);
        QTest::newRow("final text") << "finalTextColorWell" << int(Zone::Final) << false
                                    << StoredColor(&PreferenceController::preferenceFinalTextColor);
        QTest::newRow("final background") << "finalBgColorWell" << int(Zone::Final) << true
                                          << StoredColor(&PreferenceController::preferenceFinalBgColor);
        QTest::newRow("overtime text") << "overtimeTextColorWell" << int(Zone::Overtime) << false
                                       << StoredColor(&PreferenceController::preferenceOvertimeTextColor);
        QTest::newRow("overtime background") << "overtimeBgColorWell" << int(Zone::Overtime) << true
                                             << StoredColor(&PreferenceController::preferenceOvertimeBgColor);
    }

    void eachWellShowsItsColourBeforeOkAndCancelPutsItBack()
    {
        QFETCH(QString, well);
        QFETCH(int, zone);
        QFETCH(bool, isBackground);
        QFETCH(StoredColor, stored);
        bringPanelTo(Zone(zone));
        if (QTest::currentTestFailed())
            return;
        auto* colorWell = control<ColorWell>(well);
        const QColor before = colorWell->color();
        QVERIFY(panelShows(before, isBackground));
        const QColor first(0x12, 0x7a, 0x3c);
        const QColor second(0x3a, 0x2e, 0xd0);
        QVERIFY(!panelShows(first, isBackground));

        // Cancel: the panel showed the colour while the dialog was open, and shows the old one again.
        QTest::mouseClick(colorWell, Qt::LeftButton);
        QColorDialog* dialog = colorWell->colorDialog();
        QVERIFY(dialog && dialog->isVisible());
        QLineEdit* html = htmlField(dialog);
        QVERIFY(html);
        html->selectAll();
        QTest::keyClicks(html, first.name());
        QVERIFY(dialog->isVisible());
        QVERIFY2(panelShows(first, isBackground), qPrintable(panelBackground().name()));
        QCOMPARE(stored(), first);
        press(dialog, QDialogButtonBox::Cancel);
        QVERIFY(!colorWell->colorDialog());
        QVERIFY(panelShows(before, isBackground));
        QVERIFY(!panelShows(first, isBackground));
        QCOMPARE(stored(), before);
        QCOMPARE(colorWell->color(), before);

        // OK: each colour moved to is shown at once, and the last one is kept.
        QTest::mouseClick(colorWell, Qt::LeftButton);
        dialog = colorWell->colorDialog();
        QVERIFY(dialog && dialog->isVisible());
        html = htmlField(dialog);
        QVERIFY(html);
        html->selectAll();
        QTest::keyClicks(html, first.name());
        QVERIFY(panelShows(first, isBackground));
        html->selectAll();
        QTest::keyClicks(html, second.name());
        QVERIFY(panelShows(second, isBackground));
        QVERIFY(!panelShows(first, isBackground));
        QCOMPARE(stored(), second);
        press(dialog, QDialogButtonBox::Ok);
        QVERIFY(panelShows(second, isBackground));
        QCOMPARE(stored(), second);
        QCOMPARE(colorWell->color(), second);
    }

    void settingAWellInCodeSendsNothing()
    {
        ColorWell well;
        int sent = 0;
        connect(&well, &ColorWell::colorChosen, this, [&] { ++sent; });
        well.setColor(QColor(0x20, 0x40, 0x60));
        QCOMPARE(well.color(), QColor(0x20, 0x40, 0x60));
        QCOMPARE(sent, 0);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestColourPreview)
#include "tst_colourpreview.moc"
