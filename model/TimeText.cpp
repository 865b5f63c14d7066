#include "model/TimeText.h"

#include <QLocale>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace vimbo::TimeText {
namespace {

// Out-of-range and non-finite inputs never come from the callers; they read as zero.
std::int64_t roundedOrZero(double value) {
    if (!std::isfinite(value) || std::abs(value) >= 9.2e18)
        return 0;
    return std::llround(value);
}

// The value in tenths, rounding the shortest decimal form of the double half to even.
std::int64_t tenthsHalfEven(double value) {
    char buffer[400];
    const auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, std::abs(value), std::chars_format::fixed);
    if (ec != std::errc{})
        return 0;
    const std::string_view text(buffer, end);
    const auto point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view fraction =
        point == std::string_view::npos ? std::string_view{} : text.substr(point + 1);

    std::int64_t tenths = 0;
    for (char digit : whole)
        tenths = tenths * 10 + (digit - '0');
    tenths *= 10;
    if (!fraction.empty())
        tenths += fraction[0] - '0';
    if (fraction.size() > 1) {
        const std::string_view rest = fraction.substr(1);
        const bool moreThanHalf =
            rest[0] > '5' || (rest[0] == '5' && rest.find_first_not_of('0', 1) != rest.npos);
        const bool exactlyHalf = rest[0] == '5' && !moreThanHalf;
        if (moreThanHalf || (exactlyHalf && tenths % 2 == 1))
            ++tenths;
    }
    return value < 0 ? -tenths : tenths;
}

} // namespace

QString short_(double seconds) {
    const std::int64_t s = roundedOrZero(seconds);
    if (s < 3600)
        return QString::asprintf("%lld:%02lld", static_cast<long long>((s / 60) % 60),
                                 static_cast<long long>(s % 60));
    return QString::asprintf("%lld:%02lld:%02lld", static_cast<long long>(s / 3600),
                             static_cast<long long>((s / 60) % 60), static_cast<long long>(s % 60));
}

QString precise(double seconds) {
    const std::int64_t d = roundedOrZero(std::max(seconds, 0.0) * 10);
    return QString::asprintf("%lld:%02lld.%lld", static_cast<long long>(d / 600),
                             static_cast<long long>((d / 10) % 60), static_cast<long long>(d % 10));
}

QString seconds(double value) {
    if (!std::isfinite(value) || std::abs(value) >= 9.2e17)
        return QLocale().toString(0);
    const std::int64_t tenths = tenthsHalfEven(value);
    const int digits = tenths % 10 == 0 ? 0 : 1;
    return QLocale().toString(static_cast<double>(tenths) / 10.0, 'f', digits);
}

QString frameRate(double fps) {
    if (!std::isfinite(fps) || std::abs(fps) >= 1e9)
        return QLocale().toString(0);
    const std::int64_t hundredths = std::llround(fps * 100);
    const int digits = hundredths % 100 == 0 ? 0 : hundredths % 10 == 0 ? 1 : 2;
    return QLocale().toString(static_cast<double>(hundredths) / 100.0, 'f', digits);
}

} // namespace vimbo::TimeText
