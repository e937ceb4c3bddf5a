// Colours for terminals.
#pragma once

#include <string>
#include <string_view>

namespace tool {

enum class Paint { Name, Id, Kind, Text, Added, Removed, Changed, Error, Warning };

// "auto" (on a terminal unless NO_COLOR is set and not empty), "always" or "never".
void chooseColour(const std::string& when);

// The text in its colour, or as it is.
std::string painted(Paint paint, std::string_view text);

}  // namespace tool
