#include "export/ExportFailure.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>

extern "C" {
#include <libavutil/error.h>
}

namespace vimbo::ExportFailure {
namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Exporter", text);
}

} // namespace

VimboError cannotExport() {
    return VimboError::exportFailed(tr("This combination of clips can\u2019t be exported."));
}

VimboError failed() {
    return VimboError::exportFailed(tr("The export failed."));
}

VimboError diskFull() {
    return VimboError::exportFailed(
        tr("There isn\u2019t enough space on the disk to save the movie."));
}

VimboError unwritable(const QString& destination) {
    const QString folder = QFileInfo(destination).absolutePath();
    return VimboError::exportFailed(
        tr("The movie can\u2019t be saved because the folder \u201C%1\u201D can\u2019t be "
           "written to.")
            .arg(folder));
}

VimboError sourceGone(const QString& source) {
    return VimboError::exportFailed(tr("\u201C%1\u201D was moved or deleted during the export.")
                                        .arg(QFileInfo(source).fileName()));
}

VimboError overClip(const QString& clip) {
    return VimboError::exportFailed(
        tr("The movie can\u2019t be saved as \u201C%1\u201D because that is one of its clips.")
            .arg(QFileInfo(clip).fileName()));
}

VimboError notAFile(const QString& destination) {
    return VimboError::exportFailed(
        tr("The movie can\u2019t be saved as \u201C%1\u201D because that isn\u2019t a file.")
            .arg(QFileInfo(destination).fileName()));
}

VimboError writing(int averror, const QString& destination) {
    switch (averror) {
    case AVERROR(ENOSPC):
    case AVERROR(EDQUOT):
    case AVERROR(EFBIG):
        return diskFull();
    case AVERROR(EACCES):
    case AVERROR(EPERM):
    case AVERROR(EROFS):
    case AVERROR(ENOENT):
        return unwritable(destination);
    default:
        return failed();
    }
}

VimboError reading(int averror, const QString& source) {
    if (!QFileInfo::exists(source) || averror == AVERROR(ENOENT))
        return sourceGone(source);
    return VimboError::unreadable(QUrl::fromLocalFile(source));
}

} // namespace vimbo::ExportFailure
