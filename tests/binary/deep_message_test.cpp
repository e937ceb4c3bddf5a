// Messages of a million levels. Nothing that handles them may recurse as deep: all of it runs on
// the program's own stack and on one of 256 KiB.

#include "tqamsg/host/id_range_array.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"
#include "tests/support/small_stack_thread.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::bytes;
using tqa_test::copyOf;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::intElement;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::message;
using tqa_test::nested;
using tqa_test::parse;
using tqa_test::text;

constexpr int kLevels = 1000000;

std::string repeated(const std::string& part, int times) {
    std::string all;
    all.reserve(part.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) all += part;
    return all;
}

// As it prints.
std::string deepText(const std::string& inside) {
    return repeated("<data>\n", kLevels) + inside + repeated("</data>\n", kLevels);
}

// Large values are compared without being printed.
void expectSame(const std::string& one, const std::string& other) {
    EXPECT_TRUE(one == other) << one.size() << " and " << other.size() << " bytes";
}

class DeepMessage : public testing::TestWithParam<bool> {
  protected:
    static void run(const std::function<void()>& code) {
        if (GetParam()) {
            tqa_test::onSmallStack(code);
        } else {
            code();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(, DeepMessage, testing::Bool(), [](const auto& stack) {
    return stack.param ? "OnASmallStack" : "OnTheUsualStack";
});

TEST_P(DeepMessage, ParsesAndPrints) {
    run([] {
        const std::string xml = deepText("<veid>5</veid>\n");
        const Message m = parse(xml);
        expectSame(text(m), xml);
        const tqa::CText withNamespaces(m->toText(nullptr, true, "urn:"));
        expectSame(withNamespaces.get(), xml);
    });
}

TEST_P(DeepMessage, ParsesWithAttributesAndSpace) {
    run([] {
        const std::string xml =
            repeated("<data id=\"1\"> ", kLevels) + repeated("</data>\n", kLevels);
        const std::string printed =
            repeated("<data id=\"1\">\n", kLevels) + repeated("</data>\n", kLevels);
        expectSame(text(parse(xml)), printed);
    });
}

TEST_P(DeepMessage, ParsesWithoutEndTags) {
    run([] {
        const std::string xml = repeated("<data>", kLevels) + "<veid>5</veid>";
        expectSame(text(parse(xml)), deepText("<veid>5</veid>\n"));
    });
}

TEST_P(DeepMessage, IsRefusedWhenItsLastElementIsMalformed) {
    run([] {
        std::string xml = repeated("<data>", kLevels) + "<data x>";
        const Message m = tqa_test::emptyMessage();
        EXPECT_EQ(m->fromText(xml.data(), nullptr), -1);
        // The lengths of all that was read are right all the same.
        expectSame(text(m), deepText("<data/>\n"));
    });
}

TEST_P(DeepMessage, KeepsUnknownElementsAsText) {
    run([] {
        const std::string raw = repeated("<zz>", kLevels) + "<data/>" + repeated("</zz>", kLevels);
        expectSame(text(parse(raw)), raw + "\n");
    });
}

TEST_P(DeepMessage, StepsOverIt) {
    run([] {
        std::string xml = repeated("<data>", kLevels) + repeated("</data>", kLevels);
        const Message m = tqa_test::create("packet");
        BinaryPath path;
        path.push_back(tqa::Tag_packet, tqa::kRootOffset);
        char* at = xml.data();
        EXPECT_EQ(m->fromText(at, path, true), 0);
        EXPECT_EQ(at, xml.data() + xml.size());
    });
}

TEST_P(DeepMessage, LoadsAndTravels) {
    run([] {
        const std::string encoded =
            message(nested(tqa::Tag_data, kLevels, intElement(tqa::Tag_veid, 5)));
        const Message m = load(encoded);
        expectSame(bytes(m), encoded);
        expectSame(text(m), deepText("<veid>5</veid>\n"));
    });
}

TEST_P(DeepMessage, IsWalkedDownAndUp) {
    run([] {
        const Message m =
            load(message(nested(tqa::Tag_data, kLevels, intElement(tqa::Tag_veid, 5))));
        const Cursor it = cursor(m);
        int depth = 0;
        while (it->firstChild() == 0) ++depth;
        EXPECT_EQ(depth, kLevels);
        int value = 0;
        EXPECT_EQ(it->getValue(&value, 0), 0);
        EXPECT_EQ(value, 5);
        EXPECT_EQ(it->nextSibling(), -1);
        expectSame(text(it), "<veid>5</veid>\n");
        const Cursor other = copyOf(it);
        EXPECT_EQ(it->seekRoot(), 0);
        EXPECT_EQ(it->curName(), "data");
        for (; depth > 0; --depth) other->seekUp();
        EXPECT_EQ(other->seek("data/data"), 0);
    });
}

TEST_P(DeepMessage, IsFollowedByAPathOfWords) {
    run([] {
        const Message m = load(message(nested(tqa::Tag_data, kLevels)));
        const Cursor it = cursor(m);
        EXPECT_EQ(it->seek(repeated("data/", kLevels - 1)), 0);
        EXPECT_EQ(it->firstChild(), -1);
        EXPECT_EQ(it->seek("/" + repeated("data/", kLevels)), -1);
        EXPECT_EQ(it->firstChild(), -1);
    });
}

TEST_P(DeepMessage, IsChangedAtItsEnd) {
    run([] {
        const Message m = load(message(nested(tqa::Tag_data, kLevels)));
        const Message copy = copyOf(m);
        const Cursor it = cursor(copy);
        while (it->firstChild() == 0) {
        }
        EXPECT_EQ(it->newChild(tqa::Tag_veid, 0), 0);
        EXPECT_EQ(it->putValue(5, 0), 0);
        expectSame(text(copy), deepText("<veid>5</veid>\n"));
        EXPECT_EQ(it->deleteFromChild(), 0);
        EXPECT_EQ(it->deleteFromChild(), 0);
        EXPECT_EQ(it->validateStamp(), 0);
        EXPECT_EQ(bytes(copy).size() + tqa::kEmptyElementSize, bytes(m).size());
    });
}

TEST_P(DeepMessage, IsAppendedToAnother) {
    run([] {
        const Message m = tqa_test::create("packet");
        const Cursor it = cursor(m);
        std::string xml = deepText("");
        EXPECT_EQ(it->fromTextToChild(xml.data()), 0);
        std::string encoded = message(nested(tqa::Tag_data, kLevels));
        EXPECT_EQ(it->encodeToChild(encoded.data(), static_cast<int>(encoded.size())), 0);
        EXPECT_EQ(it->firstChild(), 0);
        EXPECT_EQ(it->nextSibling(), 0);
        expectSame(bytes(it), encoded);
    });
}

TEST_P(DeepMessage, HoldsListsInsideEachOther) {
    run([] {
        const Message m =
            load(message(nested(tqa::Tag_ve_list, kLevels, intElement(tqa::Tag_veid, 5))));
        const Cursor it = cursor(m);
        IDRangeArray ids;
        EXPECT_EQ(it->getVEList(ids, true), 0);
        EXPECT_TRUE(ids.contain(5));
        EXPECT_EQ(it->curName(), "ve_list");
        EXPECT_EQ(it->nextSibling(), -1);
    });
}

TEST_P(DeepMessage, IsAnsweredWithItsCookie) {
    run([] {
        const std::string cookie = "<cookie>\n" + deepText("<veid>5</veid>\n") + "</cookie>\n";
        const Message m = parse("<packet>" + cookie + "</packet>");
        const Message reply(dynamic_cast<TQABinary*>(m->genReply("vem")));
        expectSame(text(reply),
                   "<packet>\n<origin>vem</origin>\n" + cookie + "<data/>\n</packet>\n");
    });
}

}  // namespace
