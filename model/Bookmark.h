#pragma once

// Bookmarks find a clip's file again at the next start, also after it was renamed or moved
// nearby on the same disk: they hold the file's path and its device and inode numbers.

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

namespace vimbo::Bookmark {

// Absent when the file cannot be examined (it does not exist, or is not a local file).
std::optional<QByteArray> make(const QUrl& url);

struct Resolved {
    QUrl url;
    bool stale = false; // the file was found elsewhere or replaced: make a fresh bookmark
};

// Where each bookmarked file is now, in the order given. A file still at its path is taken as
// it is; the files gone from their paths are looked for by their inodes in one search of the
// folders around their old places, however many they are. Absent where the bookmark is damaged
// or the file is not found. Reads the disk and may search thousands of entries: call it off the
// interface thread.
std::vector<std::optional<Resolved>> resolve(const std::vector<QByteArray>& bookmarks);

} // namespace vimbo::Bookmark
