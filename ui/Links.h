#pragma once

// The program's web and mail links (Help menu). Pages exist in English, Simplified and
// Traditional Chinese; the page follows the language the program shows itself in. Pure
// functions of their inputs; the defaults read the running program's languages and version.

#include <QCoreApplication>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace vimbo::ui::Links {

// The languages the program shows itself in, most preferred first (BCP 47: "zh-Hant-TW").
inline QStringList uiLanguages() {
    return QLocale().uiLanguages();
}

// "-zh-cn" when the first language is Simplified Chinese, "-zh-tw" when it is Traditional
// Chinese, otherwise (and for an empty list) empty.
QString pageSuffix(const QStringList& languages);

QUrl website(const QStringList& languages = uiLanguages());
QUrl support(const QStringList& languages = uiLanguages());
// A mail to the support address with the subject "Vimbo".
QUrl contact();
// The product page with the installed version, scrolled to the download; an unknown version
// leaves "installed=" empty.
QUrl newVersion(const QStringList& languages = uiLanguages(),
                const QString& version = QCoreApplication::applicationVersion());

} // namespace vimbo::ui::Links
