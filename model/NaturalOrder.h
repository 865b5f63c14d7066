#pragma once

#include <QString>

namespace vimbo {

// The file manager's "natural" order: case-insensitive, runs of digits compared by value, so
// clip2.mov comes before clip10.mov. Text between the numbers follows the user's locale.
// Negative, zero or positive like strcmp.
int naturalCompare(const QString& a, const QString& b);

} // namespace vimbo
