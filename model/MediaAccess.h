#pragma once

#include "model/MediaInfo.h"

#include <QImage>
#include <QUrl>

#include <functional>
#include <optional>

namespace vimbo {

// How the project learns about files. The media layer provides the real functions (the project
// sits below it and cannot call it directly); the app and the tests hand them in.
struct MediaAccess {
    // Whether a file becomes a clip when a folder is expanded. Called on the interface thread.
    std::function<bool(const QUrl&)> isMedia;
    // The facts of a clip's file. Called on a worker thread; never fails.
    std::function<MediaInfo(const QUrl&)> probe;
    // The filmstrip picture of a clip, at most maxPixels on its long side. Worker thread.
    std::function<std::optional<QImage>(const QUrl&, MediaKind, int maxPixels)> thumbnail;
};

} // namespace vimbo
