// Base64 both ways, beside the same rules written down plainly.

#include "tqamsg/util/base64.h"

#include "tqamsg/util/base64_forms.h"

#include "fuzz/support.h"
#include "fuzz/target.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

static int valueOf(char c) {
    static const std::string kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t place = kAlphabet.find(c);
    return place == std::string::npos ? -1 : static_cast<int>(place);
}

// The bytes of a text; nothing when it is invalid.
static std::optional<std::string> plainDecode(std::string_view text) {
    const bool tolerant = text.find('\r') != std::string_view::npos;
    std::string kept;
    for (const char c : text) {
        if (!tolerant || (c != '\r' && c != '\n')) kept += c;
    }
    std::string out;
    for (std::size_t group = 0; group < kept.size(); group += 4) {
        int bits = 0;
        for (std::size_t place = 0; place < 4; ++place) {
            if (group + place == kept.size())
                return place == 1 && !tolerant ? std::nullopt : std::optional(out);
            const char c = kept[group + place];
            if (c == '=' && place >= 2) return out;
            if (valueOf(c) < 0) return {};
            bits = bits << 6 | valueOf(c);
            if (place > 0) out += static_cast<char>(bits >> (6 - 2 * place) & 0xFF);
        }
    }
    return out;
}

// Every form that this processor has does what the plain one does.
static void inEveryForm(std::string_view input) {
    const std::size_t bytes = input.size() / 3;
    const std::size_t texts = input.size() / 4;
    std::string text(4 * bytes, 'x');
    std::string decoded(3 * texts, 'x');
    const tqa_test::Block exactBytes(input.substr(0, 3 * bytes));
    const tqa_test::Block exactText(input.substr(0, 4 * texts));
    const auto* const from = reinterpret_cast<const unsigned char*>(exactBytes.data());
    tqa::base64EncodePlain(from, bytes, text.data());
    const std::size_t done = tqa::base64DecodePlain(exactText.data(), texts, decoded.data());
    for (const tqa::Base64Form& form : tqa::base64Forms()) {
        const tqa_test::Block otherText(std::string(text.size(), 'y'));
        form.encode(from, bytes, otherText.data());
        EXPECT_EQ(std::string_view(otherText.data(), text.size()), text) << form.name;
        const tqa_test::Block otherBytes(std::string(decoded.size(), 'y'));
        EXPECT_EQ(form.decode(exactText.data(), texts, otherBytes.data()), done) << form.name;
        EXPECT_EQ(std::string_view(otherBytes.data(), 3 * done), decoded.substr(0, 3 * done));
    }
}

TQA_TARGET(base64) {
    inEveryForm(input);
    const std::string bytes(input);
    EXPECT_EQ(plainDecode(Base64::encode(bytes)), bytes);
    EXPECT_EQ(Base64::decode(Base64::encode(bytes)), bytes);

    const tqa_test::Block text(input);
    const std::optional<std::string> expected = plainDecode(input);
    std::string out = "untouched";
    EXPECT_EQ(Base64::decode(text.data(), text.size(), &out), expected ? 0 : -1);
    EXPECT_EQ(out, expected.value_or("untouched"));
    EXPECT_EQ(Base64::decode(bytes), expected.value_or(""));

    // Into room of its own size, more of it and less; every byte is written.
    const tqa_fuzz::Quiet quiet;
    for (const std::size_t room :
         {std::size_t{0}, std::size_t{1}, input.size() / 4 * 3, input.size()}) {
        const tqa_test::Block buffer(std::string(room, 'x'));
        EXPECT_EQ(Base64::decode(text.data(), text.size(), buffer.data(), buffer.size()),
                  buffer.data());
        if (expected && expected->size() >= room && input.find('\r') == std::string_view::npos) {
            EXPECT_EQ(std::string_view(buffer.data(), room),
                      std::string_view(*expected).substr(0, room));
        }
    }
}
