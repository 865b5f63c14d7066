#pragma once

// Bookmarks find a clip's file again at the next start, also after it was renamed or moved
// nearby on the same disk: they hold the file's path and its device and inode numbers.

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace vimbo::Bookmark {

// Absent when the file cannot be examined (it does not exist, or is not a local file).
std::optional<QByteArray> make(const QUrl& url);

struct Resolved {
    QUrl url;
    bool stale = false; // the file was found elsewhere or replaced: make a fresh bookmark
};

// Where the bookmarked file is now. A file still at its path is taken as it is; a file that
// is gone from its path is looked for by its inode in the folders around its old place.
// Absent when the bookmark is damaged or the file cannot be found.
std::optional<Resolved> resolve(const QByteArray& bookmark);

} // namespace vimbo::Bookmark
