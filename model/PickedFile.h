#pragma once

#include "model/SessionStore.h"

#include <QUrl>

#include <optional>

namespace vimbo {

// A photo or video handed over by the photo picker, kept as a copy in the import store: the
// picked file may be on a camera that is unplugged a minute later.
struct PickedFile {
    QUrl url; // the kept copy

    // Copies the received file into a new folder of its own (an upper-case UUID) in the
    // store's import folder, keeping its name, so that two picks of the same name never
    // collide. Absent when the copy cannot be made (the empty folder is cleaned up at the
    // next start).
    static std::optional<PickedFile> keeping(const QUrl& received, const SessionStore& store);
};

} // namespace vimbo
