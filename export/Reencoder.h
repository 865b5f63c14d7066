#pragma once

// Encodes a composed timeline into one movie: the renderer's frames through x264/x265 and its
// sound through AAC, muxed with BT.709 tags and the index at the front.
//
// Threads, in the manner of a scheduler of stages talking only through queues: one thread
// renders video frames (decoding and compositing), one renders and encodes the sound, and the
// calling thread encodes video (x264/x265 add threads of their own) and writes the file. The
// queues are short, so memory stays flat however long the movie is. A raised cancel flag or a
// failure in any stage closes every queue at once, and the calling thread rethrows it; a frame
// that never comes fails the export too, so a movie is never shorter than its timeline.

#include "export/EncoderSettings.h"
#include "export/ExportChoices.h"
#include "media/ff/Cancel.h"
#include "timeline/Timeline.h"

#include <QString>

#include <functional>
#include <memory>

namespace vimbo {

// Throws Cancelled, the "can't be exported" failure when an encoder cannot be opened, or the
// failure that stopped it. Reports the fraction of video frames written.
void reencode(std::shared_ptr<const Timeline> timeline, Preset preset, ExportFormat format,
              const QString& destination, std::shared_ptr<const CancelFlag> cancel,
              const std::function<void(double)>& progressed);

} // namespace vimbo
