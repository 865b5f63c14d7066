#include "ui/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace vimbo::ui {

void installTranslations() {
    auto* app = QCoreApplication::instance();
    auto* own = new QTranslator(app); // lives as long as the application
    // The first of the user's languages that Vimbo speaks; English when none is.
    if (own->load(QLocale(), QStringLiteral("vimbo"), QStringLiteral("_"),
                  QStringLiteral(":/i18n")) ||
        own->load(QStringLiteral(":/i18n/vimbo_en")))
        QCoreApplication::installTranslator(own);
    auto* qt = new QTranslator(app);
    if (qt->load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                 QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(qt);
}

} // namespace vimbo::ui
