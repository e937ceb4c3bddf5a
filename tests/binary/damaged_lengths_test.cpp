// Every length field of a message damaged in every way: whatever is read or changed afterwards
// stays inside the message, comes to an end, and leaves a message that can be sent.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <climits>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

namespace {

void addToLength(char* element, int delta) {
    tqa::writeLength(element, tqa::load<std::int32_t>(element + 8) + delta);
}

using namespace tqa_test;
using tqa::ElementView;
using tqa::Kind;

// Every kind, with and without payload, nested, and something behind every container.
const std::string kWhole = message(container(
    tqa::Tag_packet,
    intElement(tqa::Attr_priority, 7) +
        element(tqa::Attr_time, Kind::Time, std::string("1970-01-02T00:00:00+0000") + '\0') +
        stringElement(tqa::Tag_origin, "vem") +
        container(tqa::Tag_data,
                  element(tqa::Tag_list, Kind::LongLong, number(5LL)) +
                      container(tqa::Tag_ve, intElement(tqa::Tag_veid, 101)) +
                      element(tqa::Tag_cpu, Kind::Double, number(0.5)) + container(tqa::Tag_net) +
                      element(tqa::Tag_body, Kind::Base64, std::string("\0\1\2\0", 4))) +
        element(0, Kind::Unparsed, std::string("<id>7</id>") + '\0') +
        element(tqa::Tag_cookie, Kind::Untyped) +
        element(tqa::Tag_session, Kind::Untyped, std::string("seven77") + '\0')));
constexpr int kElements = 14;

// The offsets of all elements of a sound message.
std::vector<std::size_t> elementsOf(std::string_view encoded) {
    std::vector<std::size_t> offsets;
    const char* start = encoded.data();
    std::vector<ElementView> open = {
        ElementView::find(start + tqa::kRootOffset, start + encoded.size())};
    while (!open.empty()) {
        const ElementView element = open.back();
        open.pop_back();
        offsets.push_back(static_cast<std::size_t>(element.begin() - start));
        for (auto child = element.firstChild(); child; child = child.next(element.end())) {
            open.push_back(child);
        }
    }
    return offsets;
}

// Hands every version of the message with one damaged length to `use`.
template <class Use>
void damageLengths(const std::string& whole, Use use) {
    for (const std::size_t at : elementsOf(whole)) {
        const auto value = tqa::load<std::int32_t>(whole.data() + at + 8);
        for (const int damaged : {-1, 0, 1, 7, 8, 9, value - 1, value + 1, INT_MAX, INT_MIN}) {
            SCOPED_TRACE("element at " + std::to_string(at) + ", length " +
                         std::to_string(damaged));
            std::string encoded = whole;
            tqa::writeLength(encoded.data() + at, damaged);
            use(encoded);
        }
    }
}

// --- walking ------------------------------------------------------------------------------------

// Moves to the next element in the order of the bytes; false at the end.
bool advance(TQABinaryIterator& at, int* depth) {
    if (at.firstChild() == 0) {
        ++*depth;
        return true;
    }
    for (; *depth > 0; --*depth) {
        if (at.nextSibling() == 0) return true;
        at.seekUp();
    }
    return false;
}

// On an element counted from the root in the order of the bytes.
Cursor onElement(const Message& m, int number) {
    Cursor at = cursor(m);
    int depth = 0;
    for (int i = 0; i < number; ++i) advance(*at, &depth);
    return at;
}

// How many elements can be reached.
int countElements(const Message& m) {
    const Cursor at = cursor(m);
    int count = at->curID() == 0 && at->firstChild() != 0 ? 0 : 1;
    for (int depth = 0; count > 0 && advance(*at, &depth);) ++count;
    return count;
}

// The walk ends, and what can be exported can be framed and loaded again.
void inspect(const Message& m) {
    const std::string exported = bytes(m);
    const auto size = static_cast<int>(exported.size());
    ASSERT_LE(countElements(m), size / tqa::kEmptyElementSize);
    EXPECT_EQ(text(m) == "(no text)", exported.empty());
    if (exported.empty()) return;
    ASSERT_EQ(TQABinary::isComplete(exported.data(), size), size);
    EXPECT_EQ(bytes(load(exported)), exported);
}

// --- reading ------------------------------------------------------------------------------------

// Calls every reader for the child `id`, or for the current element. On an element without payload
// some of them do not come back, so each has an iterator of its own.
void readIn(const Cursor& at, int id) {
    int number = 0;
    long time = 0;
    long long wide = 0;
    double real = 0;
    std::string text;
    copyOf(at)->getValue(&number, id);
    copyOf(at)->getValueLongLong(&wide, id);
    copyOf(at)->getValueDouble(&real, id);
    copyOf(at)->getValueTime(&time, id);
    copyOf(at)->getValue(&text, id);
    copyOf(at)->getValueBase64(&text, id);
    copyOf(at)->getValueXML(&text, id);
    copyOf(at)->getAttr(&text, id);
}

void readEverything(const Message& m) {
    const Cursor at = cursor(m);
    int depth = 0;
    do {
        for (const int id : {0, int{tqa::Attr_priority}, int{tqa::Tag_veid}}) readIn(at, id);
        bytes(at);
        text(at);
    } while (advance(*at, &depth));
    for (const char* path : {"data/ve/veid", "/data/net/", "origin", "data/list/x"}) {
        cursor(m)->seek(path);
    }
    int number = 0;
    long time = 0;
    m->getPriority(&number);
    m->getTime(&time);
    m->getOrigin();
    m->auth.checkAccess(5);
}

// --- changing -----------------------------------------------------------------------------------

using Change = int (*)(TQABinaryIterator&);

const Change kChanges[] = {
    [](TQABinaryIterator& at) { return at.newChild(tqa::Tag_veid, tqa::Ns_types); },
    [](TQABinaryIterator& at) { return at.putValue(5, 0); },
    [](TQABinaryIterator& at) { return at.putValue(std::string("a longer text than any"), 0); },
    [](TQABinaryIterator& at) { return at.putValue(std::string(), 0); },
    [](TQABinaryIterator& at) { return at.putValueLongLong(5, tqa::Tag_veid); },
    [](TQABinaryIterator& at) { return at.putValueBase64(std::string(5000, 'x'), tqa::Tag_cpu); },
    [](TQABinaryIterator& at) { return at.putValue(std::string("x"), std::string("list")); },
    [](TQABinaryIterator& at) { return at.putValueXML("<veid>5</veid>", 0); },
    [](TQABinaryIterator& at) { return at.deleteFromChild(); },
    [](TQABinaryIterator& at) { return at.getMessage()->setTimeout(30); },
    [](TQABinaryIterator& at) {
        const Block block(message(container(tqa::Tag_ve, intElement(tqa::Tag_veid, 5))));
        return at.encodeToChild(block.data(), block.size());
    },
    [](TQABinaryIterator& at) {
        const Block block(std::string("<ve><veid>5</veid></ve>") + '\0');
        return at.fromTextToChild(block.data());
    },
    [](TQABinaryIterator& at) {
        at.getMessage()->auth.addVE(5);  // saved by the export
        return bytes(at).empty() ? -1 : 0;
    },
};

// Every change at every element, each on a fresh message. A copy that shares the content sees
// nothing of it.
void changeEverywhere(const std::string& encoded) {
    const int elements = countElements(load(encoded));
    for (int i = 0; i < elements; ++i) {
        for (const Change& change : kChanges) {
            const Message m = load(encoded);
            const Message witness = copyOf(m);
            change(*onElement(m, i));
            inspect(m);
            EXPECT_EQ(bytes(witness), encoded);
        }
        const Message expanded = load(encoded);
        onElement(expanded, i)->parseUnknown();
        inspect(expanded);
    }
}

bool loads(const std::string& encoded) {
    const Block block(encoded);
    return emptyMessage()->encode(block.data(), block.size(), nullptr) == 0;
}

// --- tests --------------------------------------------------------------------------------------

TEST(DamagedLengths, ASoundMessageIsReadAndChangedWhole) {
    const Message m = load(kWhole);
    EXPECT_EQ(countElements(m), kElements);
    EXPECT_EQ(elementsOf(kWhole).size(), std::size_t{kElements});
    readEverything(m);
    changeEverywhere(kWhole);
}

TEST(DamagedLengths, NoReadLeavesTheMessage) {
    damageLengths(kWhole, [](const std::string& encoded) {
        if (!loads(encoded)) return;
        const Message m = load(encoded);
        readEverything(m);
        inspect(m);
    });
}

TEST(DamagedLengths, NoChangeLeavesTheMessage) {
    damageLengths(kWhole, [](const std::string& encoded) {
        // A shorter root hides what lies behind it; the rest of the bytes is not loaded.
        if (loads(encoded)) changeEverywhere(bytes(load(encoded)));
    });
}

TEST(DamagedLengths, AnElementThatDoesNotFitEndsTheNavigationThere) {
    const std::string whole = message(
        container(tqa::Tag_packet, intElement(tqa::Tag_id, 1) +
                                       container(tqa::Tag_data, intElement(tqa::Tag_veid, 2)) +
                                       intElement(tqa::Tag_cookie, 3)));
    const std::size_t data = 8 + 16 + 24;
    for (const int length : {-1, INT_MIN, INT_MAX, 24 + 32}) {
        std::string encoded = whole;
        tqa::writeLength(encoded.data() + data, length);
        const Message m = load(encoded);
        const Cursor at = cursor(m);
        EXPECT_EQ(at->seek("data"), -1);
        EXPECT_EQ(at->seek("cookie"), -1);
        ASSERT_EQ(at->firstChild(), 0);
        EXPECT_EQ(at->curName(), "id");
        EXPECT_EQ(at->nextSibling(), -1);
        EXPECT_EQ(at->nextSibling("cookie"), -1);
        EXPECT_EQ(text(m), "<packet>\n<id>1</id>\n</packet>\n");
    }
    // A child that does not fit hides the children, not what follows its parent.
    for (const int length : {-1, INT_MIN, INT_MAX, 12}) {
        std::string encoded = whole;
        tqa::writeLength(encoded.data() + data + 16, length);
        const Message m = load(encoded);
        const Cursor at = cursorAt(m, "data");
        EXPECT_EQ(at->firstChild(), -1);
        EXPECT_EQ(at->seek("veid"), -1);
        EXPECT_EQ(at->nextSibling(), 0);
        EXPECT_EQ(text(m),
                  "<packet>\n<id>1</id>\n<data>\n</data>\n<cookie>3</cookie>\n</packet>\n");
    }
}

TEST(DamagedLengths, EveryLevelOfADeepMessageMayLie) {
    std::string levels = nested(tqa::Tag_data, 1000);
    for (std::size_t at = 0; at < levels.size(); at += 16) addToLength(&levels[at], 3);
    EXPECT_EQ(countElements(load(message(levels))), 1000);  // the size rule absorbs so little
    for (std::size_t at = 16; at < levels.size(); at += 16) addToLength(&levels[at], 8);
    const Message m = load(message(levels));
    EXPECT_EQ(countElements(m), 1);
    inspect(m);
}

TEST(DamagedLengths, ARawChildMayHoldADamagedMessage) {
    const std::string inner =
        message(container(tqa::Tag_data, container(tqa::Tag_ve, intElement(tqa::Tag_veid, 5)) +
                                             stringElement(tqa::Tag_list, "x")));
    damageLengths(inner, [](const std::string& encoded) {
        const Message m = load(message(container(
            tqa::Tag_packet, container(tqa::Tag_body, element(0, Kind::Unparsed, encoded)) +
                                 intElement(tqa::Tag_id, 7))));
        cursorAt(m, "body")->parseUnknown();
        readEverything(m);
        inspect(m);
        int behind = 0;
        EXPECT_EQ(cursor(m)->getValue(&behind, tqa::Tag_id), 0);
        EXPECT_EQ(behind, 7);
    });
}

TEST(DamagedLengths, ADamagedMessageMayBeAddedToASoundOne) {
    damageLengths(kWhole, [](const std::string& encoded) {
        const Message m = load(message(container(
            tqa::Tag_packet, element(tqa::Tag_body, Kind::Untyped) + intElement(tqa::Tag_id, 7))));
        const Block block(encoded);
        const bool added = cursorAt(m, "body")->encodeToChild(block.data(), block.size()) == 0;
        EXPECT_EQ(added, loads(encoded));
        readEverything(m);
        inspect(m);
        int behind = 0;
        EXPECT_EQ(cursor(m)->getValue(&behind, tqa::Tag_id), 0);
        EXPECT_EQ(behind, 7);
    });
}

// --- a container whose length says up to four bytes less than its children take ------------------

struct ShortLength : testing::TestWithParam<int> {
    // packet { data { veid=5 }, id=7 } with so much missing from the length of "data"
    static std::string content() {
        std::string data = container(1307, intElement(1002, 5));
        addToLength(data.data(), -GetParam());
        return message(container(1398, data + intElement(1010, 7)));
    }
};

TEST_P(ShortLength, DeletingTheChildrenLosesNothingElse) {
    const Message m = load(content());
    ASSERT_EQ(cursorAt(m, "data/veid")->deleteFromChild(), 0);
    EXPECT_EQ(cursorAt(m, "data")->putValue(6, 1003), 0);
    EXPECT_EQ(tree(m), "1398:50(1307:50(1003:1=06000000) 1010:1=07000000)");
}

TEST_P(ShortLength, IsAddedElsewhereWhole) {
    const Message m = load(content());
    char* encoded = nullptr;
    int length = 0;
    ASSERT_EQ(cursorAt(m, "data")->decodeFromChild(&encoded, &length), 0);
    const tqa::CText owned(encoded);
    const Message other = create("packet");
    ASSERT_EQ(cursor(other)->encodeToChild(encoded, length), 0);
    EXPECT_EQ(tree(other), "1398:50(1307:50(1002:1=05000000))");
}

INSTANTIATE_TEST_SUITE_P(Bytes, ShortLength, testing::Values(1, 2, 3, 4));

}  // namespace
