// Random scripts of edits, the same ones at every run, on a message and on a plain model of it:
// both must give the same results and print alike after every step.

#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa_test::bytes;
using tqa_test::copyOf;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::text;

// --- the model ----------------------------------------------------------------------------------

struct Item {
    enum class Holds { Nothing, PlainText, XmlText, Number, Children };

    int id;
    Holds holds = Holds::Nothing;
    std::string text;
    std::vector<Item> children;
    // Blank text of up to three bytes gave way to children, but its length stayed.
    bool keepsLength = false;

    bool isAttribute() const { return id < tqa::kFirstElementId; }

    bool canHoldChildren() const {
        const bool isBlank = text.find_first_not_of(" \n\t\r") == std::string::npos;
        return holds == Holds::Children || holds == Holds::Nothing ||
               (holds == Holds::XmlText && isBlank);
    }

    Item* child(int wanted) {
        for (Item& each : children) {
            if (each.id == wanted) return &each;
        }
        return nullptr;
    }

    // The results are those of the iterator's operations.
    int add(Item item) {
        if (!canHoldChildren()) return -1;
        keepsLength = keepsLength || (holds == Holds::XmlText && text.size() < 3);
        holds = Holds::Children;
        children.push_back(std::move(item));
        return 0;
    }
    int put(Holds kind, const std::string& value) {
        if (holds == Holds::Children) return -1;
        holds = kind;
        text = value;
        return 0;
    }
    int putChild(int childId, Holds kind, const std::string& value) {
        Item* there = holds == Holds::Children ? child(childId) : nullptr;
        return there != nullptr ? there->put(kind, value) : add({childId, kind, value, {}, false});
    }
};

std::string print(const Item& item);

std::string printValue(const Item& item) {
    if (item.holds == Item::Holds::Children) return "";
    return item.holds == Item::Holds::PlainText ? TQABinary::escape(item.text.c_str()) : item.text;
}

std::string printAttribute(const Item& item) {
    return " " + std::string(tqa::attributeWord(item.id)) + "=\"" + printValue(item) + "\"";
}

std::string print(const Item& item) {
    const std::string word(tqa::tagWord(item.id));
    const bool isEmpty =
        item.holds == Item::Holds::Nothing ||
        (item.holds == Item::Holds::Children && item.children.empty() && !item.keepsLength);
    if (isEmpty) return "<" + word + "/>\n";
    if (item.holds != Item::Holds::Children) {
        return "<" + word + ">" + printValue(item) + "</" + word + ">\n";
    }
    std::string attributes;
    std::string elements;
    for (const Item& child : item.children) {
        if (child.isAttribute()) {
            attributes.insert(0, printAttribute(child));
        } else {
            elements += print(child);
        }
    }
    return "<" + word + attributes + ">\n" + elements + "</" + word + ">\n";
}

// --- the script ---------------------------------------------------------------------------------

class Script {
  public:
    explicit Script(unsigned seed) : random_(seed) {}

    // One random edit of both.
    void step() {
        const std::vector<int> way = randomWay();
        if (chance(10)) share();
        switch (below(9)) {
            case 0:
            case 1:
            case 2:
                return newChild(way);
            case 3:
                return putText(way);
            case 4:
                return putChildText(way);
            case 5:
                return putChildNumber(way);
            case 6:
                return readXml(way);
            case 7:
                return takeBytes(way);
            default:
                return remove(way);
        }
    }

    void expectAlike() const {
        EXPECT_EQ(text(message_), print(model_));
        const std::string encoded = bytes(message_);
        EXPECT_EQ(bytes(load(encoded)), encoded);
        // Whoever shares a content sees nothing of the edits.
        if (other_ != nullptr) {
            EXPECT_EQ(text(other_), otherText_);
        }
    }

  private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool chance(int in) { return below(in) == 0; }

    // Few ids, so that there are siblings with the same one.
    int tag() {
        static const int kTags[] = {tqa::Tag_data, tqa::Tag_vem, tqa::Tag_veid, tqa::Tag_list};
        return kTags[below(4)];
    }
    int anyId() { return chance(4) ? tqa::kFirstAttributeId + below(3) : tag(); }

    // Also long ones, for which the buffer grows.
    std::string randomText() {
        const int length = chance(30) ? below(10000) : below(20);
        std::string out;
        for (int i = 0; i < length; ++i) out += "ab1 <&>\n"[below(8)];
        return out;
    }

    // --- places: the positions among the siblings, from the root down
    // -----------------------------

    std::vector<int> randomWay() {
        std::vector<int> way;
        const Item* at = &model_;
        while (!at->children.empty() && !chance(4)) {
            way.push_back(below(static_cast<int>(at->children.size())));
            at = &at->children[static_cast<std::size_t>(way.back())];
        }
        return way;
    }

    Item& itemAt(const std::vector<int>& way) {
        Item* at = &model_;
        for (const int position : way) at = &at->children[static_cast<std::size_t>(position)];
        return *at;
    }

    Cursor cursorAt(const std::vector<int>& way) const {
        Cursor it = cursor(message_);
        for (int position : way) {
            EXPECT_EQ(it->firstChild(), 0);
            for (; position > 0; --position) EXPECT_EQ(it->nextSibling(), 0);
        }
        return it;
    }

    // --- edits
    // --------------------------------------------------------------------------------------

    void share() {
        other_ = copyOf(message_);
        otherText_ = text(other_);
        if (chance(2)) std::swap(other_, message_);
    }

    void newChild(const std::vector<int>& way) {
        const int id = anyId();
        const Cursor it = cursorAt(way);
        const int parent = it->curID();
        const int expected = itemAt(way).add({id, Item::Holds::Nothing, "", {}, false});
        EXPECT_EQ(it->newChild(id, below(2) * tqa::Ns_types), expected);
        EXPECT_EQ(it->curID(), expected == 0 ? id : parent);
    }

    void putText(const std::vector<int>& way) {
        const std::string value = randomText();
        EXPECT_EQ(cursorAt(way)->putValue(value, 0),
                  itemAt(way).put(Item::Holds::PlainText, value));
    }

    void putChildText(const std::vector<int>& way) {
        const std::string value = randomText();
        const int id = anyId();
        const Cursor it = cursorAt(way);
        EXPECT_EQ(it->putValue(value, id), itemAt(way).putChild(id, Item::Holds::PlainText, value));
        EXPECT_EQ(it->curID(), itemAt(way).id);
    }

    void putChildNumber(const std::vector<int>& way) {
        const int value = below(1000) - 500;
        const int id = anyId();
        const Cursor it = cursorAt(way);
        EXPECT_EQ(it->putValue(value, id),
                  itemAt(way).putChild(id, Item::Holds::Number, std::to_string(value)));
        EXPECT_EQ(it->curID(), itemAt(way).id);
    }

    // <id>blank or other text</id>
    void readXml(const std::vector<int>& way) {
        static const char* const kTexts[] = {"", " ", "\n\n\n\n\n", "  \t  \r  \n  ", "x", "&lt;"};
        const std::string value = kTexts[below(6)];
        const int id = tag();
        const std::string word(tqa::tagWord(id));
        std::string xml = "<" + word + ">" + value + "</" + word + ">";
        EXPECT_EQ(cursorAt(way)->fromTextToChild(xml.data()),
                  itemAt(way).add({id, Item::Holds::XmlText, value, {}, false}));
    }

    // Another element of the message, below this one.
    void takeBytes(const std::vector<int>& way) {
        const std::vector<int> from = randomWay();
        std::string encoded = bytes(cursorAt(from));
        if (encoded.size() > 2000) return;
        const Item item = itemAt(from);
        EXPECT_EQ(cursorAt(way)->encodeToChild(encoded.data(), static_cast<int>(encoded.size())),
                  itemAt(way).add(item));
    }

    void remove(std::vector<int> way) {
        if (way.empty()) return;
        const Cursor it = cursorAt(way);
        EXPECT_EQ(it->deleteFromChild(), 0);
        const int position = way.back();
        way.pop_back();
        Item& parent = itemAt(way);
        EXPECT_EQ(it->curID(), parent.id);
        parent.children.erase(parent.children.begin() + position);
    }

    std::mt19937 random_;
    Item model_{tqa::Tag_packet, Item::Holds::Children, "", {}, false};
    Message message_ = tqa_test::create("packet");
    Message other_;
    std::string otherText_;
};

TEST(RandomEdits, LeaveTheMessageAndTheModelAlike) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Script script(seed);
        for (int i = 0; i < 100; ++i) {
            script.step();
            script.expectAlike();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << i;
        }
    }
}

}  // namespace
