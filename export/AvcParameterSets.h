#pragma once

// The H.264 parameter sets as MP4 and QuickTime keep them: the decoder configuration record
// ('avcC') of the sample description, which may list several sequence and picture parameter
// sets, each with its own id, and samples made of NAL units behind 4-byte lengths. Pure.

#include <QByteArray>

#include <optional>
#include <vector>

namespace vimbo::avc {

struct Configuration {
    QByteArray header; // version, profile, compatibility, level, length size
    std::vector<QByteArray> sequenceSets;
    std::vector<QByteArray> pictureSets;
    QByteArray extension; // chroma format and bit depths of the high profiles, as found
    int lengthSize = 4;
};

// Absent when `record` is not a well-formed 'avcC' record.
std::optional<Configuration> parseRecord(const QByteArray& record);
QByteArray record(const Configuration& configuration);

// The NAL units of an Annex B stream (start codes removed).
std::vector<QByteArray> annexBUnits(const QByteArray& stream);
// Annex B as 4-byte length-prefixed NAL units.
QByteArray lengthPrefixed(const QByteArray& annexB);
// Whether a sample of 4-byte length-prefixed NAL units holds an IDR picture.
bool holdsIdr(const QByteArray& sample);

// HEVC's decoder configuration record ('hvcC'): its VPS, SPS and PPS, each behind a 4-byte
// length, ready to stand in front of a sample. Absent when the record is malformed, holds none,
// or its samples do not use 4-byte lengths.
std::optional<QByteArray> hevcParameterSets(const QByteArray& record);
// Whether a sample of 4-byte length-prefixed HEVC NAL units holds an IDR picture.
bool holdsHevcIdr(const QByteArray& sample);

int unitType(const QByteArray& unit);
// seq_parameter_set_id of an SPS, pic_parameter_set_id of a PPS; -1 when unreadable.
int sequenceSetId(const QByteArray& sps);
int pictureSetId(const QByteArray& pps);

} // namespace vimbo::avc
