#include "export/Destination.h"

#include "export/ExportFailure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

extern "C" {
#include <libavutil/error.h>
}

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vimbo {
namespace {

// Names Linux allows are at most 255 bytes; the temporary name adds 19 to the destination's.
constexpr qsizetype longestBase = 200;

bool sameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

QString temporaryName(const QString& fileName) {
    QString base = fileName;
    while (base.toUtf8().size() > longestBase)
        base.chop(base.size() > 1 && base.back().isLowSurrogate() ? 2 : 1);
    static const char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    QString random;
    for (int i = 0; i < 6; ++i)
        random += QLatin1Char(letters[QRandomGenerator::global()->bounded(62)]);
    return QStringLiteral(".%1.vimbo-%2.part").arg(base, random);
}

// Whether the file open as `fd` is still the one named `path`: a folder's cleaner may have
// removed it between its creation and its lock.
bool stillNamed(int fd, const QByteArray& path) {
    struct stat open = {};
    struct stat named = {};
    return ::fstat(fd, &open) == 0 && ::lstat(path.constData(), &named) == 0 &&
           sameFile(open, named);
}

} // namespace

std::optional<QString> sameFileAs(const QString& destination, const std::vector<QString>& files) {
    struct stat target = {};
    if (::stat(QFile::encodeName(destination).constData(), &target) != 0)
        return std::nullopt; // nothing there to lose
    for (const QString& file : files) {
        struct stat other = {};
        if (::stat(QFile::encodeName(file).constData(), &other) == 0 && sameFile(target, other))
            return file;
    }
    return std::nullopt;
}

PendingMovie::PendingMovie(const QString& destination)
    : destination_(QFileInfo(destination).absoluteFilePath()) {
    struct stat there = {};
    if (::stat(QFile::encodeName(destination_).constData(), &there) == 0 && !S_ISREG(there.st_mode))
        throw ExportFailure::notAFile(destination_);
    const QFileInfo info(destination_);
    removeLeftovers(info.absolutePath());
    for (int attempt = 0; attempt < 100; ++attempt) {
        path_ = info.absolutePath() + QLatin1Char('/') + temporaryName(info.fileName());
        const QByteArray file = QFile::encodeName(path_);
        // Created here rather than by the muxer, to hold the lock from the first moment; 0666
        // under the umask is what a new file gets.
        const int fd = ::open(file.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            throw ExportFailure::writing(AVERROR(errno), destination_);
        }
        // A file system without locks (the lock fails otherwise than by being held) leaves
        // every cleaner without one too, so nothing removes the file there either.
        const bool locked = ::flock(fd, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
        if (locked && stillNamed(fd, file)) {
            fd_ = fd;
            return;
        }
        ::close(fd); // a cleaner took it for a leftover, and removes it
    }
    throw ExportFailure::failed();
}

PendingMovie::~PendingMovie() {
    if (fd_ < 0)
        return;
    ::unlink(QFile::encodeName(path_).constData());
    ::close(fd_);
}

void PendingMovie::flush() {
    if (::fsync(fd_) != 0)
        throw ExportFailure::writing(AVERROR(errno), destination_);
    struct stat old = {};
    if (::stat(QFile::encodeName(destination_).constData(), &old) == 0)
        ::fchmod(fd_, old.st_mode & 0777); // failing that, it keeps a new file's permissions
}

void PendingMovie::commit() {
    // One rename: a crash leaves the old file or the new one, never neither.
    if (::rename(QFile::encodeName(path_).constData(),
                 QFile::encodeName(destination_).constData()) != 0)
        throw ExportFailure::writing(AVERROR(errno), destination_);
    ::close(fd_);
    fd_ = -1;
}

void removeLeftovers(const QString& folder) {
    static const QRegularExpression leftover(
        QStringLiteral(R"(^\..+\.vimbo-[A-Za-z0-9]{6}\.part$)"));
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral(".*.vimbo-*.part")},
                                             QDir::Files | QDir::Hidden | QDir::System)) {
        if (!leftover.match(name).hasMatch())
            continue;
        const QByteArray path = QFile::encodeName(dir.filePath(name));
        const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (fd < 0)
            continue;
        // Its writer holds the lock for as long as it lives.
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && stillNamed(fd, path))
            ::unlink(path.constData());
        ::close(fd);
    }
}

} // namespace vimbo
