#include "media/ff/Error.h"

#include "model/VimboError.h"

extern "C" {
#include <libavutil/error.h>
}

namespace vimbo::ff {

QString errorText(int averror) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(averror, text, sizeof text);
    return QString::fromUtf8(text);
}

int check(int result) {
    if (result < 0)
        throw VimboError::exportFailed(errorText(result));
    return result;
}

} // namespace vimbo::ff
