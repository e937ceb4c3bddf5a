#include "tqamsg/binary/text_search.h"

#include <array>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa::PlainTextBlock;
using tqa::TextBlock;

using Bytes = std::array<char, 16>;

TEST(TextBlock, HasABitForEachByte) {
    const PlainTextBlock block("a<b \x1f\0<\x7f\x80\xff<xyz!<");
    EXPECT_EQ(block.where('<'), 0b1000'0100'0100'0010U);
    EXPECT_EQ(block.where('\xff'), 0b0000'0010'0000'0000U);
    EXPECT_EQ(block.where('q'), 0U);
    EXPECT_EQ(block.whereBlank(), 0b0000'0000'0011'1000U);
    EXPECT_EQ(block.whereSame(PlainTextBlock("a>b \x1f\0<\x7f\x80\xff<xyz!>")),
              0b0111'1111'1111'1101U);
}

TEST(TextBlock, HasTheSameBitsWithVectors) {
    std::mt19937 random(77);
    const auto byte = [&] { return static_cast<char>(random() % 4 == 0 ? '<' : random() & 0xFF); };
    for (int i = 0; i < 20000; ++i) {
        Bytes first;
        Bytes second;
        for (std::size_t k = 0; k < first.size(); ++k) {
            first[k] = byte();
            second[k] = random() % 2 == 0 ? first[k] : byte();
        }
        const PlainTextBlock plain(first.data());
        const TextBlock vector(first.data());
        const char sought = byte();
        ASSERT_EQ(plain.where(sought), vector.where(sought));
        ASSERT_EQ(plain.whereBlank(), vector.whereBlank());
        ASSERT_EQ(plain.whereSame(PlainTextBlock(second.data())),
                  vector.whereSame(TextBlock(second.data())));
    }
}

TEST(TextBlock, HasTheKeyOfItsFirstBytes) {
    const std::string text = "get_sample_conf_and_more";
    for (std::size_t n = 0; n <= 16; ++n) {
        const tqa::WordKey expected = tqa::keyOf(text.substr(0, n));
        for (const tqa::WordKey key :
             {PlainTextBlock(text.data()).key(n), TextBlock(text.data()).key(n)}) {
            EXPECT_EQ(key.first, expected.first) << n;
            EXPECT_EQ(key.second, expected.second) << n;
        }
    }
}

}  // namespace
