// The text forms the probe reads and writes: four-character codes and EXIF date-times.

#include "media/MediaProbe.h"

#include <algorithm>
#include <array>

namespace vimbo::MediaProbe {
namespace {

// Mac OS Roman, the encoding of four-character codes, from 0x80 up; below that it is ASCII.
constexpr std::array<char16_t, 128> macRomanHigh{
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

bool isDigits(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); });
}

// "+hh:mm" or "-hh:mm" as seconds east of UTC; absent for anything else.
std::optional<int> offsetSeconds(const QString& offset) {
    if (offset.size() != 6 || (offset[0] != u'+' && offset[0] != u'-') || offset[3] != u':')
        return std::nullopt;
    const QStringView hours = QStringView(offset).mid(1, 2), minutes = QStringView(offset).mid(4);
    if (!isDigits(hours) || !isDigits(minutes))
        return std::nullopt;
    const int h = hours.toInt(), m = minutes.toInt();
    if (h > 18 || m > 59)
        return std::nullopt;
    return (offset[0] == u'-' ? -1 : 1) * (h * 3600 + m * 60);
}

} // namespace

QString fourCC(std::uint32_t code) {
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<std::uint8_t>(code >> shift);
        const QChar c = byte < 0x80 ? QChar(byte) : QChar(macRomanHigh[byte - 0x80]);
        // Control characters mean the code is a number, not letters. A tab is the exception:
        // it is blank like a space and trimmed below.
        if (c.category() == QChar::Other_Control && c != u'\t')
            return QString::number(code);
        text += c;
    }
    // Only blanks can be at the ends now, line breaks having been turned away above.
    return text.trimmed();
}

std::optional<QDateTime> exifDate(const QString& text, const std::optional<QString>& offset) {
    // Date and time are read apart so that a wall-clock time in a daylight-saving gap of the
    // local zone still parses when the offset says where it was taken.
    if (text.size() != 19 || text[10] != u' ')
        return std::nullopt;
    const QDate date = QDate::fromString(text.left(10), QStringLiteral("yyyy:MM:dd"));
    const QTime time = QTime::fromString(text.mid(11), QStringLiteral("HH:mm:ss"));
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    if (offset)
        if (const auto seconds = offsetSeconds(*offset))
            return QDateTime(date, time, Qt::OffsetFromUTC, *seconds);
    const QDateTime local(date, time, Qt::LocalTime);
    if (!local.isValid())
        return std::nullopt;
    return local;
}

} // namespace vimbo::MediaProbe
