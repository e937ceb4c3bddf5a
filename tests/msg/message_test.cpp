#include "tqamsg/msg/message.h"

#include "tqamsg/util/c_text.h"

#include "tests/support/fake_message.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::copyOf;
using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;
using tqa_test::text;

// --- sharing ------------------------------------------------------------------------------------

TEST(Message, StartsUnshared) {
    const FakePtr message = fake("(packet)");
    EXPECT_EQ(message->counter(), 1);
    EXPECT_FALSE(message->multiReference());
}

TEST(Message, SharesItsContentWithACopy) {
    const FakePtr first = fake("(packet (origin \"vem\"))");
    const FakePtr second = copyOf(*first);
    EXPECT_EQ(first->tree, second->tree);
    EXPECT_EQ(first->counter(), 2);
    EXPECT_EQ(second->counter(), 2);
    EXPECT_TRUE(first->multiReference());
    EXPECT_TRUE(second->multiReference());
}

TEST(Message, CopiesAlikeWhateverTheArgumentSays) {
    const FakePtr first = fake("(packet)");
    const FakePtr deep(static_cast<FakeMessage*>(first->copy(true)));
    EXPECT_EQ(deep->tree, first->tree);
    EXPECT_EQ(first->counter(), 2);
}

TEST(Message, IsUnsharedAgainWhenItsCopyEnds) {
    const FakePtr first = fake("(packet)");
    copyOf(*first);
    EXPECT_EQ(first->counter(), 1);
    EXPECT_FALSE(first->multiReference());
    EXPECT_EQ(text(*first), "(packet)");
}

TEST(Message, LeavesItsContentToItsCopiesWhenItEnds) {
    FakePtr first = fake("(packet)");
    FakePtr second = copyOf(*first);
    const int before = FakeMessage::releases;
    first.reset();
    EXPECT_EQ(FakeMessage::releases, before + 1);
    EXPECT_EQ(text(*second), "(packet)");
    second.reset();
    EXPECT_EQ(FakeMessage::releases, before + 1) << "the last one ends with its content";
}

TEST(Message, CopiesTheAccessListToo) {
    const FakePtr first = fake("(packet)");
    first->auth.addVE(4);
    const FakePtr second = copyOf(*first);
    EXPECT_TRUE(second->auth.checkAccess(4));
    EXPECT_FALSE(second->auth.checkAccess(5));
    EXPECT_TRUE(second->auth.isChanged());
}

TEST(Message, HasNoCopyWithoutACounter) {
    const FakePtr message = fake("(packet)");
    message->loseCounter();
    EXPECT_EQ(message->copy(false), nullptr);
    EXPECT_FALSE(message->multiReference());
}

TEST(Message, CanEndWithoutACounter) {
    const int before = FakeMessage::alive;
    auto* message = new FakeMessage;
    message->loseCounter();
    EXPECT_EQ(message->destroy(), 0);
    EXPECT_EQ(FakeMessage::alive, before);
}

TEST(Message, HasNoCopyWhenNoMessageCanBeMade) {
    const FakePtr message = fake("(packet)");
    message->failNewMessage = true;
    EXPECT_EQ(message->copy(false), nullptr);
    EXPECT_EQ(message->counter(), 1);
}

// Its copies refuse to take over a content.
class Loner : public FakeMessage {
  public:
    TQAMessage* newMessage() override {
        auto* made = new FakeMessage;
        made->failAssignInternals = true;
        return made;
    }
};

TEST(Message, EndsACopyThatCannotShare) {
    const int before = FakeMessage::alive;
    const FakePtr message(new Loner);
    EXPECT_EQ(message->copy(false), nullptr);
    EXPECT_EQ(FakeMessage::alive, before + 1);
    EXPECT_EQ(message->counter(), 1);
}

// --- a content of one's own ---------------------------------------------------------------------

TEST(Message, GetsAContentOfItsOwnFromHardcopy) {
    const FakePtr first = fake("(packet)");
    const FakePtr second = copyOf(*first);
    const FakePtr third = copyOf(*first);
    EXPECT_EQ(third->hardcopy(), 0);
    EXPECT_NE(third->tree, first->tree);
    EXPECT_EQ(text(*third), "(packet)");
    EXPECT_EQ(third->counter(), 1);
    EXPECT_EQ(first->counter(), 2);
}

TEST(Message, AFailedHardcopyLeavesTheCounterOneLower) {
    const FakePtr first = fake("(packet)");
    const FakePtr second = copyOf(*first);
    const FakePtr third = copyOf(*first);
    second->failCopyInternals = true;
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(first->counter(), 2);
    EXPECT_TRUE(first->multiReference());
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(third->counter(), 1);
    EXPECT_FALSE(third->multiReference());
}

TEST(Message, HardcopyOfAMessageWithoutContentFails) {
    const FakePtr empty(new FakeMessage);
    EXPECT_EQ(empty->hardcopy(), -1);
    EXPECT_EQ(empty->counter(), 0);
}

TEST(Message, HardcopyWorksWithoutACounter) {
    const FakePtr message = fake("(packet)");
    const auto shared = message->tree;
    message->loseCounter();
    EXPECT_EQ(message->hardcopy(), 0);
    EXPECT_NE(message->tree, shared);
    EXPECT_EQ(message->counter(), 1);
}

TEST(Message, GetsItsContentAfterAllOnceItCanBeCopied) {
    const FakePtr first = fake("(packet)");
    const FakePtr second = copyOf(*first);
    second->failCopyInternals = true;
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(second->tree, first->tree);
    second->failCopyInternals = false;
    EXPECT_EQ(second->hardcopy(), 0);
    EXPECT_NE(second->tree, first->tree);
    EXPECT_EQ(second->counter(), 1);
    EXPECT_EQ(text(*first), "(packet)");
}

// Ends three messages with one content in the order given, after `damage`, and looks at those that
// are left each time.
void endInOrder(const std::array<std::size_t, 3>& order, void (*damage)(FakeMessage&)) {
    const int before = FakeMessage::alive;
    std::array<FakePtr, 3> messages{fake("(packet)"), nullptr, nullptr};
    messages[1] = copyOf(*messages[0]);
    messages[2] = copyOf(*messages[1]);
    const std::weak_ptr<tqa_test::FakeTree> content = messages[0]->tree;
    damage(*messages[1]);
    for (const std::size_t which : order) {
        for (const FakePtr& message : messages) {
            if (message == nullptr) continue;
            EXPECT_EQ(text(*message), "(packet)");
        }
        messages[which].reset();
    }
    EXPECT_EQ(FakeMessage::alive, before);
    EXPECT_TRUE(content.expired());
}

void endInEveryOrder(void (*damage)(FakeMessage&)) {
    std::array<std::size_t, 3> order{0, 1, 2};
    do endInOrder(order, damage);
    while (std::next_permutation(order.begin(), order.end()));
}

TEST(Message, HoldersMayEndInAnyOrder) {
    endInEveryOrder([](FakeMessage&) {});
}

TEST(Message, HoldersMayEndInAnyOrderAfterAHardcopy) {
    endInEveryOrder([](FakeMessage& second) { EXPECT_EQ(second.hardcopy(), 0); });
}

TEST(Message, HoldersMayEndInAnyOrderAfterFailedHardcopies) {
    endInEveryOrder([](FakeMessage& second) {
        second.failCopyInternals = true;
        for (int i = 0; i < 5; ++i) EXPECT_EQ(second.hardcopy(), -1);
    });
}

TEST(Message, CanBeCopiedAfterAFailedHardcopy) {
    endInEveryOrder([](FakeMessage& second) {
        second.failCopyInternals = true;
        EXPECT_EQ(second.hardcopy(), -1);
        const FakePtr fourth = copyOf(second);
        EXPECT_EQ(fourth->tree, second.tree);
        EXPECT_TRUE(fourth->multiReference());
    });
}

// --- bytes and text -----------------------------------------------------------------------------

TEST(Message, PrintsWhatItDecodesByDefault) {
    const FakePtr message = fake("(packet (origin \"vem\") (data))");
    const tqa::CText all(message->toText(nullptr, true, "ignored"));
    EXPECT_STREQ(all.get(), "(packet (origin \"vem\") (data))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("origin"), 0);
    const tqa::CText part(message->toText(&it, false, ""));
    EXPECT_STREQ(part.get(), "(origin \"vem\")");
}

TEST(Message, PrintsNothingWhenItCannotDecode) {
    const FakePtr empty(new FakeMessage);
    EXPECT_EQ(empty->toText(nullptr, false, ""), nullptr);
}

TEST(Message, ReadsTextByEncodingItByDefault) {
    const FakePtr message = fake("(old)");
    std::string whole = "(packet (data))";
    EXPECT_EQ(message->fromText(whole.data(), nullptr), 0);
    EXPECT_EQ(text(*message), "(packet (data))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data"), 0);
    std::string part = "(vem)";
    EXPECT_EQ(message->fromText(part.data(), &it), 0);
    EXPECT_EQ(text(*message), "(packet (data (vem)))");
}

TEST(Message, RefusesTextThatIsNotWholeOrMissing) {
    const FakePtr message = fake("(packet)");
    std::string cut = "(packet (data)";
    EXPECT_EQ(message->fromText(cut.data(), nullptr), -1);
    EXPECT_EQ(message->fromText(nullptr, nullptr), -1);
    EXPECT_EQ(text(*message), "(packet)");
}

// --- saving the access list ---------------------------------------------------------------------

TEST(Message, SavesNothingWhileTheAccessListIsUnchanged) {
    const FakePtr message = fake("(packet)");
    message->writesLeft = 0;
    EXPECT_EQ(message->saveChanges(), 0);
    EXPECT_EQ(text(*message), "(packet)");
}

TEST(Message, SavesAChangedAccessListOnce) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    EXPECT_EQ(message->saveChanges(), 0);
    EXPECT_EQ(message->saveChanges(), 0);
    EXPECT_EQ(text(*message), "(packet (auth (ve_list:types (veid \"4\"))))");
}

TEST(Message, SaysWhenTheAccessListCannotBeSaved) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    message->writesLeft = 0;
    EXPECT_EQ(message->saveChanges(), -1);
    message->writesLeft = -1;
    EXPECT_EQ(message->saveChanges(), 0);
    EXPECT_EQ(text(*message), "(packet (auth (ve_list:types (veid \"4\"))))");
}

TEST(Message, SavesACopiedAccessListIntoTheCopyOnly) {
    const FakePtr first = fake("(packet)");
    first->auth.addVE(4);
    const FakePtr second = copyOf(*first);
    EXPECT_EQ(second->saveChanges(), 0);
    EXPECT_EQ(text(*second), "(packet (auth (ve_list:types (veid \"4\"))))");
    EXPECT_EQ(text(*first), "(packet)");
    EXPECT_EQ(first->counter(), 1);
}

}  // namespace
