// Messages built from start to end, beside bytes put together by hand. The bytes are the script.

#include "tqamsg/binary/builder.h"

#include "tqamsg/binary/verify.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <vector>

#include <gtest/gtest.h>

using namespace tqa_test;
using tqa::Kind;

namespace {

// The open elements with the bytes of what is in them; what is complete is in the first.
class PlainBuilder {
  public:
    void open(int id, int ns) { open_.push_back({id, ns, {}}); }
    void close() {
        const Open done = open_.back();
        open_.pop_back();
        const bool isRoot = open_.empty();
        const Kind kind = isRoot || !done.inside.empty() ? Kind::Container : Kind::Untyped;
        const std::string bytes = element(done.id, kind, done.inside, done.ns);
        if (isRoot) {
            root_ = bytes;
        } else {
            add(bytes);
        }
    }
    void add(const std::string& bytes) { open_.back().inside += bytes; }

    bool isOpen() const { return !open_.empty(); }
    std::string whole() const { return message(root_); }

  private:
    struct Open {
        int id;
        int ns;
        std::string inside;
    };
    std::vector<Open> open_;
    std::string root_;
};

std::string someText(tqa_fuzz::Numbers& numbers) {
    std::string text(numbers() % 24, '\0');
    for (char& c : text) c = static_cast<char>(numbers());
    return text;
}

// Appends the same element to both.
void put(tqa::Builder& builder, PlainBuilder& plain, std::uint32_t what,
         tqa_fuzz::Numbers& numbers) {
    const int id = tqa::Tag_veid + static_cast<int>(numbers() % 16);
    const auto wide = static_cast<long long>(numbers()) << (numbers() % 32);
    const std::string text = someText(numbers);
    switch (what) {
        case 0:
            builder.put(id, static_cast<int>(wide));
            return plain.add(intElement(id, static_cast<int>(wide)));
        case 1:
            builder.put(id, wide);
            return plain.add(element(id, Kind::LongLong, number(wide)));
        case 2:
            builder.put(id, static_cast<double>(wide) / 7);
            return plain.add(element(id, Kind::Double, number(static_cast<double>(wide) / 7)));
        case 3:
            builder.putBase64(id, text);
            return plain.add(element(id, Kind::Base64, text + '\0'));
        case 4:
            builder.putRaw("<" + text);
            return plain.add(element(0, Kind::Unparsed, "<" + text + '\0'));
        case 5:
            builder.putFlag(id, !text.empty());
            return plain.add(stringElement(id, text.empty() ? "off" : "on"));
        case 6: {
            const Block copied(container(id, stringElement(id, text)));
            builder.put(tqa::ElementView::find(copied.data(), copied.data() + copied.size()));
            return plain.add(std::string(copied.data(), static_cast<std::size_t>(copied.size())));
        }
        default:
            builder.put(id, text);
            return plain.add(stringElement(id, text));
    }
}

}  // namespace

TQA_TARGET(builder) {
    tqa_fuzz::Numbers numbers(input);
    tqa::Builder builder;
    PlainBuilder plain;
    builder.open(tqa::Tag_packet);
    plain.open(tqa::Tag_packet, 0);
    while (!numbers.atEnd() && plain.isOpen()) {
        const std::uint32_t what = numbers() % 16;
        if (what < 3) {
            const int ns = numbers() % 2 == 0 ? 0 : tqa::Ns_types + 0;
            builder.open(tqa::Tag_data, ns);
            plain.open(tqa::Tag_data, ns);
        } else if (what < 7) {
            builder.close();
            plain.close();
        } else {
            put(builder, plain, what - 7, numbers);
        }
    }
    while (plain.isOpen()) plain.close();
    builder.closeAll();
    const Message built(dynamic_cast<TQABinary*>(builder.finish()));
    ASSERT_NE(built, nullptr);
    const std::string encoded = bytes(built);
    EXPECT_EQ(hex(encoded), hex(plain.whole()));
    EXPECT_EQ(tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr), 0);
}
