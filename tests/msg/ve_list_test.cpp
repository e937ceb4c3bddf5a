#include "tqamsg/host/id_range_array.h"
#include "tqamsg/msg/message_iterator.h"

#include "tests/support/fake_message.h"
#include "tests/support/small_stack_thread.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;
using tqa_test::text;

constexpr bool kNoCheck = false;
constexpr int kDenied = -2;

std::string ranges(const IDRangeArray& ids) {
    std::string out;
    for (auto range = ids.begin_range(); range != ids.end(); ++range) {
        const auto [first, last] = *range;
        out += (out.empty() ? "" : " ") + std::to_string(first);
        if (first != last) out += "-" + std::to_string(last);
    }
    return out;
}

IDRangeArray idsAndRange() {
    IDRangeArray ids;
    ids.insert(5);
    ids.insert(10, 20);
    return ids;
}

std::string veid(const std::string& id) {
    return "(veid \"" + id + "\")";
}

std::string veRange(const std::string& first, const std::string& last) {
    return "(ve_range (start_veid \"" + first + "\") (end_veid \"" + last + "\"))";
}

// --- one id -------------------------------------------------------------------------------------

TEST(VeId, IsReadByName) {
    const FakePtr message = fake("(data (veid \"7\"))");
    FakeIterator it(message.get());
    int id = 0;
    EXPECT_EQ(it.getVE(&id, "veid"), 0);
    EXPECT_EQ(id, 7);
    EXPECT_EQ(it.where(), "/data");
}

TEST(VeId, IsMissing) {
    const FakePtr message = fake("(data)");
    int id = 3;
    EXPECT_EQ(FakeIterator(message.get()).getVE(&id, "veid"), -1);
    EXPECT_EQ(id, 3);
}

TEST(VeId, IsStoredEvenWhenDenied) {
    const FakePtr message = fake("(packet (auth (ve_list (veid \"4\"))) (veid \"7\"))");
    int id = 0;
    EXPECT_EQ(FakeIterator(message.get()).getVE(&id, "veid"), kDenied);
    EXPECT_EQ(id, 7);
}

TEST(VeId, IsWrittenAsVeidWhateverTheName) {
    const FakePtr message = fake("(data)");
    FakeIterator it(message.get());
    EXPECT_EQ(it.putVE(7, "veid", false), 0);
    EXPECT_EQ(it.putVE(8, "vem", false), 0);
    EXPECT_EQ(it.putVE(9, nullptr, false), 0);
    EXPECT_EQ(it.where(), "/data");
    EXPECT_EQ(text(*message), "(data (veid \"7\") (veid \"8\") (veid \"9\"))");
    EXPECT_FALSE(message->auth.isChanged());
}

TEST(VeId, MayBeAddedToTheAccessList) {
    const FakePtr message = fake("(data)");
    EXPECT_EQ(FakeIterator(message.get()).putVE(7, "veid", true), 0);
    EXPECT_TRUE(message->auth.isChanged());
    EXPECT_TRUE(message->auth.checkAccess(7));
    EXPECT_FALSE(message->auth.checkAccess(8));
}

TEST(VeId, SaysWhenItCannotBeWritten) {
    for (const int writes : {0, 1}) {
        const FakePtr message = fake("(data)");
        message->writesLeft = writes;
        EXPECT_EQ(FakeIterator(message.get()).putVE(7, "veid", false), -1) << writes;
    }
}

// --- lists: writing -----------------------------------------------------------------------------

TEST(VeList, WritesIdsAndRangesInAscendingOrder) {
    const FakePtr message = fake("(data)");
    FakeIterator it(message.get());
    EXPECT_EQ(it.putVEList(idsAndRange(), false), 0);
    EXPECT_EQ(it.where(), "/data");
    EXPECT_EQ(text(*message),
              "(data (ve_list:types (veid \"5\")"
              " (ve_range (start_veid \"10\") (end_veid \"20\"))))");
    EXPECT_FALSE(message->auth.isChanged());
}

TEST(VeList, WritesAnEmptyList) {
    const FakePtr message = fake("(data)");
    EXPECT_EQ(FakeIterator(message.get()).putVEList(IDRangeArray(), false), 0);
    EXPECT_EQ(text(*message), "(data (ve_list:types))");
}

TEST(VeList, MayBeAddedToTheAccessList) {
    const FakePtr message = fake("(data)");
    EXPECT_EQ(FakeIterator(message.get()).putVEList(idsAndRange(), true), 0);
    EXPECT_TRUE(message->auth.isChanged());
    EXPECT_TRUE(message->auth.checkAccess(10, 20));
    EXPECT_FALSE(message->auth.checkAccess(6));
}

TEST(VeList, FailsAtTheFirstWriteThatFails) {
    // The list, the id with its value, the range with its bounds.
    for (int writes = 0; writes < 6; ++writes) {
        const FakePtr message = fake("(data)");
        message->writesLeft = writes;
        EXPECT_EQ(FakeIterator(message.get()).putVEList(idsAndRange(), true), -1) << writes;
        EXPECT_FALSE(message->auth.isChanged());
    }
    const FakePtr message = fake("(data)");
    message->writesLeft = 6;
    EXPECT_EQ(FakeIterator(message.get()).putVEList(idsAndRange(), true), 0);
}

TEST(VeList, IsReadAsItWasWritten) {
    IDRangeArray ids = idsAndRange();
    ids.insert(0);
    ids.insert(100, std::numeric_limits<int>::max());
    const FakePtr message = fake("(data)");
    FakeIterator it(message.get());
    ASSERT_EQ(it.putVEList(ids, false), 0);
    IDRangeArray read;
    EXPECT_EQ(it.getVEList(read, kNoCheck), 0);
    EXPECT_EQ(ranges(read), "0 5 10-20 100-2147483647");
}

// --- lists: reading -----------------------------------------------------------------------------

TEST(VeList, ReadsEveryShape) {
    const struct {
        const char* what;
        std::string data;  // below the current element
        int result;
        const char* ids;
        const char* where;  // the iterator stands afterwards
    } rows[] = {
        {"nothing", "", -1, "", "/data"},
        {"an empty list", "(ve_list)", -1, "", "/data"},
        {"something else", "(ve_list (vem \"5\"))", -1, "", "/data"},
        {"single ids", veid("5") + veid("7"), 0, "5 7", "/data"},
        {"single ids among others", "(vem)" + veid("5") + "(vem)" + veid("7"), 0, "5 7", "/data"},
        {"ranges without a list", veRange("1", "3"), -1, "", "/data"},
        {"single ids; ranges are not looked for", veid("9") + veRange("1", "3"), 0, "9", "/data"},
        {"ids in a list", "(ve_list " + veid("5") + veid("7") + ")", 0, "5 7", "/data"},
        {"ranges in a list", "(ve_list " + veRange("1", "3") + veRange("8", "9") + ")", 0,
         "1-3 8-9", "/data"},
        {"a mix", "(ve_list " + veRange("1", "3") + veid("5") + veRange("8", "9") + veid("7") + ")",
         0, "1-3 5 7-9", "/data"},
        {"a list hides the ids beside it", veid("4") + "(ve_list " + veid("5") + ")", 0, "5",
         "/data"},
        {"the first of two lists", "(ve_list " + veid("5") + ") (ve_list " + veid("6") + ")", 0,
         "5", "/data"},
        {"a list in a list", "(ve_list (ve_list " + veid("5") + "))", 0, "5", "/data"},
        {"an inner list hides the outer ids",
         "(ve_list " + veid("4") + "(ve_list " + veid("5") + "))", 0, "5", "/data"},
        {"the outer ranges come too",
         "(ve_list " + veRange("1", "2") + "(ve_list " + veRange("8", "9") + veid("5") + "))", 0,
         "1-2 5 8-9", "/data"},
        {"outer ranges around an empty list", "(ve_list (ve_list)" + veRange("1", "2") + ")", 0,
         "1-2", "/data"},
        {"no start", "(ve_list (ve_range (end_veid \"7\")))", 0, "1-7", "/data"},
        {"no end", "(ve_list (ve_range (start_veid \"7\")))", 0, "7-2147483647", "/data"},
        {"neither", "(ve_list (ve_range))", -1, "", "/data"},
        {"neither to be read", "(ve_list (ve_range (start_veid (vem)) (end_veid)))", -1, "",
         "/data"},
        {"one id as a range", "(ve_list " + veRange("5", "5") + ")", 0, "5", "/data"},
        {"a reversed range", "(ve_list " + veRange("9", "3") + ")", -1, "", "/data"},
        {"a negative start holds no id", "(ve_list " + veRange("-1", "3") + ")", 0, "", "/data"},
        {"a bad range behind good ones",
         "(ve_list " + veid("5") + veRange("1", "2") + veRange("9", "3") + veRange("11", "12") +
             ")",
         -1, "1-2 5", "/data"},
        {"an unreadable id", veid("5") + "(veid)" + veid("7"), -1, "5", "/data/veid[1]"},
        {"an unreadable id in a list", "(ve_list " + veid("5") + "(veid (vem)))", -1, "5",
         "/data/ve_list[0]"},
        {"an unreadable id before ranges", "(ve_list (veid)" + veRange("1", "2") + ")", -1, "",
         "/data/ve_list[0]"},
    };
    for (const auto& row : rows) {
        const FakePtr message = fake("(data " + row.data + ")");
        FakeIterator it(message.get());
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, kNoCheck), row.result) << row.what;
        EXPECT_EQ(ranges(ids), row.ids) << row.what;
        EXPECT_EQ(it.where(), row.where) << row.what;
    }
}

TEST(VeList, AddsToWhatWasThere) {
    const FakePtr message = fake("(data (veid \"5\"))");
    IDRangeArray ids;
    ids.insert(3);
    EXPECT_EQ(FakeIterator(message.get()).getVEList(ids, kNoCheck), 0);
    EXPECT_EQ(ranges(ids), "3 5");
}

TEST(VeList, ReadsOnlyWhatTheAccessListAllows) {
    const struct {
        const char* what;
        std::string data;
        int result;
        const char* ids;
        const char* where;
    } rows[] = {
        {"allowed ids", veid("4") + veid("12"), 0, "4 12", "/packet/data[1]"},
        {"an allowed list", "(ve_list " + veid("4") + veRange("10", "20") + ")", 0, "4 10-20",
         "/packet/data[1]"},
        {"a denied id", veid("4") + veid("5") + veid("10"), kDenied, "4",
         "/packet/data[1]/veid[1]"},
        {"a denied id in a list", "(ve_list " + veid("4") + veid("5") + veRange("10", "11") + ")",
         kDenied, "4", "/packet/data[1]/ve_list[0]"},
        {"a denied id in an inner list",
         "(ve_list " + veRange("10", "11") + "(ve_list " + veid("5") + veRange("12", "13") + "))",
         kDenied, "", "/packet/data[1]/ve_list[0]"},
        {"a range partly denied", "(ve_list " + veRange("10", "11") + veRange("18", "25") + ")",
         kDenied, "10-11", "/packet/data[1]"},
        {"a denied range in an inner list",
         "(ve_list " + veRange("10", "11") + "(ve_list " + veid("4") + veRange("18", "25") + "))",
         kDenied, "4", "/packet/data[1]"},
        {"an open range", "(ve_list (ve_range (start_veid \"10\")))", kDenied, "",
         "/packet/data[1]"},
    };
    for (const auto& row : rows) {
        const FakePtr message = fake(
            "(packet (auth (ve_list (veid \"4\") (ve_range (start_veid \"10\")"
            " (end_veid \"20\")))) (data " +
            row.data + "))");
        FakeIterator it(message.get());
        ASSERT_EQ(it.seek("data"), 0);
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, true), row.result) << row.what;
        EXPECT_EQ(ranges(ids), row.ids) << row.what;
        EXPECT_EQ(it.where(), row.where) << row.what;
    }
}

TEST(VeList, ReadsWhatTheAccessListDeniesWhenUnchecked) {
    const FakePtr message =
        fake("(packet (auth (ve_list (veid \"4\"))) (data (ve_list (veid \"5\"))))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data"), 0);
    IDRangeArray ids;
    EXPECT_EQ(it.getVEList(ids, kNoCheck), 0);
    EXPECT_EQ(ranges(ids), "5");
}

TEST(VeList, ReadsEverythingWhenNothingIsDenied) {
    const FakePtr message = fake("(packet (data (ve_list (veid \"5\"))))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data"), 0);
    IDRangeArray ids;
    EXPECT_EQ(it.getVEList(ids, true), 0);
    EXPECT_EQ(ranges(ids), "5");
}

// --- deep lists ---------------------------------------------------------------------------------

// `depth` lists inside each other, the innermost around `content`.
std::string nestedLists(std::size_t depth, const std::string& content) {
    std::string lists = "(data ";
    for (std::size_t i = 0; i < depth; ++i) lists += "(ve_list ";
    return lists + content + std::string(depth + 1, ')');
}

constexpr std::size_t kDepth = 100000;

TEST(DeepVeList, IsReadOnASmallStack) {
    const FakePtr message = fake(nestedLists(kDepth, veid("5") + veRange("7", "9")));
    tqa_test::onSmallStack([&] {
        FakeIterator it(message.get());
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, kNoCheck), 0);
        EXPECT_EQ(ranges(ids), "5 7-9");
        EXPECT_EQ(it.where(), "/data");
    });
}

TEST(DeepVeList, LeavesTheOutermostListWhenAnIdIsDenied) {
    const FakePtr message = fake(nestedLists(kDepth, veid("5")));
    message->auth.addVE(4);
    tqa_test::onSmallStack([&] {
        FakeIterator it(message.get());
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, true), kDenied);
        EXPECT_EQ(it.where(), "/data/ve_list[0]");
    });
}

TEST(DeepVeList, LeavesTheOutermostListWhenAnIdIsUnreadable) {
    const FakePtr message = fake(nestedLists(kDepth, "(veid)"));
    tqa_test::onSmallStack([&] {
        FakeIterator it(message.get());
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, kNoCheck), -1);
        EXPECT_EQ(it.where(), "/data/ve_list[0]");
    });
}

TEST(DeepVeList, MayBeEmpty) {
    const FakePtr message = fake(nestedLists(kDepth, ""));
    tqa_test::onSmallStack([&] {
        FakeIterator it(message.get());
        IDRangeArray ids;
        EXPECT_EQ(it.getVEList(ids, kNoCheck), -1);
        EXPECT_EQ(it.where(), "/data");
    });
}

}  // namespace
