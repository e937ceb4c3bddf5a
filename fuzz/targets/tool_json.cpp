// The JSON form that the tool reads and writes: any text is refused or makes a message, and every
// message comes back from its JSON as the same bytes.

#include "fuzz/target.h"
#include "tools/json_form.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// The bytes that a text describes; empty when it is refused.
std::string bytesIn(std::string_view text) {
    try {
        return tool::readJson(text);
    } catch (const tool::JsonFault&) {
        return {};
    }
}

}  // namespace

TQA_TARGET(tool_json) {
    for (const std::string& bytes : {bytesIn(input), std::string(input)}) {
        const tool::Message message = tool::messageOf(bytes);
        if (message == nullptr) continue;
        EXPECT_EQ(bytesIn(tool::writeJson(*message)), tool::bytesOf(*message));
    }
}
