#include "media/MovieDate.h"

namespace vimbo {
namespace {

QDateTime dateEntry(const AVDictionary* metadata, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(metadata, key, nullptr, AV_DICT_MATCH_CASE);
    if (!entry)
        return {};
    return QDateTime::fromString(QString::fromUtf8(entry->value), Qt::ISODateWithMs);
}

} // namespace

std::optional<QDateTime> movieCreationDate(const AVDictionary* metadata, const QDateTime& now) {
    const QDateTime apple = dateEntry(metadata, "com.apple.quicktime.creationdate");
    if (apple.isValid())
        return apple;
    // A header time of zero reads as 1904 or 1970, depending on the epoch its writer assumed;
    // a camera whose clock was never set may write one far in the future. The day of grace
    // is for cameras that store local time as if it were UTC.
    const QDateTime header = dateEntry(metadata, "creation_time");
    if (!header.isValid() || header.date().year() <= 1970 || header > now.addDays(1))
        return std::nullopt;
    return header;
}

} // namespace vimbo
