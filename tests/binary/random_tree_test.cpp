// Random trees of the vocabulary's words, the same ones at every run, against a plain model.

#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/guarded_text.h"
#include "tests/support/messages.h"

#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa_test::bytes;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::parse;
using tqa_test::text;
using tqa_test::tree;

using Attribute = std::pair<std::string, std::string>;

// An element as the text form knows it.
struct Node {
    std::string name;
    std::vector<Attribute> attributes;
    std::vector<Node> children;
    std::string value;
    bool hasValue = false;  // an empty tag has none
    bool isRaw = false;     // then the value is all of it

    bool isPlain() const { return attributes.empty() && children.empty(); }
};

// As the writer prints it.
std::string print(const Node& node) {
    if (node.isRaw) return node.value + "\n";
    std::string out = "<" + node.name;
    for (auto each = node.attributes.rbegin(); each != node.attributes.rend(); ++each) {
        out += " " + each->first + "=\"" + each->second + "\"";
    }
    if (node.isPlain() && !node.hasValue) return out + "/>\n";
    out += ">";
    if (node.isPlain()) {
        out += node.value;
    } else {
        out += "\n";
        for (const Node& child : node.children) out += print(child);
    }
    return out + "</" + node.name + ">\n";
}

class Forest {
  public:
    explicit Forest(unsigned seed) : random_(seed) {}

    Node tree() { return element(0); }

    // As some other writer may put it: white space, comments and prefixes change nothing.
    std::string foreignText(const Node& node) {
        const std::string name = (chance(5) ? "p:" : "") + node.name;
        std::string out = "<" + name;
        if (chance(8)) out += " xmlns:x=\"urn:x\"";
        for (const auto& [word, value] : node.attributes) {
            out += space() + " " + word + "=\"" + value + "\"";
        }
        const bool isEmptyTag = out == "<" + name && node.isPlain() && !node.hasValue;
        if (isEmptyTag) return out + space() + "/>";
        out += space() + ">";
        // No value, and the tag is not an empty one.
        if (node.isPlain() && !node.hasValue) out += "<!-- nothing -->";
        if (node.isPlain()) return out + node.value + "</" + name + ">";
        for (const Node& child : node.children) out += filler() + foreignText(child);
        return out + (node.children.empty() ? space() : filler()) + "</" + name + ">";
    }

  private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool chance(int in) { return below(in) == 0; }

    std::string word() {
        return std::string(tqa::tagWord(tqa::kFirstTagId + below(tqa::kTagCount)));
    }

    std::string value() {
        static const char* const kPieces[] = {"a", "Z",        "7", " ", "\n",   "&lt;",
                                              "&", "\xC3\xA4", ">", "'", "text", "0123456789"};
        std::string out;
        for (int pieces = below(6); pieces > 0; --pieces) out += kPieces[below(12)];
        return out;
    }

    Node element(int depth) {
        Node node;
        node.name = word();
        for (int count = chance(3) ? below(4) : 0; count > 0; --count) {
            const int id = tqa::kFirstAttributeId + below(tqa::kAttributeCount);
            node.attributes.emplace_back(tqa::attributeWord(id), value());
        }
        if (depth < 6 && !chance(3)) {
            for (int count = below(5); count > 0; --count) {
                node.children.push_back(element(depth + 1));
            }
        }
        if (node.isPlain() && !chance(4)) {
            node.hasValue = true;
            node.value = value();
        }
        return node;
    }

    std::string space() {
        static const char* const kSpaces[] = {"", "", " ", "\n", "\t", "\r\n  "};
        return kSpaces[below(6)];
    }
    std::string filler() {
        static const char* const kFillers[] = {"", "<!-- x -->", "<?y z?>", "<!>"};
        return space() + kFillers[below(4)] + space();
    }

    std::mt19937 random_;
};

constexpr unsigned kTrees = 300;

TEST(RandomTree, PrintsAsTheModelDoes) {
    for (unsigned seed = 0; seed < kTrees; ++seed) {
        Forest forest(seed);
        const Node root = forest.tree();
        const std::string xml = forest.foreignText(root);
        ASSERT_EQ(text(parse(xml)), print(root)) << seed << '\n' << xml;
    }
}

TEST(RandomTree, IsStableOverTwoTrips) {
    for (unsigned seed = 0; seed < kTrees; ++seed) {
        const Node root = Forest(seed).tree();
        const Message once = parse(print(root));
        // Attributes print in reverse, so it takes two trips.
        const std::string back = text(parse(text(once)));
        ASSERT_EQ(back, print(root)) << seed;
        ASSERT_EQ(tree(parse(back)), tree(once)) << seed;
    }
}

TEST(RandomTree, IsTheSameAfterItsBytesTravelled) {
    for (unsigned seed = 0; seed < kTrees; ++seed) {
        const Message m = parse(print(Forest(seed).tree()));
        const std::string encoded = bytes(m);
        ASSERT_EQ(TQABinary::isComplete(encoded.data(), static_cast<int>(encoded.size())),
                  static_cast<int>(encoded.size()));
        ASSERT_EQ(bytes(load(encoded)), encoded) << seed;
        ASSERT_EQ(text(load(encoded)), text(m)) << seed;
    }
}

TEST(RandomTree, IsReadInPlaceWithoutAChange) {
    for (unsigned seed = 0; seed < kTrees; ++seed) {
        Forest forest(seed);
        const std::string xml = forest.foreignText(forest.tree());
        const tqa_test::GuardedText guarded(xml);
        ASSERT_EQ(tqa_test::emptyMessage()->fromText(guarded.data(), nullptr), 0) << seed;
        ASSERT_EQ(guarded.data(), xml) << seed;
    }
}

}  // namespace
