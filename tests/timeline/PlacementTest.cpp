#include "timeline/Placement.h"

#include <gtest/gtest.h>

namespace vimbo {
namespace {

TEST(Placement, FitAndFill) {
    constexpr FillMode fit = FillMode::fit, fill = FillMode::fill;
    using R = Resampling;
    struct Case {
        const char* what;
        Size picture, render;
        FillMode fill;
        Placement expected;
    };
    const Case cases[] = {
        {"656.25 rounds", {1280, 720}, {1080, 1920}, fit, {0.84375, R::linear, 0, 656, 1080, 608}},
        {"fill", {1280, 720}, {1080, 1920}, fill, {1920.0 / 720, R::linear, -1167, 0, 3413, 1920}},
        {"Lanczos", {1920, 1080}, {1080, 1920}, fit, {0.5625, R::lanczos, 0, 656, 1080, 608}},
        {"same size", {1920, 1080}, {1920, 1080}, fit, {1, R::none, 0, 0, 1920, 1080}},
        {"0.75 is still linear", {400, 200}, {300, 300}, fit, {0.75, R::linear, 0, 75, 300, 150}},
        {"upscaling", {100, 50}, {320, 180}, fit, {3.2, R::linear, 0, 10, 320, 160}},
        {"half pixels round away", {100, 100}, {201, 100}, fit, {1, R::none, 51, 0, 100, 100}},
        {"negative halves too", {100, 100}, {99, 100}, fill, {1, R::none, -1, 0, 100, 100}},
        {"no area", {0, 100}, {320, 180}, fit, {1, R::none, 0, 0, 0, 100}},
    };
    for (const Case& c : cases) {
        const Placement p = place(c.picture, c.render, c.fill);
        EXPECT_DOUBLE_EQ(p.scale, c.expected.scale) << c.what;
        EXPECT_EQ(p.resampling, c.expected.resampling) << c.what;
        EXPECT_EQ(std::vector({p.x, p.y, p.width, p.height}),
                  std::vector({c.expected.x, c.expected.y, c.expected.width, c.expected.height}))
            << c.what;
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
        {"three turns stand it up too", {4000, 3000}, 3, {1080, 1920}, FillMode::fit, 1440},
        {"unturned in a tall frame", {4000, 3000}, 0, {1080, 1920}, FillMode::fit, 1080},
        {"rounded up", {3000, 2001}, 0, {1600, 900}, FillMode::fit, 1350},
    };
    for (const Case& c : cases)
        EXPECT_EQ(photoPixelBudget(c.photo, c.turns, c.render, c.fill), c.expected) << c.what;
}

} // namespace
} // namespace vimbo
