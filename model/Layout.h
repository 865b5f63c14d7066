#pragma once

#include <QString>

#include <array>
#include <optional>

namespace vimbo {

// The shape of the output frame. `auto_` takes the shape of the first usable clip (the trailing
// underscore only avoids the C++ keyword; its text is "auto").
enum class FrameShape { auto_, wide, tall, square, portrait };
inline constexpr std::array<FrameShape, 5> allFrameShapes{FrameShape::auto_, FrameShape::wide,
                                                          FrameShape::tall, FrameShape::square,
                                                          FrameShape::portrait};

// Width : height of a fixed shape; absent for auto, whose ratio comes from the clips.
struct Ratio {
    double width;
    double height;
};
std::optional<Ratio> fixedRatio(FrameShape shape);

// The short ratio text shown for a shape ("16:9"); absent for auto.
std::optional<QString> ratioName(FrameShape shape);

enum class FillMode { fit, fill };
inline constexpr std::array<FillMode, 2> allFillModes{FillMode::fit, FillMode::fill};

// The project-wide output frame.
struct Layout {
    FrameShape shape = FrameShape::auto_;
    FillMode fill = FillMode::fit;

    friend bool operator==(const Layout&, const Layout&) = default;
};

} // namespace vimbo
