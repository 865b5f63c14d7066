#pragma once

// What the probe takes from FFmpeg about a stream's coding: the typed identity that the copy
// rules compare (MediaInfo::Coding), and from it the four-character codes by which the
// platform's media framework names codecs, kept as text for people and the saved form: a video
// track's sample entry ("avc1", "hvc1", "ap4h") and an audio track's Core Audio format ID
// ("aac ", "lpcm", "ac-3"). Codes are big-endian: 'avc1' is 0x61766331.

#include "model/MediaInfo.h"

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <optional>

namespace vimbo {

// Object type, sampling-frequency index and channel configuration of an MPEG-4
// AudioSpecificConfig, escaped object types read out in full. Two AAC streams whose configs are
// equal can share raw frames. Absent when the bytes end too soon.
struct AacConfig {
    int objectType = 0;
    int frequencyIndex = 0; // 15: the rate is written out after it
    int channelConfiguration = 0;
    friend bool operator==(const AacConfig&, const AacConfig&) = default;
};
std::optional<AacConfig> aacConfig(const std::uint8_t* data, int size);

// The stream's identity as FFmpeg carries it. The header leaves AAC's profile unknown, so it is
// read from the AudioSpecificConfig (object type less one, as FFmpeg numbers AAC profiles).
MediaInfo::Coding codingOf(const AVCodecParameters& parameters);

// The sample entry's code; 0 when there is none.
std::uint32_t videoCodecCode(const MediaInfo::Coding& video);

// The Core Audio format ID: every PCM variant is 'lpcm', AAC is told apart by its object type
// ('aac ' plain, 'aach' HE-AAC, 'aacp' HE-AAC v2 and so on). A container code FFmpeg cannot
// decode still names the format. 0 when unknown.
std::uint32_t audioFormatCode(const MediaInfo::Coding& audio);

} // namespace vimbo
