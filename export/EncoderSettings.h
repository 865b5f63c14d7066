#pragma once

// The export presets and the one place where each is turned into real encoder settings.
// Every number that decides how an exported movie is encoded lives in EncoderSettings.cpp.

#include "export/ExportChoices.h"
#include "model/Segment.h"

#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace vimbo {

enum class Preset {
    passthrough,        // the clips' own packets, copied
    highestQuality,     // H.264, visually lossless
    hevcHighestQuality, // HEVC, visually lossless
    hevc1920x1080,      // HEVC, at most 1920 on the long edge, sized for sharing
};

// The re-encoding preset for a quality and the clips in the movie: HEVC sources and HDR
// sources keep HEVC at original quality.
Preset reencodingPreset(ExportQuality quality, const std::vector<Segment>& segments);

struct VideoEncoderSettings {
    const char* encoder;        // libavcodec encoder name
    const char* speedPreset;    // x264/x265 -preset
    int crf;                    // constant rate factor
    std::optional<int> maxRate; // bits per second cap (VBV), with a buffer of twice that
    const char* codecTag;       // sample entry written to the file; null keeps the default
    // Extra private options (x265-params and the like), applied in order.
    std::vector<std::pair<const char*, const char*>> options;
};

struct AudioEncoderSettings {
    const char* encoder; // FFmpeg's native AAC
    int sampleRate;
    int channels;
    int bitRate;
};

// Settings of a re-encoding preset (not passthrough).
VideoEncoderSettings videoSettings(Preset preset);
AudioEncoderSettings audioSettings(Preset preset);

// The encoder of the frames re-encoded around a trim while the rest of the movie is copied:
// x264 for H.264 clips, x265 for HEVC ones.
VideoEncoderSettings cutEncoderSettings(bool hevc);

// Muxer options every export writes: the movie index at the front of the file
// ("optimise for network use").
const char* movFlags();

} // namespace vimbo
