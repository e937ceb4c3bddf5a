#include "tqamsg/msg/authorization.h"

#include "tqamsg/msg/message_iterator.h"

#include "tests/support/fake_message.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;
using tqa_test::text;

IDRangeArray ids(std::initializer_list<unsigned int> each) {
    IDRangeArray set;
    for (const unsigned int id : each) set.insert(id);
    return set;
}

bool isExactly(const IDRangeArray& set, const IDRangeArray& other) {
    return set.contain(other) && other.contain(set);
}

// A message whose access list is {3, 10-20}.
FakePtr restricted() {
    return fake(
        "(packet (auth (ve_list (veid \"3\")"
        " (ve_range (start_veid \"10\") (end_veid \"20\")))))");
}

FakePtr grantingAll() {
    return fake("(packet (auth (ve_list (veid \"5\") (veid \"0\") (veid \"7\"))))");
}

// Puts an id into the message's first "veid", behind the back of the access list.
void rewrite(FakeMessage& message, const std::string& path, int value) {
    FakeIterator it(&message);
    ASSERT_EQ(it.seek(path), 0);
    ASSERT_EQ(it.putValue(value, 0), 0);
}

// --- checks -------------------------------------------------------------------------------------

TEST(Authorization, AMessageWithoutAListGrantsEverything) {
    const FakePtr message = fake("(packet)");
    EXPECT_TRUE(message->auth.checkAccess(5));
    EXPECT_TRUE(message->auth.checkAccess(1, 1000));
    EXPECT_TRUE(message->auth.checkAccess(ids({1, 2})));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), IDRangeArray()));
    EXPECT_EQ(message->auth.extract(), -1);
    EXPECT_FALSE(message->auth.isChanged());
}

TEST(Authorization, AMessageWithoutContentGrantsEverything) {
    const FakePtr message(new FakeMessage);
    EXPECT_TRUE(message->auth.checkAccess(5));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), IDRangeArray()));
}

TEST(Authorization, GrantsWhatTheListHolds) {
    const FakePtr message = restricted();
    TQAAuthorization& auth = message->auth;
    EXPECT_TRUE(auth.checkAccess(3));
    EXPECT_TRUE(auth.checkAccess(15));
    EXPECT_FALSE(auth.checkAccess(5));
    EXPECT_FALSE(auth.checkAccess(0));
    EXPECT_FALSE(auth.checkAccess(-1));
    EXPECT_TRUE(auth.checkAccess(10, 20));
    EXPECT_FALSE(auth.checkAccess(18, 25));
    EXPECT_FALSE(auth.checkAccess(20, 10));
    EXPECT_TRUE(auth.checkAccess(ids({3, 11})));
    EXPECT_FALSE(auth.checkAccess(ids({3, 5})));
    EXPECT_TRUE(auth.checkAccess(IDRangeArray()));
}

TEST(Authorization, EachCheckReadsTheListFirst) {
    EXPECT_FALSE(restricted()->auth.checkAccess(5));
    EXPECT_FALSE(restricted()->auth.checkAccess(4, 5));
    EXPECT_FALSE(restricted()->auth.checkAccess(ids({5})));
    EXPECT_FALSE(restricted()->auth.checkReadAccess(ids({5})));
    EXPECT_TRUE(restricted()->auth.getAccessList().contain(3));
}

TEST(Authorization, ReadsTheListOnce) {
    const FakePtr message = restricted();
    EXPECT_TRUE(message->auth.checkAccess(3));
    rewrite(*message, "auth/ve_list/veid", 4);
    EXPECT_TRUE(message->auth.checkAccess(3));
    EXPECT_FALSE(message->auth.checkAccess(4));
    EXPECT_EQ(message->auth.extract(), 0);
    EXPECT_FALSE(message->auth.checkAccess(3));
    EXPECT_TRUE(message->auth.checkAccess(4));
}

TEST(Authorization, AListWithZeroGrantsEverything) {
    const FakePtr message = grantingAll();
    TQAAuthorization& auth = message->auth;
    EXPECT_TRUE(auth.checkAccess(6));
    EXPECT_TRUE(auth.checkAccess(1, 1000));
    EXPECT_TRUE(auth.checkAccess(ids({8, 9})));
    EXPECT_TRUE(isExactly(auth.getAccessList(), ids({0})));
}

TEST(Authorization, AMessageThatGrantsAllReadsEverything) {
    EXPECT_TRUE(grantingAll()->auth.checkReadAccess(ids({0})));
}

TEST(Authorization, ReadAccessAsksTheOtherWayRound) {
    const FakePtr message = fake("(packet (auth (ve_list (veid \"3\") (veid \"4\"))))");
    EXPECT_TRUE(message->auth.checkReadAccess(ids({3, 4})));
    EXPECT_TRUE(message->auth.checkReadAccess(ids({2, 3, 4, 5})));
    EXPECT_FALSE(message->auth.checkReadAccess(ids({3})));
    EXPECT_FALSE(message->auth.checkReadAccess(IDRangeArray()));
    EXPECT_TRUE(message->auth.checkReadAccess(ids({0})));
    EXPECT_TRUE(message->auth.checkReadAccess(ids({0, 9})));
}

TEST(Authorization, ReadAccessDoesNotAskWhetherAllIsGranted) {
    EXPECT_FALSE(grantingAll()->auth.checkReadAccess(ids({5, 7})));
    EXPECT_TRUE(fake("(packet)")->auth.checkReadAccess(IDRangeArray()));
}

TEST(Authorization, AMalformedListGrantsTheIdsBeforeTheFault) {
    const FakePtr message = fake(
        "(packet (auth (ve_list (veid \"3\") (ve_range (start_veid \"9\") (end_veid \"4\"))"
        " (ve_range (start_veid \"30\")))))");
    EXPECT_EQ(message->auth.extract(), -1);
    EXPECT_TRUE(message->auth.checkAccess(3));
    EXPECT_FALSE(message->auth.checkAccess(5));
    EXPECT_FALSE(message->auth.checkAccess(30));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), ids({3})));
}

TEST(Authorization, AMalformedListIsReadAgainByEveryCheck) {
    const FakePtr message = fake(
        "(packet (auth (ve_list (veid \"3\") (ve_range (start_veid \"9\")"
        " (end_veid \"4\")))))");
    EXPECT_FALSE(message->auth.checkAccess(9));
    rewrite(*message, "auth/ve_list/veid", 4);
    EXPECT_TRUE(message->auth.checkAccess(4));
    EXPECT_FALSE(message->auth.checkAccess(3));
    rewrite(*message, "auth/ve_list/ve_range/end_veid", 9);
    EXPECT_TRUE(message->auth.checkAccess(9));
}

TEST(Authorization, AnEmptyElementGrantsNothing) {
    const FakePtr message = fake("(packet (auth))");
    EXPECT_FALSE(message->auth.checkAccess(1));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), IDRangeArray()));
    EXPECT_TRUE(message->auth.checkAccess(IDRangeArray()));
}

TEST(Authorization, RefusesWhenTheListCannotBeRead) {
    const FakePtr message = fake("(packet)");
    message->failNewIterator = true;
    EXPECT_EQ(message->auth.extract(), -2);
    EXPECT_FALSE(message->auth.checkAccess(5));
    EXPECT_FALSE(message->auth.checkAccess(5, 6));
    EXPECT_FALSE(message->auth.checkAccess(ids({5})));
    EXPECT_FALSE(message->auth.checkReadAccess(ids({5})));
    EXPECT_TRUE(message->auth.checkReadAccess(ids({0})));
    EXPECT_EQ(message->auth.save(), -1);
}

// --- changes ------------------------------------------------------------------------------------

TEST(Authorization, AddingZeroKeepsEverythingGranted) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(0);
    EXPECT_TRUE(message->auth.isChanged());
    EXPECT_TRUE(message->auth.checkAccess(9));
    EXPECT_TRUE(message->auth.getAccessList().contain(0));
}

TEST(Authorization, AddingAnyOtherIdEndsIt) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    EXPECT_TRUE(message->auth.checkAccess(4));
    EXPECT_FALSE(message->auth.checkAccess(9));
    EXPECT_TRUE(message->auth.isChanged());
}

TEST(Authorization, AddingAnIdToAListWithZeroEndsItAllTheSame) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(0);
    message->auth.addVE(4);
    EXPECT_FALSE(message->auth.checkAccess(9));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), ids({0, 4})));
}

TEST(Authorization, AddingAListEndsIt) {
    const FakePtr message = fake("(packet)");
    message->auth.addVEList(ids({4, 5}));
    EXPECT_TRUE(message->auth.isChanged());
    EXPECT_TRUE(message->auth.checkAccess(4, 5));
    EXPECT_FALSE(message->auth.checkAccess(9));
}

TEST(Authorization, AddingAListKeepsEverythingGrantedWhereAZeroIs) {
    const FakePtr withZero = fake("(packet)");
    withZero->auth.addVEList(ids({0, 4}));
    EXPECT_TRUE(withZero->auth.checkAccess(9));
    const FakePtr zeroBefore = fake("(packet)");
    zeroBefore->auth.addVE(0);
    zeroBefore->auth.addVEList(ids({4}));
    EXPECT_TRUE(zeroBefore->auth.checkAccess(9));
}

TEST(Authorization, AddingAnEmptyListToAFreshOneGrantsNothing) {
    const FakePtr message = fake("(packet)");
    message->auth.addVEList(IDRangeArray());
    EXPECT_FALSE(message->auth.checkAccess(9));
    EXPECT_TRUE(message->auth.isChanged());
}

TEST(Authorization, AZeroDoesNotGrantAgainWhatWasRestricted) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    message->auth.addVE(0);
    message->auth.addVEList(ids({0}));
    EXPECT_FALSE(message->auth.checkAccess(9));
}

TEST(Authorization, MayBeAddedToItself) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    message->auth.addVEList(message->auth.getAccessList());
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), ids({4})));
}

TEST(Authorization, AddingDoesNotReadTheMessagesListFirst) {
    const FakePtr message = restricted();
    message->auth.addVE(4);
    // The first check reads the message's list in place of what was added.
    EXPECT_FALSE(message->auth.checkAccess(4));
    EXPECT_TRUE(message->auth.checkAccess(3));
    EXPECT_TRUE(message->auth.isChanged());
}

TEST(Authorization, AddingAfterACheckAddsToTheMessagesList) {
    const FakePtr message = restricted();
    ASSERT_TRUE(message->auth.checkAccess(3));
    message->auth.addVE(4);
    EXPECT_TRUE(message->auth.checkAccess(3, 4));
    EXPECT_TRUE(message->auth.checkAccess(10, 20));
}

TEST(Authorization, ResetMakesItFresh) {
    const FakePtr message = fake("(packet)");
    message->auth.addVE(4);
    message->auth.reset();
    EXPECT_FALSE(message->auth.isChanged());
    EXPECT_TRUE(message->auth.checkAccess(9));
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), IDRangeArray()));
}

TEST(Authorization, ResetMakesTheNextCheckReadAgain) {
    const FakePtr message = restricted();
    ASSERT_TRUE(message->auth.checkAccess(3));
    rewrite(*message, "auth/ve_list/veid", 4);
    message->auth.reset();
    EXPECT_TRUE(message->auth.checkAccess(4));
    EXPECT_FALSE(message->auth.checkAccess(3));
}

TEST(Authorization, AssignmentTakesListAndStateButNotTheOwner) {
    const FakePtr from = fake("(packet)");
    const FakePtr to = fake("(packet (origin \"vem\"))");
    from->auth.addVE(4);
    to->auth = from->auth;
    EXPECT_TRUE(to->auth.isChanged());
    EXPECT_FALSE(to->auth.checkAccess(9));
    EXPECT_EQ(to->auth.save(), 0);
    EXPECT_EQ(text(*to), "(packet (origin \"vem\") (auth (ve_list:types (veid \"4\"))))");
    EXPECT_EQ(text(*from), "(packet)");
    EXPECT_TRUE(from->auth.isChanged());
}

TEST(Authorization, AssignmentTakesWhetherTheListWasRead) {
    const FakePtr from = restricted();
    const FakePtr to = fake("(packet (auth (ve_list (veid \"4\"))))");
    ASSERT_TRUE(from->auth.checkAccess(3));
    to->auth = from->auth;
    EXPECT_TRUE(to->auth.checkAccess(3));
    EXPECT_FALSE(to->auth.checkAccess(4));
}

// --- saving -------------------------------------------------------------------------------------

TEST(Authorization, SavesIntoANewElement) {
    const FakePtr message = fake("(packet (data))");
    IDRangeArray list = ids({4});
    list.insert(10, 20);
    message->auth.addVEList(list);
    EXPECT_EQ(message->auth.save(), 0);
    EXPECT_FALSE(message->auth.isChanged());
    EXPECT_EQ(text(*message),
              "(packet (data) (auth (ve_list:types (veid \"4\")"
              " (ve_range (start_veid \"10\") (end_veid \"20\")))))");
    EXPECT_TRUE(isExactly(message->auth.getAccessList(), list));
}

TEST(Authorization, SavesBehindAnEarlierListWhichStillCounts) {
    const FakePtr message = fake("(packet (auth (ve_list (veid \"3\"))))");
    ASSERT_TRUE(message->auth.checkAccess(3));
    message->auth.addVE(4);
    EXPECT_EQ(message->auth.save(), 0);
    EXPECT_EQ(text(*message),
              "(packet (auth (ve_list (veid \"3\"))"
              " (ve_list:types (ve_range (start_veid \"3\") (end_veid \"4\")))))");
    EXPECT_TRUE(message->auth.checkAccess(4));
    EXPECT_EQ(message->auth.extract(), 0);
    EXPECT_FALSE(message->auth.checkAccess(4));
}

TEST(Authorization, StaysChangedWhenItCannotBeSaved) {
    // The element, the list, the id and its value.
    for (int writes = 0; writes < 4; ++writes) {
        const FakePtr message = fake("(packet)");
        message->auth.addVE(4);
        message->writesLeft = writes;
        EXPECT_EQ(message->auth.save(), -1) << writes;
        EXPECT_TRUE(message->auth.isChanged()) << writes;
    }
}

TEST(Authorization, SavingAFreshListWritesAnEmptyOne) {
    const FakePtr message = fake("(packet)");
    EXPECT_EQ(message->auth.save(), 0);
    EXPECT_EQ(text(*message), "(packet (auth (ve_list:types)))");
}

}  // namespace
