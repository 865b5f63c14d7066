#pragma once

// Exact media times: a 64-bit count of 1/timescale seconds. Times made from seconds use timescale
// 6000, which holds every common frame duration (1/24, 1/25, 1/30, 1001/30000 … as whole
// multiples of 1/6000 or close to them) and keeps arithmetic between clips exact.
// Plain values; safe to copy and use on any thread.

#include <compare>
#include <cstdint>

namespace vimbo {

struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 1; // always positive

    static constexpr std::int32_t secondsTimescale = 6000;
    static constexpr std::int32_t maxTimescale = 0x7fffffff;

    static MediaTime zero() { return {0, 1}; }
    // Rounded to the nearest 1/timescale, halves away from zero.
    static MediaTime fromSeconds(double seconds, std::int32_t timescale = secondsTimescale);

    double seconds() const { return static_cast<double>(value) / timescale; }
    // The same instant counted in another timescale, rounded half away from zero (or down).
    MediaTime converted(std::int32_t newTimescale) const;
    MediaTime flooredTo(std::int32_t newTimescale) const;
    // Keeps the timescale; the value is rounded half away from zero.
    MediaTime multipliedBy(double factor) const;
    // this × num / den, exactly where the result fits, in the given timescale (rounded down).
    MediaTime scaledFloor(const MediaTime& num, const MediaTime& den,
                          std::int32_t resultTimescale) const;

    // Equal timescales keep theirs; otherwise the result uses the least common multiple of the
    // two, or the largest timescale when that multiple does not fit (then rounded).
    friend MediaTime operator+(const MediaTime& a, const MediaTime& b);
    friend MediaTime operator-(const MediaTime& a, const MediaTime& b);
    MediaTime& operator+=(const MediaTime& o) { return *this = *this + o; }

    // Exact: compares the instants, not the representations (1/2 == 3000/6000).
    friend std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b);
    friend bool operator==(const MediaTime& a, const MediaTime& b) {
        return (a <=> b) == std::strong_ordering::equal;
    }
};

// A start and a duration.
struct TimeRange {
    MediaTime start;
    MediaTime duration;

    MediaTime end() const { return start + duration; }
    bool isEmpty() const { return duration <= MediaTime::zero(); }
    bool contains(const MediaTime& t) const { return start <= t && t < end(); }
    // The overlap of two ranges; an empty range (zero start and duration) when they do not
    // overlap.
    TimeRange intersection(const TimeRange& other) const;

    friend bool operator==(const TimeRange&, const TimeRange&) = default;
};

enum class Rounding {
    nearest, // halves away from zero
    down,    // towards minus infinity
    up,      // towards plus infinity
};

// n × factor ÷ divisor (factor ≥ 0, divisor > 0), exact wherever the result fits in 64 bits:
// the product is never formed in a 64-bit integer, and no compiler's 128-bit type is needed.
std::int64_t scaled(std::int64_t n, std::int64_t factor, std::int64_t divisor, Rounding rounding);
// Rounds n / d towards minus infinity (d > 0).
std::int64_t divideFloor(std::int64_t n, std::int64_t d);

} // namespace vimbo
