// Edits where the message ends, look-ups that go on where the last one ended, and paths that need
// no check: the quick ways give what the long ones give, to the last byte of padding.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa_test::bytes;
using tqa_test::create;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::Message;
using tqa_test::text;

constexpr int kIds[] = {tqa::Tag_data, tqa::Tag_ve,  tqa::Tag_veid, tqa::Tag_list,
                        tqa::Tag_cpu,  tqa::Tag_vem, 1 << 20,       (1 << 20) + 64};
constexpr int kOwnId = 1 << 21;  // from here on: numbers below the root
constexpr const char* kNames[] = {"data", "ve", "veid", "list", "cpu", "vem"};

// The same script on two messages. With `forgetful` the iterators know nothing from one step to
// the next, so that each takes the long way.
class Script {
  public:
    Script(unsigned int seed, bool forgetful)
        : random_(seed), forgetful_(forgetful), message_(create("packet")) {
        for (int i = 0; i < 3; ++i) cursors_.push_back(cursor(message_));
    }

    // One step; what it answered. The first iterator goes anywhere, the others stay on the root,
    // where what the first does can't make them stale, and add what can't make the first so.
    std::string step() {
        read_.clear();
        const std::size_t one = pick(4) == 0 ? pick(3) : 0;
        TQABinaryIterator& it = *cursors_[one];
        if (forgetful_) it.invalidate();
        const std::string answer = std::to_string(one == 0 ? edit(it) : addToRoot(it));
        if (it.curID() == 0) it.seekRoot();
        return answer + " at " + std::to_string(it.curID()) + " " + read_;
    }

    const Message& message() const { return message_; }

  private:
    std::size_t pick(std::size_t n) { return random_() % n; }
    int id() { return kIds[pick(std::size(kIds))]; }

    int edit(TQABinaryIterator& it) {
        const int number = static_cast<int>(pick(1000));
        const std::string text(pick(30), 'x');
        const char* const name = kNames[pick(std::size(kNames))];
        switch (pick(16)) {
            case 0:
            case 1:
                return it.newChild(id(), 0);
            case 2:
                return it.newChild(name, "");
            case 3:
                return it.putValue(number, id());
            case 4:
                return it.putValue(number, name);
            case 5:
                return it.putValue(text, id());
            case 6:
                return it.putValue(text, name);
            case 7:
                return it.putValueLongLong(number, id());
            case 8:
                return it.putValueDouble(number, name);
            case 9:
                return pick(3) == 0 ? it.putValue(text, 0) : it.putValueTime(number, id());
            case 10:
                return it.seek(id());
            case 11:
                return it.seekRoot();
            case 12:
                return pick(2) == 0 ? it.firstChild() : it.nextSibling();
            case 13:
                return it.getValue(&read_, id());
            case 14:
                return it.getValue(&read_, name);
            default:
                return remove(it);
        }
    }

    int addToRoot(TQABinaryIterator& it) {
        const int number = static_cast<int>(pick(1000));
        if (pick(3) == 0) return it.getValue(&read_, id());
        if (pick(2) == 0) return it.putValue(number, kOwnId + static_cast<int>(pick(100)));
        const int status = it.newChild(id(), 0);
        it.seekUp();
        return status;
    }

    int remove(TQABinaryIterator& it) {
        if (pick(3) != 0 || it.curID() == tqa::Tag_packet) return it.seekRoot();
        return it.deleteFromChild();
    }

    std::mt19937 random_;
    bool forgetful_;
    std::string read_;
    Message message_;
    std::vector<Cursor> cursors_;
};

TEST(QuickEdits, GiveTheBytesOfTheLongWay) {
    for (unsigned int seed = 0; seed < 400; ++seed) {
        Script quick(seed, false);
        Script plain(seed, true);
        for (int i = 0; i < 120; ++i) {
            ASSERT_EQ(quick.step(), plain.step()) << "seed " << seed << " step " << i;
            ASSERT_EQ(bytes(quick.message()), bytes(plain.message()))
                << "seed " << seed << " step " << i;
        }
    }
}

// --- what iterators must not miss ---------------------------------------------------------------

TEST(QuickEdits, AnotherIteratorsChildIsFoundBehindOneThatGotSmaller) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    it->putValue(std::string(20, 'x'), tqa::Tag_ve);
    EXPECT_EQ(it->seek(tqa::Tag_veid), -1);
    const Cursor other = cursor(m);
    // The children end where they ended before.
    other->putValue(std::string(3, 'x'), tqa::Tag_ve);
    other->newChild(tqa::Tag_veid, 0);
    EXPECT_EQ(it->seek(tqa::Tag_veid), 0);
}

TEST(QuickEdits, AChildIsFoundBehindOneThatGrew) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    it->newChild(tqa::Tag_ve, 0);
    it->seekUp();
    EXPECT_EQ(it->seek(tqa::Tag_list), -1);
    it->firstChild();
    for (int i = 0; i < 5; ++i) it->putValue(i, tqa::Tag_veid + i);
    it->seekUp();
    it->putValue(7, tqa::Tag_list);
    int value = 0;
    EXPECT_EQ(it->getValue(&value, tqa::Tag_list), 0);
    EXPECT_EQ(value, 7);
}

TEST(QuickEdits, AChildIsFoundThatCameSinceALookUpEndedWhereAnEmptyElementEnds) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    // The look-up for it ends behind a child of 32 bytes.
    it->putValue(std::string(11, 'x'), tqa::Tag_ve);
    it->firstChild();
    it->deleteFromChild();
    // Two children of 16 bytes end there too; the last gets a child where the look-up ended.
    it->newChild(tqa::Tag_veid, 0);
    it->seekUp();
    it->newChild(tqa::Tag_data, 0);
    it->putValue(5, tqa::Tag_list);
    it->seekUp();
    EXPECT_EQ(it->seekPresence(tqa::Tag_veid), 0);
    it->putValue(7, tqa::Tag_veid);
    EXPECT_EQ(text(m), "<packet>\n<veid>7</veid>\n<data>\n<list>5</list>\n</data>\n</packet>\n");
}

TEST(QuickEdits, ManyChildrenAreReplacedNotAddedTwice) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 500; ++i) it->putValue(round * 1000 + i, 5000 + i * 7);
    }
    int count = 0;
    for (int status = it->firstChild(); status == 0; status = it->nextSibling()) {
        int value = 0;
        ASSERT_EQ(it->getValue(&value, 0), 0);
        EXPECT_EQ(value, 2000 + count++);
    }
    EXPECT_EQ(count, 500);
}

TEST(QuickEdits, AnIteratorOnAMessageWithAnotherContentIsNotTakenAtItsWord) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    it->newChild(tqa::Tag_data, 0);
    it->newChild(tqa::Tag_ve, 0);
    const Message other = create("packet");
    ASSERT_EQ(m->assignInternals(other.get()), 0);
    EXPECT_EQ(it->putValue(5, tqa::Tag_veid), -1);
    EXPECT_EQ(bytes(m), bytes(create("packet")));
}

TEST(QuickEdits, AContentAfterAsManyEditsIsNotTakenForTheOneBefore) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    it->newChild(tqa::Tag_data, 0);
    it->newChild(tqa::Tag_ve, 0);
    Message other = create("packet");
    Cursor at = cursor(other);
    EXPECT_EQ(at->putValue(1, tqa::Tag_veid), 0);
    EXPECT_EQ(at->putValue(2, tqa::Tag_list), 0);
    const std::string before = bytes(other);
    ASSERT_EQ(m->assignInternals(other.get()), 0);
    at.reset();
    other.reset();  // the content is the message's own now
    EXPECT_EQ(it->putValue(5, tqa::Tag_veid), -1);
    EXPECT_EQ(bytes(m), before);
}

// Ids that a stranger chose so that they lie in one bucket of a set of as many.
TEST(QuickEdits, IdsThatWereChosenToCollideAreFoundAllTheSame) {
    constexpr int kCount = 500;
    std::unordered_set<std::int32_t> like;
    for (int i = 0; i < kCount; ++i) like.insert(i);
    const int step = static_cast<int>(like.bucket_count());
    std::string children;
    for (int i = 1; i <= kCount; ++i) children += tqa_test::intElement(i * step, i);
    const Message m = tqa_test::load(tqa_test::message(tqa_test::container(1398, children)));
    const Cursor at = cursor(m);
    for (int id = 1001; id < 1005; ++id) {
        EXPECT_EQ(at->putValue(id, id), 0);
        children += tqa_test::intElement(id, id);
    }
    EXPECT_EQ(bytes(m), tqa_test::message(tqa_test::container(1398, children)));
    for (int i = 1; i <= kCount; ++i) {
        int value = 0;
        EXPECT_EQ(at->getValue(&value, i * step), 0);
        EXPECT_EQ(value, i);
    }
}

}  // namespace
