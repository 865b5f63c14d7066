#pragma once

// Whether an export at "Original" copies the clips' media into the file without re-encoding,
// and, when it does not, the one line that tells a person which clip stops it and why. The
// exporter copies exactly when this says it will, so the export sheet's "Fast export" promise
// and `vimbo merge`'s explanation can never disagree with what the export then does.
//
// Blocking: besides the rules on the probed facts it reads every clip's packet table (key
// frames, timestamps), which means disk reads; call it off the interface thread. It works only
// on its arguments, so any number may run at once. Throws Cancelled once `cancel` is raised.

#include "export/SmartCut.h"
#include "export/StreamCopier.h"
#include "media/ff/Cancel.h"
#include "model/Layout.h"
#include "model/Segment.h"

#include <QString>

#include <optional>
#include <vector>

namespace vimbo {

struct CopyVerdict {
    // The copy to make: present exactly when the export copies.
    std::optional<CopyJob> job;
    // Else, when only trims off key frames stop a copy: the copy with the frames around them
    // re-encoded.
    std::optional<SmartCutJob> cut;
    // Otherwise the reason, one line naming the clip: "No fast export: “b.mov” plays at 2×".
    // Empty when there is nothing to export at all.
    QString whyNot;

    bool copies() const { return job.has_value(); }
    // The line the export sheet and `vimbo merge` show: which way the export goes ("Fast
    // export, no re-encoding"), or why it re-encodes.
    QString line() const;
};

// Unusable segments (missing, unsupported) are left out, as the export leaves them out.
CopyVerdict decideCopy(const std::vector<Segment>& segments, const Layout& layout,
                       const CancelFlag& cancel);

} // namespace vimbo
