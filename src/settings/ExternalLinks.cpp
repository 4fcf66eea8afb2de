#include "ExternalLinks.h"

#include "BuildConfig.h"

#include <QDesktopServices>

#include <utility>

namespace ExternalLinks {

namespace {

Opener& currentOpener()
{
    static Opener opener;
    return opener;
}

} // namespace

QUrl contactPage()
{
    return QUrl(QStringLiteral(BREVLIN_CONTACT_URL));
}

QUrl userGuide()
{
    return QUrl(QStringLiteral(BREVLIN_USER_GUIDE_URL));
}

QUrl soundPage()
{
    return QUrl(QStringLiteral(BREVLIN_SOUND_PAGE_URL));
}

QString version()
{
    return QStringLiteral(BREVLIN_VERSION);
}

void open(const QUrl& url)
{
    if (const Opener& opener = currentOpener()) {
        opener(url);
        return;
    }
    QDesktopServices::openUrl(url);
}

Opener setOpener(Opener opener)
{
    return std::exchange(currentOpener(), std::move(opener));
}

} // namespace ExternalLinks
