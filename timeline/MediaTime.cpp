#include "timeline/MediaTime.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <numeric>

namespace vimbo {
namespace {

// value × factor (0 ≤ factor < 2³¹) as high × 2³² + low with low in [0, 2³²): an exact product
// of up to 95 bits in two 64-bit words, ordered as the products are.
struct Wide {
    std::int64_t high;
    std::uint64_t low;
    friend auto operator<=>(const Wide&, const Wide&) = default;
};

Wide widened(std::int64_t value, std::int32_t factor) {
    // The arithmetic shift and the mask split value into (value >> 32) × 2³² + (low bits).
    const std::int64_t high = (value >> 32) * factor;
    const std::uint64_t low =
        static_cast<std::uint64_t>(value & 0xffffffff) * static_cast<std::uint64_t>(factor);
    return {high + static_cast<std::int64_t>(low >> 32), low & 0xffffffff};
}

// The product of non-negative factors; false when it does not fit in 64 bits.
template <std::size_t N>
bool product(const std::array<std::int64_t, N>& factors, std::int64_t& out) {
    out = 1;
    for (const std::int64_t f : factors) {
        if (f != 0 && out > INT64_MAX / f)
            return false;
        out *= f;
    }
    return true;
}

} // namespace

std::int64_t scaled(std::int64_t n, std::int64_t factor, std::int64_t divisor, Rounding rounding) {
    // FFmpeg's rescaling carries the product in two words and rounds as asked, on every platform.
    const AVRounding mode = rounding == Rounding::nearest ? AV_ROUND_NEAR_INF
                            : rounding == Rounding::down  ? AV_ROUND_DOWN
                                                          : AV_ROUND_UP;
    return av_rescale_rnd(n, factor, divisor, mode);
}

std::int64_t divideFloor(std::int64_t n, std::int64_t d) {
    return scaled(n, 1, d, Rounding::down);
}

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
    if (!std::isfinite(seconds))
        return {0, timescale};
    return {std::llround(seconds * timescale), timescale}; // llround: halves away from zero
}

MediaTime MediaTime::converted(std::int32_t newTimescale) const {
    if (newTimescale == timescale)
        return *this;
    return {scaled(value, newTimescale, timescale, Rounding::nearest), newTimescale};
}

MediaTime MediaTime::flooredTo(std::int32_t newTimescale) const {
    if (newTimescale == timescale)
        return *this;
    return {scaled(value, newTimescale, timescale, Rounding::down), newTimescale};
}

MediaTime MediaTime::multipliedBy(double factor) const {
    return {std::llround(static_cast<double>(value) * factor), timescale};
}

MediaTime MediaTime::scaledFloor(const MediaTime& num, const MediaTime& den,
                                 std::int32_t resultTimescale) const {
    // value/ts × nv/ns ÷ (dv/ds) × rts = value × (nv·ds·rts) ÷ (ts·ns·dv)
    std::array<std::int64_t, 3> up{num.value, den.timescale, resultTimescale};
    std::array<std::int64_t, 3> down{timescale, num.timescale, den.value};
    if (den.value == 0)
        return {0, resultTimescale};
    bool negative = false;
    for (auto* factors : {&up, &down})
        for (std::int64_t& f : *factors)
            if (f < 0) {
                f = -f;
                negative = !negative;
            }
    // Common factors cancel first (the durations of a stretch usually share their timescale),
    // which keeps the two products of real media times within 64 bits.
    for (std::int64_t& u : up)
        for (std::int64_t& d : down)
            if (const std::int64_t g = std::gcd(u, d); g > 1) {
                u /= g;
                d /= g;
            }
    std::int64_t factor = 0, divisor = 0;
    if (product(up, factor) && product(down, divisor))
        return {negative ? -scaled(value, factor, divisor, Rounding::up)
                         : scaled(value, factor, divisor, Rounding::down),
                resultTimescale};
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
    // No common timescale fits: both go to the finest one, each rounded there.
    return {a.converted(MediaTime::maxTimescale).value + b.converted(MediaTime::maxTimescale).value,
            MediaTime::maxTimescale};
}

MediaTime operator-(const MediaTime& a, const MediaTime& b) {
    return a + MediaTime{-b.value, b.timescale};
}

std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    if (a.timescale == b.timescale)
        return a.value <=> b.value;
    return widened(a.value, b.timescale) <=> widened(b.value, a.timescale);
}

TimeRange TimeRange::intersection(const TimeRange& other) const {
    const MediaTime s = std::max(start, other.start);
    const MediaTime e = std::min(end(), other.end());
    if (e <= s)
        return {MediaTime::zero(), MediaTime::zero()};
    return {s, e - s};
}

} // namespace vimbo
