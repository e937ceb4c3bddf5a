// Protocol versions: major * 10000 + minor * 100 + patch in one integer, "major.minor.patch" as
// text. 40102 is "4.1.2".
#pragma once

#include <cstddef>
#include <string_view>

namespace tqa {

// Each group of digits is one number and every other character ends a group, also an empty one:
// "4.1.2" is 40102, "4.1" is 401, "4..1" is 40001. No group is limited to two digits and nothing
// is refused; a version too big for an int wraps.
int textToVersion(std::string_view text) noexcept;

inline constexpr std::size_t kVersionTextMax = 40;

// The text, written at buf, which has room for kVersionTextMax bytes, without a terminator.
std::string_view versionToText(int version, char* buf) noexcept;

}  // namespace tqa
