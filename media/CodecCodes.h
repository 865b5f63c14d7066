#pragma once

// The four-character codes by which the platform's media framework names codecs: a video
// track's media subtype ("avc1", "hvc1", "ap4h") and an audio track's Core Audio format ID
// ("aac ", "lpcm", "ac-3"). Codes are big-endian: 'avc1' is 0x61766331.

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <span>

namespace vimbo {

// The container's own sample-entry code when it has one, otherwise the code an MP4 file would
// give the codec; 0 when there is none.
std::uint32_t videoCodecCode(const AVCodecParameters& parameters);

// The Core Audio format ID of the codec: every PCM variant is 'lpcm', AAC is told apart by its
// object type. A container code FFmpeg cannot decode still names the format. 0 when unknown.
std::uint32_t audioFormatCode(const AVCodecParameters& parameters);

// The Core Audio format ID for an MPEG-4 AudioSpecificConfig: 'aac ' for plain AAC, 'aach' for
// HE-AAC, 'aacp' for HE-AAC v2 and so on. 'aac ' when the config cannot be read.
std::uint32_t aacFormatCode(std::span<const std::uint8_t> audioSpecificConfig);

} // namespace vimbo
