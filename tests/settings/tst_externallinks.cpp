#include "ExternalLinks.h"

#include "TestMain.h"

#include <QTest>
#include <QUrl>
#include <QVector>

class TestExternalLinks : public QObject
{
    Q_OBJECT

private slots:
    void contactPageIsSecureWithItsPath();
    void userGuideIsSecureOnTheContactHost();
    void soundPageIsPlainOnAHostOfItsOwn();
    void versionIsTheProjectVersion();
    void openGoesThroughTheReplacedOpener();
    void replacingTheOpenerReturnsThePreviousOne();
};

void TestExternalLinks::contactPageIsSecureWithItsPath()
{
    const QUrl url = ExternalLinks::contactPage();
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), QStringLiteral("https"));
    QVERIFY(!url.host().isEmpty());
    QCOMPARE(url.path(), QStringLiteral("/contact/"));
}

void TestExternalLinks::userGuideIsSecureOnTheContactHost()
{
    const QUrl url = ExternalLinks::userGuide();
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), QStringLiteral("https"));
    QCOMPARE(url.host(), ExternalLinks::contactPage().host());
    QVERIFY2(url.path().startsWith(QStringLiteral("/knowledgebase/")), qPrintable(url.path()));
    QVERIFY2(url.path().size() > int(sizeof("/knowledgebase/") - 1),
             "a page under the folder, not the folder");
}

void TestExternalLinks::soundPageIsPlainOnAHostOfItsOwn()
{
    const QUrl url = ExternalLinks::soundPage();
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), QStringLiteral("http"));
    QVERIFY(!url.host().isEmpty());
    QVERIFY(url.host() != ExternalLinks::contactPage().host());
    QCOMPARE(url.path(), QStringLiteral("/sound"));
}

void TestExternalLinks::versionIsTheProjectVersion()
{
    const QString version = ExternalLinks::version();
    QCOMPARE(version, QStringLiteral(BREVLIN_EXPECTED_VERSION));
}

void TestExternalLinks::openGoesThroughTheReplacedOpener()
{
    QVector<QUrl> opened;
    ExternalLinks::setOpener([&opened](const QUrl& url) { opened.append(url); });
    ExternalLinks::open(ExternalLinks::userGuide());
    ExternalLinks::open(ExternalLinks::contactPage());
    ExternalLinks::setOpener({});
    QCOMPARE(opened, (QVector<QUrl>{ExternalLinks::userGuide(), ExternalLinks::contactPage()}));
}

void TestExternalLinks::replacingTheOpenerReturnsThePreviousOne()
{
    int calls = 0;
    ExternalLinks::setOpener([&calls](const QUrl&) { ++calls; });
    ExternalLinks::Opener previous = ExternalLinks::setOpener({});
    QVERIFY(bool(previous));
    previous(QUrl());
    QCOMPARE(calls, 1);
    QVERIFY(!ExternalLinks::setOpener({}));
}

BREVLIN_TEST_MAIN_CORE(TestExternalLinks)
#include "tst_externallinks.moc"
