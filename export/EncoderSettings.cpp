#include "export/EncoderSettings.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace vimbo {

Preset reencodingPreset(ExportQuality quality, const std::vector<Segment>& segments) {
    switch (quality) {
    case ExportQuality::original:
        for (const Segment& s : segments)
            if (s.info.videoCoding.codec == AV_CODEC_ID_HEVC || s.info.isHDR)
                return Preset::hevcHighestQuality;
        return Preset::highestQuality;
    case ExportQuality::high:
        return Preset::highestQuality;
    case ExportQuality::smaller:
        return Preset::hevc1920x1080;
    }
    return Preset::highestQuality;
}

// CRF 18 is x264's usual "visually lossless" point and x265 reaches the same look at about
// 20. The speed presets were measured on a two-core machine (bench/ExportBench.cpp): x264
// "veryfast" encodes composed 1080p at about 1.5x real time, so an export of a phone's clips
// takes less time than watching them; x265 "faster" runs at about half real time, the
// quickest preset that still beats x264 on size. Smaller files trade quality for size with
// CRF 26 and a 6 Mbit/s ceiling, plenty for 1080p shared online. Apple players accept HEVC in
// MP4/MOV only under the 'hvc1' sample entry.
VideoEncoderSettings videoSettings(Preset preset) {
    switch (preset) {
    case Preset::hevcHighestQuality:
        return {"libx265",    "faster", 20,
                std::nullopt, "hvc1",   {{"x265-params", "log-level=error"}}};
    case Preset::hevc1920x1080:
        return {"libx265", "faster", 26, 6'000'000, "hvc1", {{"x265-params", "log-level=error"}}};
    case Preset::passthrough:
    case Preset::highestQuality:
        break;
    }
    return {"libx264", "veryfast", 18, std::nullopt, nullptr, {}};
}

// A few frames beside copied ones from a camera: CRF 15 (x265: 17) keeps them as close to the
// camera's own as the eye can tell at any bit rate phones record, and they are too few for
// their size or speed to matter.
VideoEncoderSettings cutEncoderSettings(bool hevc) {
    if (hevc)
        return {"libx265", "veryfast", 17, std::nullopt, nullptr, {}};
    return {"libx264", "veryfast", 15, std::nullopt, nullptr, {}};
}

AudioEncoderSettings audioSettings(Preset preset) {
    const int bitRate = preset == Preset::hevc1920x1080 ? 128'000 : 192'000;
    return {"aac", 48'000, 2, bitRate};
}

const char* movFlags() {
    return "+faststart";
}

} // namespace vimbo
