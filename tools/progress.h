// A progress bar on standard error, for inputs so long that one wonders.
#pragma once

#include <cstdint>

namespace tool {

// Inputs of more bytes get a bar.
inline constexpr std::int64_t kLongInput = std::int64_t{64} << 20;

// Draws the bar if standard error is a terminal and it is time to; `total` is 0 when nobody knows.
void showProgress(std::int64_t done, std::int64_t total);

// Erases the bar, before something else is printed.
void hideProgress();

}  // namespace tool
