#include "ToolkitTranslations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace ToolkitTranslations {

void install()
{
    // Owned by the application object: it must live as long as any dialog that reads it.
    auto* translator = new QTranslator(QCoreApplication::instance());
    // "qtbase" pulls in the widgets' and the platform's texts; QLocale() is the user's language unless
    // a default was set.
    if (translator->load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}

} // namespace ToolkitTranslations
