// Cursors read what iterators read, without moving and without owning anything.

#include "tqamsg/cpp/cursor.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;
using Look = tqa::Cursor;

Look lookAt(const Message& message, const std::string& path = "") {
    return Look(*cursorAt(message, path));
}

// --- values -------------------------------------------------------------------------------------

const std::string kValues[] = {
    element(1002, Kind::Untyped),
    element(1002, Kind::Untyped, {"12abc\0", 6}),
    element(1002, Kind::Untyped, {"\0", 1}),
    element(1002, Kind::Untyped, "cut"),
    element(1002, Kind::String),
    stringElement(1002, ""),
    stringElement(1002, "0"),
    stringElement(1002, "false"),
    stringElement(1002, "off"),
    stringElement(1002, "-7"),
    stringElement(1002, "0.5"),
    stringElement(1002, "2005-06-07T08:09:10+0000"),
    intElement(1002, 0),
    intElement(1002, INT_MIN),
    element(1002, Kind::Int, "xx"),
    element(1002, Kind::LongLong, number(LLONG_MAX)),
    element(1002, Kind::Double, number(0.5)),
    element(1002, Kind::Time, {"2005-06-07T08:09:10+0000\0", 25}),
    element(1002, Kind::Base64, {"\1\0\2\0", 4}),
    element(1002, Kind::Unparsed, {"<x/>\0", 5}),
    element(1002, Kind::Unparsed),
    element(1002, static_cast<Kind>(77), "abcd"),
    container(1002, intElement(1003, 5)),
};

// What the iterator's reader says of the child 1002.
template <class T>
std::optional<T> read(const Message& message, int (TQABinaryIterator::*reader)(T*, int)) {
    T value{};
    if (((*cursor(message)).*reader)(&value, 1002) != 0) return std::nullopt;
    return value;
}

TEST(Cursor, ReadsAsTheIteratorDoes) {
    using It = TQABinaryIterator;
    for (const std::string& value : kValues) {
        const Message m = load(message(container(1398, value)));
        const Look at = lookAt(m);
        const std::string what = tree(m);
        EXPECT_EQ(at.get<int>(1002), read<int>(m, &It::getValue)) << what;
        EXPECT_EQ(at.get<long long>(1002), read<long long>(m, &It::getValueLongLong)) << what;
        EXPECT_EQ(at.get<double>(1002), read<double>(m, &It::getValueDouble)) << what;
        EXPECT_EQ(at.get<bool>(1002), read<bool>(m, &It::getValue)) << what;
        EXPECT_EQ(at.get<std::string>(1002), read<std::string>(m, &It::getValue)) << what;
        EXPECT_EQ(at.child(1002).time(), read<long>(m, &It::getValueTime)) << what;
        EXPECT_EQ(at.child(1002).base64(), read<std::string>(m, &It::getValueBase64)) << what;
        EXPECT_EQ(at.child(1002).raw(), read<std::string>(m, &It::getValueXML)) << what;
    }
}

TEST(Cursor, ATextWithoutACopyIsWhatIsStoredAsText) {
    const struct {
        std::string value;
        std::optional<std::string_view> text;
    } cases[] = {{element(1002, Kind::Untyped), ""},
                 {element(1002, Kind::Untyped, {"a\0b\0", 4}), "a"},
                 {stringElement(1002, "vem"), "vem"},
                 {stringElement(1002, ""), ""},
                 {element(1002, Kind::String), std::nullopt},
                 {intElement(1002, 5), std::nullopt},
                 {element(1002, Kind::Base64, {"abc\0", 4}), std::nullopt}};
    for (const auto& each : cases) {
        const Message m = load(message(container(1398, each.value)));
        EXPECT_EQ(lookAt(m).get<std::string_view>(1002), each.text) << tree(m);
    }
    const Message m = load(message(container(1398, stringElement(1002, "vem"))));
    const Look at = lookAt(m);
    const std::string_view text = *at.get<std::string_view>(1002);
    EXPECT_GE(text.data(), at.element().begin());
    EXPECT_LT(text.data(), at.element().end());
}

TEST(Cursor, AnIntegerThatDoesNotFitTheTypeIsNone) {
    const Message m =
        load(message(container(1398, element(1002, Kind::LongLong, number(4294967296LL)) +
                                         intElement(1003, -1) + intElement(1004, 255))));
    const Look at = lookAt(m);
    EXPECT_EQ(at.get<long>(1002), 4294967296L);
    EXPECT_EQ(at.get<unsigned>(1002), std::nullopt);
    EXPECT_EQ(at.get<unsigned>(1003), std::nullopt);
    EXPECT_EQ(at.get<short>(1003), -1);
    EXPECT_EQ(at.get<unsigned char>(1004), 255);
    EXPECT_EQ(at.get<signed char>(1004), std::nullopt);
}

// --- elements -----------------------------------------------------------------------------------

const char kPacket[] =
    "<packet id=\"7\"><data><vem><veid>101</veid><veid>102</veid><nonsense/></vem></data></packet>";

TEST(Cursor, TellsAboutItsElement) {
    const Message m =
        load(message(container(1398, element(103, Kind::Int, number(1)) + container(1307, "", 245) +
                                         element(5555, Kind::Double))));
    const Look root = lookAt(m);
    EXPECT_EQ(root.name(), "packet");
    EXPECT_EQ(root.id(), 1398);
    EXPECT_EQ(root.kind(), Kind::Container);
    EXPECT_EQ(root.ns(), 0);
    EXPECT_EQ(root.child(tqa::Name::attribute("priority")).name(), "priority");
    EXPECT_EQ(root.child("data").ns(), 245);
    EXPECT_EQ(root.child(5555).name(), "");
    EXPECT_EQ(root.child(5555).kind(), Kind::Double);
}

TEST(Cursor, FollowsPaths) {
    const Message m = parse(kPacket);
    const Look root = lookAt(m);
    EXPECT_EQ(root.at("data/vem/veid").get<int>(), 101);
    EXPECT_EQ(root.at("data").at("vem/").get<int>("veid"), 101);
    EXPECT_EQ(root.at("").id(), 1398);
    for (const char* path :
         {"vem", "data/nosuchword", "/data", "data//vem", "data/vem/veid/veid"}) {
        EXPECT_FALSE(root.at(path)) << path;
    }
}

TEST(Cursor, NowhereThereIsNothing) {
    const Message m = parse(kPacket);
    for (const Look& at :
         {Look(), lookAt(m).child("nosuchword"), lookAt(m).child(0), lookAt(m).at("data/src")}) {
        EXPECT_FALSE(at);
        EXPECT_EQ(at.id(), 0);
        EXPECT_EQ(at.ns(), 0);
        EXPECT_EQ(at.name(), "");
        EXPECT_EQ(at.kind(), Kind::Untyped);
        EXPECT_FALSE(at.child("data"));
        EXPECT_FALSE(at.at("data/vem"));
        EXPECT_EQ(at.get<int>(), std::nullopt);
        EXPECT_EQ(at.get<std::string_view>(), std::nullopt);
        EXPECT_EQ(at.get<std::string>("data"), std::nullopt);
        EXPECT_EQ(at.time(), std::nullopt);
        EXPECT_EQ(at.raw(), std::nullopt);
        EXPECT_EQ(children(at).begin(), children(at).end());
    }
}

// --- children -----------------------------------------------------------------------------------

std::vector<int> idsOf(const tqa::Children& range) {
    std::vector<int> ids;
    for (const auto child : range) ids.push_back(child.id());
    return ids;
}

TEST(Children, AreAllElementsInOrder) {
    const Message m = parse(kPacket);
    EXPECT_EQ(idsOf(tqa::children(lookAt(m))), (std::vector{102, 1307}));
    EXPECT_EQ(idsOf(tqa::children(lookAt(m, "data/vem"))),
              (std::vector<int>{tqa::Tag_veid, tqa::Tag_veid, 0}));
    EXPECT_EQ(idsOf(tqa::children(lookAt(m, "data/vem/veid"))), std::vector<int>());
}

TEST(Children, OfOneNameAreThoseAlone) {
    const Message m = parse(kPacket);
    std::vector<int> veids;
    for (const auto veid : tqa::children(lookAt(m, "data/vem"), "veid")) {
        veids.push_back(*veid.get<int>());
    }
    EXPECT_EQ(veids, (std::vector{101, 102}));
    EXPECT_EQ(idsOf(tqa::children(lookAt(m, "data/vem"), "vem")), std::vector<int>());
}

// The raw element beside the veids has the id 0, as every unknown word has.
TEST(Children, OfAnUnknownNameAreNone) {
    const Message m = parse(kPacket);
    EXPECT_EQ(idsOf(tqa::children(lookAt(m, "data/vem"), "nosuchword")), std::vector<int>());
    EXPECT_EQ(idsOf(tqa::children(lookAt(m, "data/vem"), 0)), std::vector<int>());
    EXPECT_FALSE(lookAt(m, "data/vem").child("nosuchword"));
}

TEST(Children, AreARangeForTheAlgorithms) {
    static_assert(std::forward_iterator<tqa::Children::Iterator>);
    const Message m = parse(kPacket);
    const tqa::Children range = tqa::children(lookAt(m, "data/vem"));
    EXPECT_EQ(std::ranges::distance(range), 3);
    const auto found =
        std::ranges::find_if(range, [](auto child) { return child.template get<int>() == 102; });
    ASSERT_NE(found, range.end());
    EXPECT_EQ(std::next(range.begin()), found);
    EXPECT_EQ((*found).name(), "veid");
}

TEST(Children, OfADamagedElementEndWhereItEnds) {
    std::string root = container(1398, intElement(1002, 5) + intElement(1003, 6));
    tqa::store(root.data() + 16 + 24 + 8, std::int32_t{1000000});  // the second one's length
    const Message m = load(message(root));
    EXPECT_EQ(idsOf(tqa::children(lookAt(m))), std::vector{1002});
    EXPECT_FALSE(lookAt(m).child(1003));
}

TEST(Children, TheirPlacesCompare) {
    const Message m = parse(kPacket);
    const tqa::Children range = tqa::children(lookAt(m, "data/vem"));
    tqa::Children::Iterator at = range.begin();
    const tqa::Children::Iterator first = at++;
    EXPECT_EQ(first, range.begin());
    EXPECT_EQ((*first).get<int>(), 101);
    EXPECT_EQ((*at).get<int>(), 102);
    const tqa::Children::Iterator nowhere;
    EXPECT_NE(at, first);
    EXPECT_NE(at, nowhere);
    EXPECT_NE(nowhere, at);
    EXPECT_EQ(nowhere, tqa::Children::Iterator());
}

TEST(Cursor, OnAnIteratorOfAnotherKindStandsNowhere) {
    const FakePtr other = fake("(packet (data))");
    FakeIterator it(other.get());
    EXPECT_FALSE(Look(it));
}

}  // namespace
