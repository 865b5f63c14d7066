#include "timeline/MediaTime.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vimbo {
namespace {

bool mul(Int128 a, Int128 b, Int128* out) {
    return !__builtin_mul_overflow(a, b, out);
}

} // namespace

std::int64_t divideRounded(Int128 n, Int128 d) {
    const Int128 half = d / 2;
    const bool exactHalf = d % 2 == 0;
    const Int128 magnitude = n < 0 ? -n : n;
    Int128 q = magnitude / d;
    const Int128 r = magnitude % d;
    if (r > half || (r == half && exactHalf))
        ++q;
    return static_cast<std::int64_t>(n < 0 ? -q : q);
}

std::int64_t divideFloor(Int128 n, Int128 d) {
    Int128 q = n / d;
    if (n % d != 0 && n < 0)
        --q;
    return static_cast<std::int64_t>(q);
}

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
    if (!std::isfinite(seconds))
        return {0, timescale};
    return {std::llround(seconds * timescale), timescale}; // llround: halves away from zero
}

MediaTime MediaTime::converted(std::int32_t newTimescale) const {
    if (newTimescale == timescale)
        return *this;
    return {divideRounded(Int128(value) * newTimescale, timescale), newTimescale};
}

MediaTime MediaTime::flooredTo(std::int32_t newTimescale) const {
    if (newTimescale == timescale)
        return *this;
    return {divideFloor(Int128(value) * newTimescale, timescale), newTimescale};
}

MediaTime MediaTime::multipliedBy(double factor) const {
    return {std::llround(static_cast<double>(value) * factor), timescale};
}

MediaTime MediaTime::scaledFloor(const MediaTime& num, const MediaTime& den,
                                 std::int32_t resultTimescale) const {
    // value/ts × nv/ns ÷ (dv/ds) × rts = value·nv·ds·rts / (ts·ns·dv)
    Int128 n = value, d = timescale;
    const bool exact = mul(n, num.value, &n) && mul(n, den.timescale, &n) &&
                       mul(n, resultTimescale, &n) && mul(d, num.timescale, &d) &&
                       mul(d, den.value, &d);
    if (exact && d != 0)
        return {d > 0 ? divideFloor(n, d) : divideFloor(-n, -d), resultTimescale};
    const long double s = static_cast<long double>(value) / timescale * num.value / num.timescale *
                          den.timescale / den.value * resultTimescale;
    return {static_cast<std::int64_t>(std::floor(s)), resultTimescale};
}

MediaTime operator+(const MediaTime& a, const MediaTime& b) {
    if (a.timescale == b.timescale)
        return {a.value + b.value, a.timescale};
    const std::int64_t lcm = std::lcm<std::int64_t>(a.timescale, b.timescale);
    if (lcm <= MediaTime::maxTimescale)
        return {a.value * (lcm / a.timescale) + b.value * (lcm / b.timescale),
                static_cast<std::int32_t>(lcm)};
    const Int128 num = Int128(a.value) * b.timescale + Int128(b.value) * a.timescale;
    const Int128 den = Int128(a.timescale) * b.timescale;
    return {divideRounded(num * MediaTime::maxTimescale, den), MediaTime::maxTimescale};
}

MediaTime operator-(const MediaTime& a, const MediaTime& b) {
    return a + MediaTime{-b.value, b.timescale};
}

std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    return Int128(a.value) * b.timescale <=> Int128(b.value) * a.timescale;
}

TimeRange TimeRange::intersection(const TimeRange& other) const {
    const MediaTime s = std::max(start, other.start);
    const MediaTime e = std::min(end(), other.end());
    if (e <= s)
        return {MediaTime::zero(), MediaTime::zero()};
    return {s, e - s};
}

} // namespace vimbo
