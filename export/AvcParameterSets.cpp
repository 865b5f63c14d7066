#include "export/AvcParameterSets.h"

#include <cstdint>

namespace vimbo::avc {
namespace {

std::uint8_t byte(const QByteArray& b, qsizetype i) {
    return static_cast<std::uint8_t>(b[i]);
}

// Reads Exp-Golomb codes from a NAL unit's payload, emulation prevention bytes removed.
class Bits {
public:
    Bits(const QByteArray& unit, qsizetype from) {
        int zeros = 0;
        for (qsizetype i = from; i < unit.size(); ++i) {
            if (zeros >= 2 && byte(unit, i) == 3) {
                zeros = 0;
                continue;
            }
            zeros = byte(unit, i) == 0 ? zeros + 1 : 0;
            data_.push_back(unit[i]);
        }
    }
    // -1 past the end.
    int bit() {
        if (at_ >= data_.size() * 8)
            return -1;
        const int b = (byte(data_, at_ / 8) >> (7 - at_ % 8)) & 1;
        ++at_;
        return b;
    }
    // -1 when the code runs past the end or is longer than an id's can be.
    int unsignedCode() {
        int zeros = 0;
        int b = 0;
        while ((b = bit()) == 0)
            if (++zeros > 16)
                return -1;
        if (b < 0)
            return -1;
        int value = 1;
        for (int i = 0; i < zeros; ++i) {
            if ((b = bit()) < 0)
                return -1;
            value = value * 2 + b;
        }
        return value - 1;
    }

private:
    QByteArray data_;
    qsizetype at_ = 0;
};

int firstCode(const QByteArray& unit, qsizetype from) {
    return Bits(unit, from).unsignedCode();
}

// A list of 16-bit-length-prefixed units; false when it runs past the record.
bool readUnits(const QByteArray& r, qsizetype& at, int count, std::vector<QByteArray>& units) {
    for (int i = 0; i < count; ++i) {
        if (at + 2 > r.size())
            return false;
        const int size = byte(r, at) << 8 | byte(r, at + 1);
        if (at + 2 + size > r.size() || size == 0)
            return false;
        units.push_back(r.mid(at + 2, size));
        at += 2 + size;
    }
    return true;
}

void writeUnits(QByteArray& r, const std::vector<QByteArray>& units) {
    for (const QByteArray& u : units) {
        r.append(static_cast<char>(u.size() >> 8));
        r.append(static_cast<char>(u.size() & 0xff));
        r.append(u);
    }
}

} // namespace

std::optional<Configuration> parseRecord(const QByteArray& r) {
    if (r.size() < 7 || byte(r, 0) != 1)
        return std::nullopt;
    Configuration c;
    c.header = r.left(5);
    c.lengthSize = (byte(r, 4) & 3) + 1;
    qsizetype at = 6;
    if (!readUnits(r, at, byte(r, 5) & 31, c.sequenceSets) || at >= r.size())
        return std::nullopt;
    const int pictureSets = byte(r, at++);
    if (!readUnits(r, at, pictureSets, c.pictureSets))
        return std::nullopt;
    c.extension = r.mid(at);
    return c;
}

QByteArray record(const Configuration& c) {
    QByteArray r = c.header;
    r.append(static_cast<char>(0xE0 | c.sequenceSets.size()));
    writeUnits(r, c.sequenceSets);
    r.append(static_cast<char>(c.pictureSets.size()));
    writeUnits(r, c.pictureSets);
    return r + c.extension;
}

namespace {

// Whether any NAL unit of a length-prefixed sample has a header byte that `is` accepts.
template <typename Test>
bool anyUnit(const QByteArray& sample, Test is) {
    qsizetype at = 0;
    while (at + 4 < sample.size()) {
        const std::uint32_t n = static_cast<std::uint32_t>(byte(sample, at)) << 24 |
                                byte(sample, at + 1) << 16 | byte(sample, at + 2) << 8 |
                                byte(sample, at + 3);
        if (is(byte(sample, at + 4)))
            return true;
        at += 4 + static_cast<qsizetype>(n);
    }
    return false;
}

void appendLength(QByteArray& out, qsizetype size) {
    const auto n = static_cast<std::uint32_t>(size);
    out.append(static_cast<char>(n >> 24));
    out.append(static_cast<char>(n >> 16 & 0xff));
    out.append(static_cast<char>(n >> 8 & 0xff));
    out.append(static_cast<char>(n & 0xff));
}

} // namespace

std::vector<QByteArray> annexBUnits(const QByteArray& s) {
    std::vector<QByteArray> units;
    qsizetype start = -1;
    qsizetype i = 0;
    while (i + 2 < s.size()) {
        if (byte(s, i) == 0 && byte(s, i + 1) == 0 && byte(s, i + 2) == 1) {
            if (start >= 0) {
                qsizetype end = i;
                while (end > start && byte(s, end - 1) == 0)
                    --end; // the zero before a 4-byte start code, and trailing zeros
                units.push_back(s.mid(start, end - start));
            }
            i += 3;
            start = i;
        } else {
            ++i;
        }
    }
    if (start >= 0 && start < s.size())
        units.push_back(s.mid(start));
    return units;
}

QByteArray lengthPrefixed(const QByteArray& annexB) {
    QByteArray out;
    for (const QByteArray& u : annexBUnits(annexB)) {
        appendLength(out, u.size());
        out.append(u);
    }
    return out;
}

bool holdsIdr(const QByteArray& sample) {
    return anyUnit(sample, [](std::uint8_t header) { return (header & 31) == 5; });
}

bool holdsHevcIdr(const QByteArray& sample) {
    return anyUnit(sample, [](std::uint8_t header) {
        const int type = header >> 1 & 63;
        return type == 19 || type == 20; // IDR_W_RADL, IDR_N_LP
    });
}

std::optional<QByteArray> hevcParameterSets(const QByteArray& r) {
    if (r.size() < 23 || byte(r, 0) != 1 || (byte(r, 21) & 3) != 3)
        return std::nullopt;
    QByteArray sets;
    qsizetype at = 23;
    for (int array = 0; array < byte(r, 22); ++array) {
        if (at + 3 > r.size())
            return std::nullopt;
        const int type = byte(r, at) & 63;
        const int count = byte(r, at + 1) << 8 | byte(r, at + 2);
        at += 3;
        std::vector<QByteArray> units;
        if (!readUnits(r, at, count, units))
            return std::nullopt;
        if (type >= 32 && type <= 34) // VPS, SPS, PPS
            for (const QByteArray& u : units) {
                appendLength(sets, u.size());
                sets.append(u);
            }
    }
    if (sets.isEmpty())
        return std::nullopt;
    return sets;
}

int unitType(const QByteArray& unit) {
    return unit.isEmpty() ? -1 : byte(unit, 0) & 31;
}

int sequenceSetId(const QByteArray& sps) {
    // After the header byte: profile_idc, the constraint flags and level_idc.
    return unitType(sps) == 7 ? firstCode(sps, 4) : -1;
}

int pictureSetId(const QByteArray& pps) {
    return unitType(pps) == 8 ? firstCode(pps, 1) : -1;
}

} // namespace vimbo::avc
