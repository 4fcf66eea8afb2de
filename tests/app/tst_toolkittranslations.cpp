// Qt's own dialogs in the user's language; Brevlin's own texts unchanged.
#include "TestMain.h"
#include "ToolkitTranslations.h"

#include <QColorDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTest>

namespace {

QStringList buttonTexts(const QWidget& dialog)
{
    QStringList texts;
    for (const QPushButton* button : dialog.findChildren<QPushButton*>())
        texts << button->text().remove(QLatin1Char('&'));
    return texts;
}

} // namespace

class TestToolkitTranslations : public QObject
{
    Q_OBJECT

private slots:
    void theColourDialogSpeaksTheUsersLanguage()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        ToolkitTranslations::install();
        QColorDialog dialog;
        dialog.setOption(QColorDialog::DontUseNativeDialog);
        const QStringList texts = buttonTexts(dialog);
        QVERIFY2(texts.contains(QStringLiteral("Abbrechen")), qPrintable(texts.join(QLatin1Char('|'))));
        // A text of Brevlin's own has no translation and stays as written.
        QCOMPARE(QCoreApplication::translate("AppDelegate", "Preferences…"), QStringLiteral("Preferences…"));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestToolkitTranslations)
#include "tst_toolkittranslations.moc"
