#pragma once

// Joining clips whose trims fall off key frames while re-encoding as little as possible: each
// clip's whole groups of pictures are copied, and only the frames from a trim start to the
// next key frame (the head) and from the last key frame before a trim end to that end (the
// tail) are decoded and encoded again. Pure, like planCopy: it works on packet tables.
//
// A copied stretch must start where decoding can start afresh and cut cleanly in decoding
// order: a key frame before which nothing shows later and after which nothing shows earlier
// (no leading frames of an open group of pictures). Re-encoded frames carry no reordering,
// so their decoding times are their presentation times moved back by the copied frames' own
// reordering delay, which keeps decoding times rising across every seam.

#include "export/CopyPlan.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vimbo {

// Frames re-encoded in one run of the encoder: source presentation times, in order.
struct EncodedStretch {
    std::vector<std::int64_t> frames; // source time base
    std::int64_t end = 0;             // where the last frame stops showing, source time base
};

struct SmartClip {
    std::optional<EncodedStretch> head; // before the copied packets
    std::optional<EncodedStretch> tail; // after them
};

enum class SmartRefusal {
    none,
    codec,     // a codec whose cuts cannot be encoded to match (only H.264 can)
    unmatched, // the encoder cannot make the stream's profile, chroma, bit depth or scan
    openGop,   // key frames in range, but none where a copy could start cleanly
    keyNotIdr, // a copy would start at a key frame that is not an IDR picture
    joinOrder, // decoding times would not rise across a seam
};

struct SmartCutPlan {
    // video[i] holds clip i's copied packets (possibly none) and where its shown range lands;
    // the sound is planned exactly as for a plain copy.
    CopyPlan copy;
    std::vector<SmartClip> clips;
    // Decoding time = presentation time - delay for every re-encoded frame, output time base.
    std::int64_t encodedDelay = 0;

    std::int64_t encodedFrames() const;
};

struct SmartPlanResult {
    std::optional<SmartCutPlan> plan;
    SmartRefusal refusal = SmartRefusal::none;
    CopyRefusal copyRefusal = CopyRefusal::none; // a refusal the plain copy's rules give
    int clip = -1;
};

// Call only for clips whose formats join (planCopy refused them for their trims alone).
SmartPlanResult planSmartCut(const std::vector<CopyClip>& clips);

} // namespace vimbo
