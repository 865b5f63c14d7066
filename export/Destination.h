#pragma once

// Where a movie goes, and how it gets there without losing what was there before.
//
// A destination that is one of the movie's own clips is refused before anything is written:
// the files are compared by identity (device and inode), so a second path to the clip, a
// symbolic or a hard link counts as the clip.
//
// The movie is written to a hidden temporary file beside the destination,
// ".NAME.vimbo-XXXXXX.part", which takes the destination's place in one rename once it is
// complete. Until then the old file stays exactly as it was; a cancel or a failure removes the
// temporary file. The writer holds a lock on it for as long as it lives, so a file of that
// pattern whose lock can be taken is a leftover of a run that was killed: each new movie
// written to a folder first removes those.

#include <QString>

#include <optional>
#include <vector>

namespace vimbo {

// The first of `files` that is the same file as `destination`; none when nothing is there.
std::optional<QString> sameFileAs(const QString& destination, const std::vector<QString>& files);

class PendingMovie {
public:
    // Removes the folder's leftovers and creates the temporary file (with the permissions a
    // new file gets). Throws the sentence for a folder that cannot be written to, and for a
    // destination that is something other than a file (a folder, a device).
    explicit PendingMovie(const QString& destination);
    // Removes the temporary file unless it was put in place.
    ~PendingMovie();
    PendingMovie(const PendingMovie&) = delete;
    PendingMovie& operator=(const PendingMovie&) = delete;

    // The temporary file, to write the movie to.
    const QString& path() const { return path_; }

    // Flushes the finished movie to the disk (a full disk shows here on some file systems) and
    // gives it the permissions of the file it replaces; the slow part of putting it in place.
    void flush();
    // Renames it to the destination. Both throw the sentence for what went wrong, the
    // temporary file left to the destructor.
    void commit();

private:
    QString destination_;
    QString path_;
    int fd_ = -1; // holds the lock that tells a live writer from a leftover
};

// Removes the temporary files in `folder` that no process is writing any more.
void removeLeftovers(const QString& folder);

} // namespace vimbo
