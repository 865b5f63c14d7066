#include "timeline/Placement.h"

#include "timeline/CompositorInstruction.h"

#include <gtest/gtest.h>

namespace vimbo {
namespace {

TEST(Placement, FitAndFill) {
    struct Case {
        const char* what;
        Size picture;
        Size render;
        FillMode fill;
        Placement expected;
    };
    const Case cases[] = {
        {"720p into tall, fit: linear, 656.25 rounds to 656",
         {1280, 720},
         {1080, 1920},
         FillMode::fit,
         {0.84375, Resampling::linear, 0, 656, 1080, 608}},
        {"720p into tall, fill overflows left and right",
         {1280, 720},
         {1080, 1920},
         FillMode::fill,
         {1920.0 / 720, Resampling::linear, -1167, 0, 3413, 1920}},
        {"1080p into tall, fit: below 0.75 is Lanczos",
         {1920, 1080},
         {1080, 1920},
         FillMode::fit,
         {0.5625, Resampling::lanczos, 0, 656, 1080, 608}},
        {"same size: no scaling",
         {1920, 1080},
         {1920, 1080},
         FillMode::fit,
         {1, Resampling::none, 0, 0, 1920, 1080}},
        {"exactly 0.75 is still linear",
         {400, 200},
         {300, 300},
         FillMode::fit,
         {0.75, Resampling::linear, 0, 75, 300, 150}},
        {"upscaling is linear",
         {100, 50},
         {320, 180},
         FillMode::fit,
         {3.2, Resampling::linear, 0, 10, 320, 160}},
        {"tie between the axes",
         {200, 100},
         {400, 200},
         FillMode::fill,
         {2, Resampling::linear, 0, 0, 400, 200}},
        {"half pixels round away from zero",
         {100, 100},
         {201, 100},
         FillMode::fit,
         {1, Resampling::none, 51, 0, 100, 100}},
        {"negative halves too",
         {100, 100},
         {99, 100},
         FillMode::fill,
         {1, Resampling::none, -1, 0, 100, 100}},
        {"no area: left alone",
         {0, 100},
         {320, 180},
         FillMode::fit,
         {1, Resampling::none, 0, 0, 0, 100}},
    };
    for (const Case& c : cases) {
        const Placement p = place(c.picture, c.render, c.fill);
        EXPECT_DOUBLE_EQ(p.scale, c.expected.scale) << c.what;
        EXPECT_EQ(p.resampling, c.expected.resampling) << c.what;
        EXPECT_EQ(p.x, c.expected.x) << c.what;
        EXPECT_EQ(p.y, c.expected.y) << c.what;
        EXPECT_EQ(p.width, c.expected.width) << c.what;
        EXPECT_EQ(p.height, c.expected.height) << c.what;
    }
}

TEST(Placement, PhotoPixelBudget) {
    struct Case {
        const char* what;
        Size photo;
        std::int64_t turns;
        Size render;
        FillMode fill;
        std::int64_t expected;
    };
    const Case cases[] = {
        {"4000 × 3000 in 1920 × 1440", {4000, 3000}, 0, {1920, 1440}, FillMode::fit, 1920},
        {"never above the photo's own size", {1000, 500}, 0, {1920, 1080}, FillMode::fit, 1000},
        {"fit in a wider frame", {4000, 3000}, 0, {1920, 1080}, FillMode::fit, 1440},
        {"fill needs more", {4000, 3000}, 0, {1920, 1080}, FillMode::fill, 1920},
        {"turned upright in a tall frame", {4000, 3000}, 1, {1080, 1920}, FillMode::fit, 1440},
        {"unturned in a tall frame", {4000, 3000}, 0, {1080, 1920}, FillMode::fit, 1080},
        {"rounded up", {3000, 2001}, 0, {1600, 900}, FillMode::fit, 1350},
    };
    for (const Case& c : cases)
        EXPECT_EQ(photoPixelBudget(c.photo, c.turns, c.render, c.fill), c.expected) << c.what;
}

TEST(Placement, PlaneMaps) {
    using O = ImageOrientation;
    struct Case {
        O orientation;
        std::int64_t turns;
        PlaneMap expected;
    };
    const Case cases[] = {
        {O::up, 0, {false, false, false}},
        {O::upMirrored, 0, {false, true, false}},
        {O::down, 0, {false, true, true}},
        {O::downMirrored, 0, {false, false, true}},
        {O::leftMirrored, 0, {true, false, false}},
        {O::right, 0, {true, false, true}},
        {O::rightMirrored, 0, {true, true, true}},
        {O::left, 0, {true, true, false}},
        {O::up, 1, {true, false, true}},
        {O::up, 2, {false, true, true}},
        {O::up, 3, {true, true, false}},
        {O::right, 3, {false, false, false}},
        {O::right, 1, {false, true, true}},
        {O::up, -1, {true, true, false}},
        {O::upMirrored, 1, {true, true, true}},
        {O::left, 5, {false, false, false}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(planeMap(c.orientation, c.turns), c.expected)
            << "orientation " << int(c.orientation) << " turns " << c.turns;
}

TEST(Placement, InstructionTurnsAndIdentity) {
    const CompositorInstruction a({MediaTime::zero(), {1, 1}}, std::nullopt,
                                  CompositorInstruction::Video{}, -1, FillMode::fit);
    EXPECT_EQ(a.quarterTurns(), 3);
    const CompositorInstruction b = a.with({5, 1});
    EXPECT_EQ(b.timeRange(), (TimeRange{MediaTime::zero(), {5, 1}}));
    EXPECT_EQ(b.quarterTurns(), 3);
    EXPECT_NE(a.identity(), b.identity()) << "a copy is a new instruction";
}

} // namespace
} // namespace vimbo
