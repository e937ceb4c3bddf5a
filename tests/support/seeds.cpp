#include "tests/support/seeds.h"

#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/golden.h"
#include "tests/support/messages.h"

#include <random>

namespace tqa_test {

namespace {

using namespace std::string_literals;
using tqa::Kind;

constexpr std::size_t kMostGoldenBytes = 512;

class Maker {
  public:
    explicit Maker(unsigned seed) : random_(seed) {}

    std::string packet() {
        std::string children = attribute();
        for (int count = 2 + below(4); count > 0; --count) children += any(3);
        return message(container(tqa::Tag_packet, children));
    }

  private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    int tag() { return tqa::kFirstTagId + below(tqa::kTagCount); }
    int ns() { return below(4) == 0 ? tqa::Ns_types : 0; }

    std::string text() {
        static const char* const kPieces[] = {"a", "7", " ", "&lt;", "\n", "long text", "\xC3\xA4"};
        std::string out;
        for (int pieces = below(4); pieces > 0; --pieces) out += kPieces[below(7)];
        return out;
    }

    std::string attribute() {
        const int id = tqa::kFirstAttributeId + below(tqa::kAttributeCount);
        if (below(2) == 0) return intElement(id, below(1000));
        return element(id, Kind::Untyped, text() + '\0');
    }

    std::string any(int levels) {
        switch (below(levels > 0 ? 14 : 10)) {
            case 0:
                return intElement(tag(), static_cast<std::int32_t>(random_()));
            case 1:
                return element(tag(), Kind::LongLong, number(static_cast<std::int64_t>(random_())));
            case 2:
                return element(tag(), Kind::Double, number(below(1000) / 8.0), ns());
            case 3:
                return element(tag(), Kind::Base64, "\0\1\xFF"s + text() + '\0');
            case 4:
                return element(tag(), Kind::Time, "2005-06-07T08:09:10+0200\0"s);
            case 5:
                return element(0, Kind::Unparsed, "<zz>" + text() + "</zz>" + '\0');
            case 6:
                return element(0, Kind::Unparsed,
                               message(container(tag(), intElement(tag(), below(100)))));
            case 7:
                return element(tag(), Kind::Untyped, "", ns());
            case 8:
                return stringElement(tag(), text());
            case 9:
                return element(tag(), Kind::Untyped, text() + '\0', ns());
            default:
                return node(levels);
        }
    }

    std::string node(int levels) {
        std::string children = below(3) == 0 ? attribute() : "";
        for (int count = below(4); count > 0; --count) children += any(levels - 1);
        std::string made = container(tag(), children, ns());
        // Blank text that gave way leaves up to three bytes in the length.
        tqa::writeLength(made.data(), static_cast<int>(children.size()) + below(4));
        return made;
    }

    std::mt19937 random_;
};

}  // namespace

std::vector<Seed> seedMessages() {
    std::vector<Seed> seeds;
    for (unsigned seed = 0; seed < kGeneratedSeeds; ++seed) {
        const std::string encoded = Maker(seed).packet();
        seeds.push_back({"seed " + std::to_string(seed), encoded, text(load(encoded))});
    }
    for (const Golden& each : allGolden()) {
        if (each.encoded.size() > kMostGoldenBytes) continue;
        seeds.push_back({each.name, each.encoded, each.printed});
    }
    return seeds;
}

}  // namespace tqa_test
