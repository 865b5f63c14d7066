#pragma once

#include <QString>

namespace vimbo::TimeText {

// "0:05", "12:34", "1:02:03": whole seconds, halves away from zero. (`short` is a C++ keyword,
// hence the underscore.)
QString short_(double seconds);

// "0:07.5": tenths of a second, minutes counting past 59, negative times as zero.
QString precise(double seconds);

// The number with at most one fraction digit in the current locale ("2.5", "2,5", "3").
// A value halfway between two tenths goes to the even tenth, as the shortest decimal that
// reads back as the same double: 0.25 gives 0.2, 0.35 gives 0.4.
QString seconds(double value);

// A frame rate with 0 to 2 fraction digits in the current locale ("29.97", "30", "23,98").
QString frameRate(double fps);

} // namespace vimbo::TimeText
