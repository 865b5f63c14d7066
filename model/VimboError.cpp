#include "model/VimboError.h"

#include <QCoreApplication>

namespace vimbo {

VimboError::VimboError(Kind kind, QUrl url, QString message)
    : kind_(kind)
    , url_(std::move(url))
    , message_(std::move(message)) {
    utf8_ = errorDescription().toStdString();
}

VimboError VimboError::unreadable(const QUrl& url) {
    return VimboError(Kind::unreadable, url, {});
}

VimboError VimboError::exportFailed(const QString& message) {
    return VimboError(Kind::exportFailed, {}, message);
}

VimboError VimboError::nothingToMerge() {
    return VimboError(Kind::nothingToMerge, {}, {});
}

QString VimboError::errorDescription() const {
    switch (kind_) {
    case Kind::unreadable:
        return QCoreApplication::translate("VimboError", "\u201C%1\u201D can\u2019t be read.")
            .arg(url_.fileName());
    case Kind::exportFailed:
        return message_;
    case Kind::nothingToMerge:
        return QCoreApplication::translate("VimboError", "There is nothing to merge.");
    }
    return message_;
}

} // namespace vimbo
