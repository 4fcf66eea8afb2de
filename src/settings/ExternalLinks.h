#pragma once

// The web addresses the app opens and the one way it opens them. The addresses are set at build time
// (CMake cache variables BREVLIN_CONTACT_URL, BREVLIN_USER_GUIDE_URL, BREVLIN_SOUND_PAGE_URL), so that a
// distributor can point them at its own site without touching the code.

#include <QString>
#include <QUrl>

#include <functional>

namespace ExternalLinks {

/// The contact page: https, path "/contact/".
QUrl contactPage();
/// The online user guide: https, on the contact page's host, a page under "/knowledgebase/".
QUrl userGuide();
/// The page of further sounds to download: http, on a host of its own, path "/sound".
QUrl soundPage();

/// The version the build was made from, as the project declares it ("0.1.0").
QString version();

/// Opens an address in the user's browser; whether that worked is not reported (a link that cannot be
/// opened is ignored).
using Opener = std::function<void(const QUrl&)>;

/// Opens the address through the current opener: QDesktopServices::openUrl unless replaced.
void open(const QUrl& url);

/// Replaces the opener (tests record the addresses instead of starting a browser); an empty function
/// restores the default. Returns the opener that was in place.
Opener setOpener(Opener opener);

} // namespace ExternalLinks
