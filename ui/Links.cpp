#include "ui/Links.h"

namespace vimbo::ui::Links {
namespace {

const QString host = QStringLiteral("https://vimbo.app");
const QString supportAddress = QStringLiteral("support@vimbo.app");

QUrl page(const QString& path, const QStringList& languages, const QString& rest = {}) {
    const QUrl url(host + path + pageSuffix(languages) + QStringLiteral(".html") + rest,
                   QUrl::StrictMode);
    Q_ASSERT(url.isValid()); // fixed texts: an invalid one is a fault of ours
    return url;
}

} // namespace

QString pageSuffix(const QStringList& languages) {
    const QString first = languages.value(0);
    // A bare "zh" names no script; only a tag that says which one picks a Chinese page.
    if (!first.startsWith(QLatin1String("zh-"), Qt::CaseInsensitive))
        return {};
    switch (QLocale(first).script()) {
    case QLocale::SimplifiedChineseScript:
        return QStringLiteral("-zh-cn");
    case QLocale::TraditionalChineseScript:
        return QStringLiteral("-zh-tw");
    default:
        return {};
    }
}

QUrl website(const QStringList& languages) {
    return page(QStringLiteral("/vimbo"), languages);
}

QUrl support(const QStringList& languages) {
    return page(QStringLiteral("/vimbo-support"), languages);
}

QUrl contact() {
    static const QUrl url(QStringLiteral("mailto:") + supportAddress +
                          QStringLiteral("?subject=Vimbo"));
    return url;
}

QUrl newVersion(const QStringList& languages, const QString& version) {
    return page(QStringLiteral("/vimbo"), languages,
                QStringLiteral("?installed=") + version + QStringLiteral("#download"));
}

} // namespace vimbo::ui::Links
