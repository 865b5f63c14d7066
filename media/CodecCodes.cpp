#include "media/CodecCodes.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <optional>
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

template <std::size_t N>
std::optional<std::uint32_t> lookUp(const std::array<std::pair<AVCodecID, std::uint32_t>, N>& table,
                                    AVCodecID id) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [id](const auto& entry) { return entry.first == id; });
    if (found == table.end())
        return std::nullopt;
    return found->second;
}

std::uint32_t proResCode(int profile) {
    switch (profile) {
    case FF_PROFILE_PRORES_PROXY:
        return code("apco");
    case FF_PROFILE_PRORES_LT:
        return code("apcs");
    case FF_PROFILE_PRORES_HQ:
        return code("apch");
    case FF_PROFILE_PRORES_4444:
        return code("ap4h");
    case FF_PROFILE_PRORES_XQ:
        return code("ap4x");
    default:
        return code("apcn");
    }
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

class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t> bytes)
        : bytes_(bytes) {}

    std::optional<std::uint32_t> read(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++position_) {
            if (position_ / 8 >= bytes_.size())
                return std::nullopt;
            value = value << 1 | (bytes_[position_ / 8] >> (7 - position_ % 8) & 1u);
        }
        return value;
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

std::optional<std::uint32_t> objectType(BitReader& bits) {
    const auto type = bits.read(5);
    if (type != 31u)
        return type;
    const auto extended = bits.read(6);
    return extended ? std::optional(32 + *extended) : std::nullopt;
}

} // namespace

std::uint32_t aacFormatCode(std::span<const std::uint8_t> audioSpecificConfig) {
    BitReader bits(audioSpecificConfig);
    switch (objectType(bits).value_or(2)) {
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

std::uint32_t videoCodecCode(const AVCodecParameters& parameters) {
    if (parameters.codec_tag)
        return bigEndian(parameters.codec_tag);
    if (parameters.codec_id == AV_CODEC_ID_PRORES)
        return proResCode(parameters.profile);
    static constexpr std::array<std::pair<AVCodecID, std::uint32_t>, 12> mp4Codes{{
        {AV_CODEC_ID_H264, code("avc1")},
        {AV_CODEC_ID_HEVC, code("hvc1")},
        {AV_CODEC_ID_AV1, code("av01")},
        {AV_CODEC_ID_VP9, code("vp09")},
        {AV_CODEC_ID_VP8, code("vp08")},
        {AV_CODEC_ID_MPEG4, code("mp4v")},
        {AV_CODEC_ID_H263, code("h263")},
        {AV_CODEC_ID_MJPEG, code("jpeg")},
        {AV_CODEC_ID_MPEG2VIDEO, code("mp2v")},
        {AV_CODEC_ID_MPEG1VIDEO, code("mp1v")},
        {AV_CODEC_ID_DVVIDEO, code("dvc ")},
        {AV_CODEC_ID_PNG, code("png ")},
    }};
    return lookUp(mp4Codes, parameters.codec_id).value_or(0);
}

std::uint32_t audioFormatCode(const AVCodecParameters& parameters) {
    const AVCodecID id = parameters.codec_id;
    const std::uint32_t tag = bigEndian(parameters.codec_tag);
    if (id == AV_CODEC_ID_AAC) {
        const auto size = static_cast<std::size_t>(std::max(parameters.extradata_size, 0));
        return aacFormatCode({parameters.extradata, parameters.extradata ? size : 0});
    }
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
    return lookUp(coreAudioCodes, id).value_or(tag);
}

} // namespace vimbo
