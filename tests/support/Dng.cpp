#include "tests/support/Dng.h"

#include <QFile>

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace vimbo::test {
namespace {

// TIFF field types.
enum Type : std::uint16_t {
    byte = 1,
    ascii = 2,
    shortType = 3,
    longType = 4,
    rational = 5,
    srational = 10
};

struct Field {
    std::uint16_t tag;
    Type type;
    std::uint32_t count;
    QByteArray bytes; // little-endian values
};

void put16(QByteArray& b, std::uint32_t v) {
    b.append(char(v & 0xff)).append(char(v >> 8 & 0xff));
}
void put32(QByteArray& b, std::uint32_t v) {
    put16(b, v & 0xffff);
    put16(b, v >> 16);
}

Field shorts(std::uint16_t tag, std::vector<std::uint16_t> values) {
    QByteArray b;
    for (std::uint16_t v : values)
        put16(b, v);
    return {tag, shortType, std::uint32_t(values.size()), b};
}
Field longs(std::uint16_t tag, std::vector<std::uint32_t> values) {
    QByteArray b;
    for (std::uint32_t v : values)
        put32(b, v);
    return {tag, longType, std::uint32_t(values.size()), b};
}
Field text(std::uint16_t tag, const QString& value) {
    const QByteArray b = value.toLatin1() + '\0';
    return {tag, ascii, std::uint32_t(b.size()), b};
}
Field fractions(std::uint16_t tag, Type type, std::vector<double> values) {
    QByteArray b;
    for (double v : values) {
        put32(b, std::uint32_t(std::int32_t(std::lround(v * 10000))));
        put32(b, 10000);
    }
    return {tag, type, std::uint32_t(values.size()), b};
}

// Appends an image file directory (and after it the values too long for its entries) and
// returns its offset; the offset of the next directory is 0 for now, at returned + 2 + 12n.
std::uint32_t appendDirectory(QByteArray& file, std::vector<Field> fields) {
    std::sort(fields.begin(), fields.end(),
              [](const Field& a, const Field& b) { return a.tag < b.tag; });
    const auto at = std::uint32_t(file.size());
    std::uint32_t extra = at + 2 + 12 * std::uint32_t(fields.size()) + 4;
    QByteArray directory, values;
    put16(directory, std::uint32_t(fields.size()));
    for (const Field& f : fields) {
        put16(directory, f.tag);
        put16(directory, f.type);
        put32(directory, f.count);
        if (f.bytes.size() <= 4) {
            directory.append(f.bytes).append(QByteArray(4 - f.bytes.size(), '\0'));
        } else {
            put32(directory, extra + std::uint32_t(values.size()));
            values.append(f.bytes);
            if (values.size() % 2)
                values.append('\0');
        }
    }
    put32(directory, 0);
    file.append(directory).append(values);
    return at;
}

// How much of channel c (0 red, 1 green, 2 blue) a quadrant of that colour holds.
double channel(char colour, int c) {
    return colour == 'W' || colour == "RGB"[c];
}

// The sensor's values: each pixel records the one colour its filter passes (RGGB).
QByteArray sensorData(const DngPhoto& p) {
    QByteArray data;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            const int quadrant = (y < p.height / 2 ? 0 : 2) + (x < p.width / 2 ? 0 : 1);
            const int c = (y % 2) + (x % 2); // R at (0, 0), G beside and below it, B diagonal
            put16(data, std::uint32_t(channel(p.quadrants[quadrant], c) * 50000));
        }
    return data;
}

} // namespace

QString writeDng(const QString& path, const DngPhoto& p) {
    QByteArray file("II*\0\0\0\0\0", 8);
    const auto sensorAt = std::uint32_t(file.size());
    const QByteArray sensor = sensorData(p);
    file.append(sensor);
    const auto previewAt = std::uint32_t(file.size());
    file.append(p.preview);
    if (file.size() % 2)
        file.append('\0');
    const auto w = std::uint32_t(p.width), h = std::uint32_t(p.height);
    std::vector<Field> raw{
        longs(254, {0}), // the main image
        longs(256, {w}),
        longs(257, {h}),
        shorts(258, {16}),
        shorts(259, {1}),     // uncompressed
        shorts(262, {32803}), // colour filter array
        text(271, "Vimbo"),
        text(272, "Test Camera"),
        longs(273, {sensorAt}),
        shorts(274, {std::uint16_t(p.orientation)}),
        shorts(277, {1}),
        longs(278, {h}),
        longs(279, {std::uint32_t(sensor.size())}),
        shorts(284, {1}),
        shorts(33421, {2, 2}),
        {33422, byte, 4, QByteArray("\0\1\1\2", 4)}, // RGGB
        {50706, byte, 4, QByteArray("\1\4\0\0", 4)}, // DNG 1.4
        text(50708, "Vimbo Test Camera"),
        longs(50717, {65535}),
        // XYZ to camera: the camera sees linear sRGB, under D65, neutral as shot.
        fractions(50721, srational,
                  {3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040, 1.0570}),
        fractions(50728, rational, {1, 1, 1}),
        shorts(50778, {21}),
    };
    if (!p.dateTime.isEmpty())
        raw.push_back(text(306, p.dateTime));
    const std::uint32_t first = appendDirectory(file, raw);
    // The header points at the first directory.
    for (int i = 0; i < 4; ++i)
        file[4 + i] = char(first >> (8 * i) & 0xff);
    if (!p.preview.isEmpty()) {
        const std::uint32_t second = appendDirectory(
            file, {longs(254, {1}), longs(256, {std::uint32_t(p.previewWidth)}),
                   longs(257, {std::uint32_t(p.previewHeight)}), shorts(258, {8, 8, 8}),
                   shorts(259, {7}), shorts(262, {6}), longs(273, {previewAt}), shorts(277, {3}),
                   longs(278, {std::uint32_t(p.previewHeight)}),
                   longs(279, {std::uint32_t(p.preview.size())})});
        const std::uint32_t link = first + 2 + 12 * std::uint32_t(raw.size());
        for (int i = 0; i < 4; ++i)
            file[qsizetype(link) + i] = char(second >> (8 * i) & 0xff);
    }
    QFile out(path);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    out.write(file);
    return path;
}

} // namespace vimbo::test
