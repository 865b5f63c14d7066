#pragma once

// Where the one project lives on disk: …/Vimbo/Session.json and the import store
// …/Vimbo/Imports/<UUID>/<file>, under the user's data folder (XDG_DATA_HOME honoured).
// Every operation is synchronous and quiet about failures; the project saves through a
// SessionWriter, so that its interface thread never waits for the disk.

#include "model/Snapshot.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

namespace vimbo {

// The saved project's JSON form: exactly `clips`, `layout` and `nextAdded`, each in the records'
// own form (RecordJson), compact with slashes escaped. Encoding fails (nullopt) when a number is
// not finite; decoding fails on anything but a complete document.
std::optional<QByteArray> encodeSaved(const Saved& saved);
std::optional<Saved> decodeSaved(const QByteArray& bytes);

class SessionStore {
public:
    // folder is the Vimbo folder itself; standardFolder() is the user's.
    explicit SessionStore(QString folder = standardFolder());
    static QString standardFolder();

    QString folder() const { return folder_; }
    QString sessionFile() const;
    QString importsFolder() const;

    // Encodes and writes the whole file atomically: a reader sees the old file or the new one,
    // never half.
    bool save(const Saved& saved) const;
    // Absent when the file is missing, unreadable or not a complete saved project.
    std::optional<Saved> load() const;

    // A saved clip as this store finds it: an imported copy is looked up in the current import
    // store (the data folder may have moved). No disk access.
    Clip restored(Clip clip) const;
    // The clips with their bookmarks followed to where the files are now, in one search for
    // all that moved: a moved file gets its new place and a fresh bookmark, a replaced one a
    // fresh bookmark; a file not found keeps its clip as it was (it probes as missing). Reads
    // the disk and may search thousands of entries: call it off the interface thread.
    static std::vector<Clip> located(std::vector<Clip> clips);
    // Deletes every entry of the import store that no imported clip of `clips` lives in.
    void cleanImports(const std::vector<Clip>& clips) const;

private:
    QString folder_;
};

} // namespace vimbo
