#include "media/CodecCodes.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <utility>

namespace vimbo {
namespace {

constexpr std::uint32_t code(const char (&text)[5]) {
    return std::uint32_t(std::uint8_t(text[0])) << 24 | std::uint32_t(std::uint8_t(text[1])) << 16 |
           std::uint32_t(std::uint8_t(text[2])) << 8 | std::uint32_t(std::uint8_t(text[3]));
}

// FFmpeg keeps container codes in file byte order in the low byte first.
std::uint32_t bigEndian(std::uint32_t tag) {
    return (tag & 0xFFu) << 24 | (tag & 0xFF00u) << 8 | (tag >> 8 & 0xFF00u) | tag >> 24;
}

bool isLinearPcm(AVCodecID id, std::uint32_t tag) {
    if (id == AV_CODEC_ID_PCM_ALAW || id == AV_CODEC_ID_PCM_MULAW)
        return false;
    if (id >= AV_CODEC_ID_PCM_S16LE && id < AV_CODEC_ID_ADPCM_IMA_QT)
        return true;
    // PCM sample entries that FFmpeg may have no codec for (5.1 reads no 'fpcm').
    static constexpr std::array pcmTags{code("lpcm"), code("sowt"), code("twos"), code("ipcm"),
                                        code("fpcm"), code("in24"), code("in32"), code("fl32"),
                                        code("fl64"), code("raw "), code("NONE")};
    return std::find(pcmTags.begin(), pcmTags.end(), tag) != pcmTags.end();
}

// AAC's Core Audio format IDs by object type; plain 'aac ' for the rest.
std::uint32_t aacFormatCode(int objectType) {
    switch (objectType) {
    case 5: // SBR
        return code("aach");
    case 29: // SBR with parametric stereo
        return code("aacp");
    case 23:
        return code("aacl");
    case 39:
        return code("aace");
    case 42:
        return code("usac");
    default:
        return code("aac ");
    }
}

class BitReader {
public:
    BitReader(const std::uint8_t* data, int size)
        : data_(data)
        , size_(data ? static_cast<std::size_t>(std::max(size, 0)) : 0) {}

    std::optional<int> read(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i, ++position_) {
            if (position_ / 8 >= size_)
                return std::nullopt;
            value = value << 1 | (data_[position_ / 8] >> (7 - position_ % 8) & 1);
        }
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

} // namespace

std::optional<AacConfig> aacConfig(const std::uint8_t* data, int size) {
    BitReader bits(data, size);
    AacConfig c;
    auto type = bits.read(5);
    if (type == 31)
        if (const auto extended = bits.read(6))
            type = 32 + *extended;
    const auto frequency = bits.read(4);
    if (!type || !frequency || (*frequency == 15 && !bits.read(24)))
        return std::nullopt;
    const auto channels = bits.read(4);
    if (!channels)
        return std::nullopt;
    return AacConfig{*type, *frequency, *channels};
}

MediaInfo::Coding codingOf(const AVCodecParameters& parameters) {
    MediaInfo::Coding coding{parameters.codec_id, parameters.codec_tag, parameters.profile,
                             parameters.sample_rate, parameters.ch_layout.nb_channels};
    if (parameters.codec_id == AV_CODEC_ID_AAC && coding.profile == FF_PROFILE_UNKNOWN)
        if (const auto config = aacConfig(parameters.extradata, parameters.extradata_size))
            coding.profile = config->objectType - 1;
    return coding;
}

std::uint32_t videoCodecCode(const MediaInfo::Coding& video) {
    return bigEndian(video.tag);
}

std::uint32_t audioFormatCode(const MediaInfo::Coding& audio) {
    const auto id = static_cast<AVCodecID>(audio.codec);
    const std::uint32_t tag = bigEndian(audio.tag);
    if (id == AV_CODEC_ID_AAC)
        return aacFormatCode(audio.profile + 1);
    if (isLinearPcm(id, tag))
        return code("lpcm");
    static constexpr std::array<std::pair<AVCodecID, std::uint32_t>, 18> coreAudioCodes{{
        {AV_CODEC_ID_PCM_ALAW, code("alaw")},
        {AV_CODEC_ID_PCM_MULAW, code("ulaw")},
        {AV_CODEC_ID_AAC_LATM, code("aac ")},
        {AV_CODEC_ID_AC3, code("ac-3")},
        {AV_CODEC_ID_EAC3, code("ec-3")},
        {AV_CODEC_ID_ALAC, code("alac")},
        {AV_CODEC_ID_MP3, code(".mp3")},
        {AV_CODEC_ID_MP2, code(".mp2")},
        {AV_CODEC_ID_MP1, code(".mp1")},
        {AV_CODEC_ID_OPUS, code("opus")},
        {AV_CODEC_ID_FLAC, code("flac")},
        {AV_CODEC_ID_AMR_NB, code("samr")},
        {AV_CODEC_ID_AMR_WB, code("sawb")},
        {AV_CODEC_ID_ADPCM_IMA_QT, code("ima4")},
        {AV_CODEC_ID_QDMC, code("QDMC")},
        {AV_CODEC_ID_QDM2, code("QDM2")},
        {AV_CODEC_ID_GSM, code("agsm")},
        {AV_CODEC_ID_ILBC, code("ilbc")},
    }};
    const auto found = std::find_if(coreAudioCodes.begin(), coreAudioCodes.end(),
                                    [id](const auto& entry) { return entry.first == id; });
    return found == coreAudioCodes.end() ? tag : found->second;
}

} // namespace vimbo
