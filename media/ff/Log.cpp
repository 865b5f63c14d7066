#include "media/ff/Log.h"

#include <QtGlobal>

extern "C" {
#include <libavutil/log.h>
}

namespace vimbo::ff {

void quietLibraryLog() {
    if (qEnvironmentVariableIsEmpty("VIMBO_FFMPEG_LOG"))
        av_log_set_level(AV_LOG_QUIET);
}

} // namespace vimbo::ff
