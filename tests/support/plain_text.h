// The text form written down once more, as plainly as can be: recursive and slow, one rule after
// the other, for comparison with the library's reader and writer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tqa_test {

// The text of a binary message that loads.
std::string plainText(std::string_view encoded, bool namespaces, const std::string& base);

// The binary message that a text becomes under the policy flags; nothing when it is refused.
std::optional<std::string> plainRead(std::string_view xml, std::uint32_t policy);

}  // namespace tqa_test
