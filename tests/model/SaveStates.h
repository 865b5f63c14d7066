#pragma once

#include "model/SessionStore.h"

namespace vimbo::test {

// The n-th project the save loop writes: its size varies, so that files of different lengths
// replace one another, and every field follows from n.
inline Saved savedState(std::int64_t n) {
    Saved saved;
    saved.nextAdded = n;
    saved.layout = {n % 2 ? FrameShape::wide : FrameShape::tall, FillMode::fit};
    for (std::int64_t i = 0; i < 1 + n % 97; ++i) {
        Clip clip;
        clip.id = QUuid(static_cast<uint>(n), static_cast<ushort>(i), 0, 1, 2, 3, 4, 5, 6, 7, 8);
        clip.url = QUrl::fromLocalFile(QStringLiteral("/photos/trip %1/IMG_%2.JPG").arg(n).arg(i));
        clip.edits.trimStart = static_cast<double>(i) / 10;
        clip.added = i;
        saved.clips.push_back(clip);
    }
    return saved;
}

} // namespace vimbo::test
