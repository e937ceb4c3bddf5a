// The reader and the writer beside the same rules written down plainly.

#include "tests/support/plain_text.h"

#include "tests/support/golden.h"
#include "tests/support/messages.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

// What a text becomes under the policy flags; nothing when it is refused.
std::optional<std::string> read(const std::string& xml, std::uint32_t policy) {
    TQABinary::Policy = policy;
    const Message m = emptyMessage();
    TQABinary::Policy = 0;
    const Block writable(xml + '\0');
    const int status = m->fromText(writable.data(), nullptr);
    EXPECT_EQ(writable.data(), xml);
    if (status != 0) return {};
    return bytes(m);
}

// A text put together from the pieces that the reader looks for.
std::string randomText(std::mt19937& random) {
    static const char* const kPieces[] = {
        "<",      ">",   "/",       "</",     "/>",      "\"",      "=",        " ",
        "\n",     "x",   ":",       "<data>", "</data>", "<veid>",  "</veid>",  "<zz>",
        "</zz>",  "<p:", "<list/>", "<zz/>",  "!",       "<!---->", "id=\"1\"", " xmlns:p=\"u\"",
        "<data ", "5",   "&lt;",    "?",      "<?x?>",   "log"};
    std::string text = random() % 8 == 0 ? "" : "<data>";
    for (auto count = random() % 12; count > 0; --count) {
        text += kPieces[random() % std::size(kPieces)];
    }
    return random() % 4 == 0 ? text : text + "</data>";
}

TEST(PlainText, TheReaderAgrees) {
    std::mt19937 random(7);
    int accepted = 0;
    for (int i = 0; i < 100000; ++i) {
        const std::string xml = randomText(random);
        const auto policy = static_cast<std::uint32_t>(random() % 4);
        const auto encoded = plainRead(xml, policy);
        ASSERT_EQ(read(xml, policy), encoded) << policy << '\n' << xml;
        if (encoded) ++accepted;
    }
    EXPECT_GT(accepted, 10000);
}

TEST(PlainText, TheReaderAgreesOnEveryFile) {
    for (const Golden& each : allGolden()) {
        for (const std::uint32_t policy : {0U, 1U, 2U, 3U}) {
            EXPECT_EQ(read(each.xml, policy), plainRead(each.xml, policy)) << each.name;
        }
    }
}

TEST(PlainText, TheWriterAgreesOnEveryFile) {
    for (const Golden& each : allGolden()) {
        EXPECT_EQ(each.printed, plainText(each.encoded, false, "")) << each.name;
        const tqa::CText printed(load(each.encoded)->toText(nullptr, true, "urn:x/"));
        EXPECT_EQ(printed.get(), plainText(each.encoded, true, "urn:x/")) << each.name;
    }
}

}  // namespace
