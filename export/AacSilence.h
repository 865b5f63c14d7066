#pragma once

// One AAC frame of silence that can stand among another stream's frames: made by FFmpeg's AAC
// encoder with the same sample rate, channels and object type, taken once the encoder has
// settled (its first frames carry the start-up of the transform).

#include "media/ff/Ptr.h"

#include <QByteArray>

#include <optional>

namespace vimbo {

// Absent when the encoder cannot make frames that decode under `stream`'s AudioSpecificConfig.
std::optional<QByteArray> aacSilence(const AVCodecParameters& stream);

} // namespace vimbo
