// Messages and texts that were damaged on the way: cut at every length, wrong in every byte.
// Nothing may be read outside them, nothing may go on without end, and what was loaded all the same
// can be read, printed, changed and sent on like any other message. The sanitizers see what is
// read.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/golden.h"
#include "tests/support/guarded_text.h"
#include "tests/support/messages.h"
#include "tests/support/usage.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using tqa::Kind;
using tqa_test::bytes;
using tqa_test::container;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::element;
using tqa_test::emptyMessage;
using tqa_test::intElement;
using tqa_test::kChanges;
using tqa_test::Message;
using tqa_test::message;
using tqa_test::stringElement;
using tqa_test::text;
using tqa_test::useEverything;
using tqa_test::walk;

void loadAndUse(const std::string& encoded, int variation) {
    if (const Message m = tqa_test::tryLoad(encoded)) useEverything(m, variation);
}

void readAndUse(const std::string& xml, int variation) {
    useEverything(tqa_test::tryRead(xml), variation);
}

// Hands every version of `whole` with one byte changed to `use`: by all values, or by a few.
void changeEachByte(const std::string& whole, std::size_t from, bool all,
                    void (*use)(const std::string&, int)) {
    const std::vector<int> few = {1, 2, 8, 0x10, 0x7F, 0x80, 0xFF};
    for (std::size_t at = from; at < whole.size(); ++at) {
        std::string damaged = whole;
        const int count = all ? 255 : static_cast<int>(few.size());
        for (int i = 0; i < count; ++i) {
            const int flip = all ? i + 1 : few[static_cast<std::size_t>(i)];
            damaged[at] = static_cast<char>(whole[at] ^ flip);
            use(damaged, static_cast<int>(at) + i);
            if (testing::Test::HasFailure())
                FAIL() << at << " ^ " << flip << '\n' << tqa_test::hex(damaged);
        }
    }
}

// A small message with every shape of element.
std::string smallChildren() {
    return stringElement(tqa::Attr_id, "m1") +
           container(tqa::Tag_auth,
                     container(tqa::Tag_ve_list, element(tqa::Tag_veid, Kind::Untyped, "5\0"s))) +
           element(0, Kind::Unparsed, "<vem/>\0"s) + intElement(tqa::Tag_veid, 5);
}

constexpr std::string_view kSmallText =
    "<packet id=\"m1\"><data> <veid>5</veid><zz>&lt;</zz></data><!-- x --><list /></packet>";

// --- bytes --------------------------------------------------------------------------------------

TEST(DamagedBytes, ASoundMessageIsUsedWhole) {
    const Message m = tqa_test::load(message(container(tqa::Tag_packet, smallChildren())));
    EXPECT_EQ(walk(m), 7);
    for (int variation = 0; variation < kChanges; ++variation) useEverything(m, variation);
}

TEST(DamagedBytes, CutMessagesAreRefused) {
    for (const auto& each : tqa_test::allGolden()) {
        for (std::size_t size = 0; size < each.encoded.size(); ++size) {
            const tqa_test::Block exact(each.encoded.substr(0, size));
            const Message m = emptyMessage();
            ASSERT_EQ(m->encode(exact.data(), exact.size(), nullptr), -1) << each.name << size;
        }
    }
}

TEST(DamagedBytes, EveryByteOfASmallMessageMayBeWrong) {
    changeEachByte(message(container(tqa::Tag_packet, smallChildren())), 0, true, loadAndUse);
}

// The buffer ends eight bytes behind this message, so the sanitizer sees what is read there.
TEST(DamagedBytes, NothingIsReadBehindAFullBuffer) {
    const std::string children = smallChildren();
    constexpr std::size_t kPage = 4096;
    const std::size_t room = kPage - 8 - 24 - children.size();
    const std::string filler = stringElement(tqa::Tag_data, std::string(room - 16, 'x'));
    const std::string whole = message(container(tqa::Tag_packet, filler + children));
    ASSERT_EQ(whole.size(), kPage - 8);
    changeEachByte(whole, whole.size() - children.size(), false, loadAndUse);
}

TEST(DamagedBytes, AnyByteOfAnyMessageMayBeWrong) {
    for (const char* name : {"short_request", "typed", "raw_elements", "attributes"}) {
        changeEachByte(tqa_test::golden(name).encoded, 0, false, loadAndUse);
    }
}

// A node around blank text that gave way keeps a length of up to three bytes more than its children
// take. Its element ends where the size rule says, and so does all that is taken from it.
class OddNode : public testing::TestWithParam<int> {
  protected:
    static std::string node(const std::string& children) {
        std::string made = container(tqa::Tag_list, children);
        const auto length = static_cast<int>(children.size()) + GetParam();
        return made.replace(8, 4, tqa_test::number<std::int32_t>(length));
    }
};

INSTANTIATE_TEST_SUITE_P(, OddNode, testing::Range(1, 4));

TEST_P(OddNode, IsAppendedWithoutWhatLiesBehindIt) {
    const tqa_test::Block exact(message(node(intElement(tqa::Tag_veid, 5))));
    const Message m = tqa_test::parse("<packet><data/><vem/></packet>");
    const Cursor it = tqa_test::cursorAt(m, "data");
    EXPECT_EQ(it->encodeToChild(exact.data(), exact.size()), 0);
    EXPECT_EQ(text(m),
              "<packet>\n<data>\n<list>\n<veid>5</veid>\n</list>\n</data>\n<vem/>\n</packet>\n");
}

TEST_P(OddNode, GivesNoTextOfItsNeighbour) {
    const std::string neighbour = element('A' + 'B' * 256 + 'C' * 65536, Kind::Untyped);
    const Message m = tqa_test::load(message(container(tqa::Tag_packet, node("") + neighbour)));
    std::string text = "before";
    EXPECT_EQ(cursor(m)->getAttr(&text, tqa::Tag_list), -1);
    EXPECT_EQ(text, "");
}

TEST_P(OddNode, IsUsedLikeAnyOther) {
    for (const std::string& children : {""s, intElement(tqa::Tag_veid, 5), smallChildren()}) {
        for (int variation = 0; variation < kChanges; ++variation) {
            useEverything(tqa_test::load(message(node(children))), variation);
            useEverything(tqa_test::load(message(container(tqa::Tag_packet, node(children)))),
                          variation);
        }
    }
}

// --- text ---------------------------------------------------------------------------------------

TEST(DamagedText, EveryBeginningOfATextIsReadSafely) {
    for (std::size_t size = 0; size <= kSmallText.size(); ++size) {
        readAndUse(std::string(kSmallText.substr(0, size)), static_cast<int>(size));
    }
    for (const auto& each : tqa_test::allGolden()) {
        for (std::size_t size = 0; size < each.xml.size(); ++size) {
            const tqa_test::GuardedText cut(std::string_view(each.xml).substr(0, size));
            emptyMessage()->fromText(cut.data(), nullptr);
        }
    }
}

TEST(DamagedText, EveryCharacterOfATextMayBeWrong) {
    changeEachByte(std::string(kSmallText), 0, true, readAndUse);
}

TEST(DamagedText, AnyCharacterOfAnyTextMayBeWrong) {
    for (const char* name : {"raw_elements", "foreign", "open_end"}) {
        changeEachByte(tqa_test::golden(name).xml, 0, false, readAndUse);
    }
}

TEST(DamagedText, EveryCharacterMayBeMissing) {
    for (std::size_t at = 0; at < kSmallText.size(); ++at) {
        readAndUse(std::string(kSmallText).erase(at, 1), static_cast<int>(at));
    }
}

TEST(DamagedText, TextBelowAnIteratorMayBeDamaged) {
    const Message m = tqa_test::create("packet");
    for (std::size_t size = 0; size <= kSmallText.size(); ++size) {
        const Cursor it = cursor(m);
        const tqa_test::GuardedText cut(kSmallText.substr(0, size));
        if (it->fromTextToChild(cut.data()) != 0) {
            useEverything(m, static_cast<int>(size));
            ASSERT_EQ(m->create("packet"), 0);
        }
    }
    EXPECT_NE(text(m), "<packet/>\n");
}

}  // namespace
