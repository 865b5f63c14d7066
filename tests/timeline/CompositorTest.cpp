#include "timeline/Compositor.h"

#include "tests/support/Media.h"
#include "tests/timeline/Fixtures.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace vimbo {
namespace {

using test::colourAt;

// A w × h picture in four quadrants (red, green / blue, white), converted to `format` with the
// given matrix and range by swscale, as a decoder would deliver it.
ff::FramePtr quadrants(int w, int h, AVPixelFormat format = AV_PIX_FMT_YUV420P,
                       AVColorSpace matrix = AVCOL_SPC_BT709,
                       AVColorRange range = AVCOL_RANGE_MPEG) {
    std::vector<std::uint8_t> rgb;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool left = x < w / 2, top = y < h / 2;
            const auto on = [](bool lit) { return static_cast<std::uint8_t>(lit ? 255 : 0); };
            rgb.insert(rgb.end(), {on(left == top), on(!left), on(!top)});
        }
    ff::FramePtr f = ff::makeFrame();
    f->format = format;
    f->width = w;
    f->height = h;
    f->colorspace = matrix;
    f->color_range = range;
    EXPECT_GE(av_frame_get_buffer(f.get(), 0), 0);
    const AVPixelFormat plain = format == AV_PIX_FMT_YUVJ420P ? AV_PIX_FMT_YUV420P : format;
    ff::SwsPtr sws(
        sws_getContext(w, h, AV_PIX_FMT_RGB24, w, h, plain, SWS_POINT, nullptr, nullptr, nullptr));
    const int cs = matrix == AVCOL_SPC_BT709        ? SWS_CS_ITU709
                   : matrix == AVCOL_SPC_BT2020_NCL ? SWS_CS_BT2020
                                                    : SWS_CS_ITU601;
    sws_setColorspaceDetails(sws.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             sws_getCoefficients(cs), range == AVCOL_RANGE_JPEG, 0, 1 << 16,
                             1 << 16);
    const std::uint8_t* src[1] = {rgb.data()};
    const int stride[1] = {w * 3};
    sws_scale(sws.get(), src, stride, 0, h, f->data, f->linesize);
    return f;
}

CompositorInstruction videoInstruction(ImageOrientation o, std::int64_t turns, FillMode fill) {
    return {{MediaTime::zero(), {1, 1}}, 1, CompositorInstruction::Video{o}, turns, fill};
}

struct Point {
    int x, y;
    char colour;
};

// Four points at the corners of the box (left, top, right, bottom), then two more (x, y each),
// with the colours expected there.
std::vector<Point> points(const std::array<int, 8>& v, const char* colours) {
    return {{v[0], v[1], colours[0]}, {v[2], v[1], colours[1]}, {v[0], v[3], colours[2]},
            {v[2], v[3], colours[3]}, {v[4], v[5], colours[4]}, {v[6], v[7], colours[5]}};
}

std::string describe(const AVFrame& f, const std::vector<Point>& points) {
    std::string s;
    for (const Point& p : points)
        s += colourAt(f, p.x, p.y);
    return s;
}

std::string expected(const std::vector<Point>& points) {
    std::string s;
    for (const Point& p : points)
        s += p.colour;
    return s;
}

TEST(Compositor, UprightTurnedAndPlaced) {
    using O = ImageOrientation;
    struct Case {
        const char* what;
        Size source;
        Size render;
        O orientation;
        std::int64_t turns;
        FillMode fill;
        std::vector<Point> points;
    };
    const std::vector<Point> corners{
        {40, 40, '?'}, {120, 40, '?'}, {40, 120, '?'}, {120, 120, '?'}};
    auto square = [&](const char* what, O o, std::int64_t turns, const char* colours) {
        std::vector<Point> p = corners;
        for (std::size_t i = 0; i < 4; ++i)
            p[i].colour = colours[i];
        return Case{what, {160, 160}, {160, 160}, o, turns, FillMode::fit, p};
    };
    auto framed = [](const char* what, Size source, Size render, O o, std::int64_t turns,
                     FillMode fill, std::vector<Point> p) {
        return Case{what, source, render, o, turns, fill, std::move(p)};
    };
    const std::vector<Case> cases{
        square("1 up", O::up, 0, "RGBW"),
        square("2 mirrored", O::upMirrored, 0, "GRWB"),
        square("3 down", O::down, 0, "WBGR"),
        square("4 down mirrored", O::downMirrored, 0, "BWRG"),
        square("5 left mirrored", O::leftMirrored, 0, "RBGW"),
        square("6 right", O::right, 0, "BRWG"),
        square("7 right mirrored", O::rightMirrored, 0, "WGBR"),
        square("8 left", O::left, 0, "GWRB"),
        square("one turn", O::up, 1, "BRWG"),
        square("two turns", O::up, 2, "WBGR"),
        square("three turns", O::up, 3, "GWRB"),
        square("right and a turn", O::right, 1, "WBGR"),
        square("right and three turns", O::right, 3, "RGBW"),
        square("mirrored and a turn", O::upMirrored, 1, "WGBR"),
        // The quadrants' centres, then two points of the bars or the corners.
        framed("2:1 in a square, fit: bars above and below", {320, 160}, {200, 200}, O::up, 0,
               FillMode::fit, points({50, 75, 150, 125, 100, 25, 100, 175}, "RGBWKK")),
        framed("2:1 turned in a square, fit: bars left and right", {320, 160}, {200, 200}, O::up, 1,
               FillMode::fit, points({75, 50, 125, 150, 25, 100, 175, 100}, "BRWGKK")),
        framed("phone video upright in a wide frame, fit", {320, 160}, {320, 180}, O::right, 0,
               FillMode::fit, points({137, 45, 182, 135, 50, 90, 270, 90}, "BRWGKK")),
        framed("turned left in a tall frame, fill: top and bottom cut", {320, 160}, {180, 320},
               O::left, 0, FillMode::fill, points({45, 80, 135, 240, 0, 0, 179, 319}, "GWRBGB")),
        framed("2:1 in a square, fill: the sides cut", {320, 160}, {200, 200}, O::up, 0,
               FillMode::fill, points({50, 50, 150, 150, 2, 2, 197, 197}, "RGBWRW")),
    };
    for (const Case& c : cases) {
        Compositor compositor;
        const ff::FramePtr source = quadrants(int(c.source.width), int(c.source.height));
        const ff::FramePtr out = compositor.render(videoInstruction(c.orientation, c.turns, c.fill),
                                                   source.get(), c.render, compositor.generation());
        ASSERT_TRUE(out) << c.what;
        EXPECT_EQ(out->width, int(c.render.width)) << c.what;
        EXPECT_EQ(out->height, int(c.render.height)) << c.what;
        EXPECT_EQ(out->format, AV_PIX_FMT_YUV420P) << c.what;
        EXPECT_EQ(out->colorspace, AVCOL_SPC_BT709) << c.what;
        EXPECT_EQ(out->color_primaries, AVCOL_PRI_BT709) << c.what;
        EXPECT_EQ(out->color_trc, AVCOL_TRC_BT709) << c.what;
        EXPECT_EQ(describe(*out, c.points), expected(c.points)) << c.what;
    }
}

std::array<double, 3> rgbAt(const AVFrame& f, int x, int y) {
    const double luma = (f.data[0][y * f.linesize[0] + x] - 16) / 219.0;
    const double cb = (f.data[1][(y / 2) * f.linesize[1] + x / 2] - 128) / 224.0;
    const double cr = (f.data[2][(y / 2) * f.linesize[2] + x / 2] - 128) / 224.0;
    return {luma + 1.5748 * cr, luma - 0.1873 * cb - 0.4681 * cr, luma + 1.8556 * cb};
}

TEST(Compositor, ConvertsEveryMatrixAndRangeToBt709) {
    struct Case {
        const char* what;
        AVPixelFormat format;
        AVColorSpace matrix;
        AVColorRange range;
    };
    const Case cases[] = {
        {"BT.709 passes through", AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG},
        {"BT.601", AV_PIX_FMT_YUV420P, AVCOL_SPC_BT470BG, AVCOL_RANGE_MPEG},
        {"full-range JPEG-style", AV_PIX_FMT_YUVJ420P, AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG},
        {"10-bit BT.2020", AV_PIX_FMT_YUV420P10LE, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG},
        {"4:2:2", AV_PIX_FMT_YUV422P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG},
        {"4:4:4", AV_PIX_FMT_YUV444P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG},
        {"NV12", AV_PIX_FMT_NV12, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG},
    };
    const std::array<std::array<double, 3>, 4> colours{
        {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}}};
    const Point points[] = {{40, 40, 'R'}, {120, 40, 'G'}, {40, 120, 'B'}, {120, 120, 'W'}};
    for (const Case& c : cases) {
        Compositor compositor;
        const ff::FramePtr source = quadrants(160, 160, c.format, c.matrix, c.range);
        const ff::FramePtr out = compositor.render(
            videoInstruction(ImageOrientation::up, 0, FillMode::fit), source.get(), {160, 160}, 0);
        ASSERT_TRUE(out);
        for (std::size_t i = 0; i < 4; ++i) {
            const auto rgb = rgbAt(*out, points[i].x, points[i].y);
            for (std::size_t k = 0; k < 3; ++k)
                EXPECT_NEAR(rgb[k], colours[i][k], 0.05)
                    << c.what << ", quadrant " << points[i].colour << ", channel " << k;
        }
    }
}

// A photo shown for many frames is decoded once for its instruction and size (the upright
// picture of a turned photo is checked through the renderer).
TEST(Compositor, PhotoDecodedOncePerInstructionAndSize) {
    Compositor compositor;
    const auto photo = [](const QString& path) {
        return CompositorInstruction(
            {MediaTime::zero(), {3, 1}}, std::nullopt,
            CompositorInstruction::Photo{QUrl::fromLocalFile(path), {400, 200}}, 0, FillMode::fit);
    };
    const CompositorInstruction shown = photo(test::quadrantsPhoto());
    const ff::FramePtr first = compositor.render(shown, nullptr, {200, 100}, 0);
    ASSERT_TRUE(first);
    EXPECT_EQ(describe(*first, {{50, 25, 'R'}, {150, 75, 'W'}}), "RW");
    const ff::FramePtr second = compositor.render(shown, nullptr, {200, 100}, 0);
    EXPECT_EQ(second->data[0], first->data[0]) << "the same frame again";
    EXPECT_EQ(compositor.photoDecodes(), 1);
    compositor.render(shown, nullptr, {400, 200}, 0);
    EXPECT_EQ(compositor.photoDecodes(), 2) << "another render size";
    compositor.render(shown.with({4, 1}), nullptr, {400, 200}, 0);
    EXPECT_EQ(compositor.photoDecodes(), 3) << "another instruction";
    const ff::FramePtr missing = compositor.render(photo("/gone.jpg"), nullptr, {200, 100}, 0);
    EXPECT_EQ(describe(*missing, {{100, 50, 'K'}}), "K");
}

TEST(Compositor, BlackWithoutASourceAndNothingForCancelledRequests) {
    Compositor compositor;
    const ff::FramePtr black = compositor.render(
        videoInstruction(ImageOrientation::up, 0, FillMode::fit), nullptr, {64, 36}, 0);
    ASSERT_TRUE(black);
    EXPECT_EQ(describe(*black, {{0, 0, 'K'}, {32, 18, 'K'}, {63, 35, 'K'}}), "KKK");

    const ff::FramePtr source = quadrants(64, 64);
    const std::int64_t before = compositor.generation();
    compositor.cancelAll();
    const auto instruction = videoInstruction(ImageOrientation::up, 0, FillMode::fit);
    EXPECT_FALSE(compositor.render(instruction, source.get(), {64, 64}, before));
    EXPECT_TRUE(compositor.render(instruction, source.get(), {64, 64}, compositor.generation()));
}

} // namespace
} // namespace vimbo
