#include "tqamsg/util/base64_forms.h"

#include "tests/support/guarded_bytes.h"

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa::Base64Form;
using tqa::kBase64Alphabet;
using tqa_test::GuardedBytes;

// More groups than any form codes at a time, several times over, and all that remain after that.
constexpr std::size_t kMostGroups = 50;

std::string randomBytes(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

// Memory of exactly so many bytes, so that a step beyond them is seen.
class Exact {
  public:
    explicit Exact(std::size_t size) : bytes_(std::make_unique<char[]>(size)), size_(size) {}
    explicit Exact(std::string_view content) : Exact(content.size()) {
        content.copy(bytes_.get(), size_);
    }
    char* data() const { return bytes_.get(); }
    std::string_view view() const { return {bytes_.get(), size_}; }

  private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_;
};

const unsigned char* bytesAt(const char* p) {
    return reinterpret_cast<const unsigned char*>(p);
}

std::string encodedBy(const Base64Form& form, std::string_view bytes) {
    const Exact in(bytes);
    const Exact out(bytes.size() / 3 * 4);
    form.encode(bytesAt(in.data()), bytes.size() / 3, out.data());
    return std::string(out.view());
}

std::string decodedBy(const Base64Form& form, std::string_view text) {
    const Exact in(text);
    const Exact out(text.size() / 4 * 3);
    const std::size_t groups = form.decode(in.data(), text.size() / 4, out.data());
    return std::string(out.view().substr(0, 3 * groups));
}

class Base64Forms : public testing::TestWithParam<Base64Form> {};

TEST_P(Base64Forms, EncodeEveryLengthAsThePlainOne) {
    const Base64Form plain = tqa::base64Forms().back();
    for (std::size_t groups = 0; groups <= kMostGroups; ++groups) {
        const std::string bytes = randomBytes(3 * groups, 7);
        ASSERT_EQ(encodedBy(plain, bytes), encodedBy(GetParam(), bytes)) << groups;
    }
}

TEST_P(Base64Forms, DecodeEveryLength) {
    for (std::size_t groups = 0; groups <= kMostGroups; ++groups) {
        const std::string bytes = randomBytes(3 * groups, 8);
        ASSERT_EQ(bytes, decodedBy(GetParam(), encodedBy(GetParam(), bytes))) << groups;
    }
}

TEST_P(Base64Forms, TouchNothingBehindTheirBytes) {
    for (std::size_t groups = 0; groups <= kMostGroups; ++groups) {
        const GuardedBytes bytes(randomBytes(3 * groups, 9));
        const GuardedBytes text(4 * groups);
        const GuardedBytes back(3 * groups);
        GetParam().encode(bytesAt(bytes.data()), groups, text.data());
        ASSERT_EQ(groups, GetParam().decode(text.data(), groups, back.data()));
        ASSERT_EQ(bytes.view(), back.view());
    }
}

TEST_P(Base64Forms, ARunOfOneCharacterIsDecodedAsByThePlainOne) {
    const Base64Form plain = tqa::base64Forms().back();
    for (const char c : kBase64Alphabet) {
        const std::string text(4 * kMostGroups, c);
        EXPECT_EQ(decodedBy(plain, text), decodedBy(GetParam(), text)) << c;
    }
}

TEST_P(Base64Forms, EveryValueAtEveryPlaceIsCoded) {
    for (std::size_t value = 0; value < 64; ++value) {
        std::string text(4 * kMostGroups, 'A');
        for (std::size_t at = 0; at < 64; ++at) {
            text[at] = kBase64Alphabet[value];
            const std::string bytes = decodedBy(GetParam(), text);
            ASSERT_EQ(3 * kMostGroups, bytes.size()) << value << " at " << at;
            ASSERT_EQ(text, encodedBy(GetParam(), bytes)) << value << " at " << at;
            text[at] = 'A';
        }
    }
}

TEST_P(Base64Forms, CodeAtEveryAlignment) {
    constexpr std::size_t kAlignments = 32;
    const std::string bytes = randomBytes(3 * kMostGroups, 9);
    const std::string text = encodedBy(tqa::base64Forms().back(), bytes);
    std::vector<char> in(text.size() + kAlignments);
    std::vector<char> out(text.size() + kAlignments);
    for (std::size_t from = 0; from < kAlignments; ++from)
        for (std::size_t to = 0; to < kAlignments; ++to) {
            bytes.copy(in.data() + from, bytes.size());
            GetParam().encode(bytesAt(in.data() + from), kMostGroups, out.data() + to);
            ASSERT_EQ(text, std::string_view(out.data() + to, text.size())) << from << " " << to;
            text.copy(in.data() + from, text.size());
            ASSERT_EQ(kMostGroups,
                      GetParam().decode(in.data() + from, kMostGroups, out.data() + to));
            ASSERT_EQ(bytes, std::string_view(out.data() + to, bytes.size())) << from << " " << to;
        }
}

TEST_P(Base64Forms, DecodingStopsAtTheGroupOfABadCharacter) {
    const std::string bytes = randomBytes(3 * kMostGroups, 10);
    const std::string text = encodedBy(tqa::base64Forms().back(), bytes);
    for (std::size_t at = 0; at < text.size(); ++at)
        for (int c = 0; c < 256; ++c) {
            if (kBase64Alphabet.find(static_cast<char>(c)) != std::string_view::npos) continue;
            std::string damaged = text;
            damaged[at] = static_cast<char>(c);
            ASSERT_EQ(bytes.substr(0, at / 4 * 3), decodedBy(GetParam(), damaged))
                << c << " at " << at;
        }
}

TEST_P(Base64Forms, RandomTextsAreDecodedAsByThePlainOne) {
    const Base64Form plain = tqa::base64Forms().back();
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 200, 'A');
        for (char& c : text) c = kBase64Alphabet[random() % 64];
        for (auto bad = random() % 3; bad > 0 && !text.empty(); --bad)
            text[random() % text.size()] = static_cast<char>(random());
        ASSERT_EQ(decodedBy(plain, text), decodedBy(GetParam(), text)) << text;
    }
}

TEST_P(Base64Forms, DecodeATextIntoItself) {
    const std::string bytes = randomBytes(3 * kMostGroups, 12);
    std::string text = encodedBy(GetParam(), bytes);
    ASSERT_EQ(kMostGroups, GetParam().decode(text.data(), kMostGroups, text.data()));
    EXPECT_EQ(bytes, text.substr(0, bytes.size()));
}

INSTANTIATE_TEST_SUITE_P(OfThisProcessor, Base64Forms,
                         testing::ValuesIn(tqa::base64Forms().begin(), tqa::base64Forms().end()),
                         [](const auto& form) { return std::string(form.param.name); });

TEST(Base64Forms, ThePlainOneIsAlwaysThereAndLast) {
    ASSERT_FALSE(tqa::base64Forms().empty());
    EXPECT_EQ("plain", std::string(tqa::base64Forms().back().name));
    EXPECT_EQ(tqa::base64Forms().front().name, tqa::bestBase64Form().name);
}

}  // namespace
