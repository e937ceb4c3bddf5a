// Where iterators stand when they are made, and how they notice that their element has moved.

#include "tqamsg/binary/binary_iterator.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

int valueAt(const Cursor& at) {
    int value = -999;
    at->getValue(&value, 0);
    return value;
}

// A root with these integers as children, all different in id or all the same.
Message withChildren(std::initializer_list<std::pair<int, int>> children) {
    std::string bytes;
    for (const auto& [id, value] : children) bytes += intElement(id, value);
    return load(message(container(1398, bytes)));
}

Cursor onChild(const Message& m, int number) {
    Cursor at = cursor(m);
    EXPECT_EQ(at->firstChild(), 0);
    for (int i = 1; i < number; ++i) EXPECT_EQ(at->nextSibling(), 0);
    return at;
}

void deleteChild(const Message& m, int number) {
    ASSERT_EQ(onChild(m, number)->deleteFromChild(), 0);
}

// --- construction -------------------------------------------------------------------------------

TEST(BinaryIterator, StartsOnTheRoot) {
    const Message m = create(7);
    const Cursor at = cursor(m);
    EXPECT_EQ(at->curID(), 7);
    EXPECT_EQ(at->getMessage(), m.get());
    EXPECT_EQ(at->getBinaryMessage(), m.get());
}

TEST(BinaryIterator, StandsNowhereWithoutContent) {
    const Message m = emptyMessage();
    const Cursor at = cursor(m);
    EXPECT_EQ(at->curID(), 0);
    EXPECT_EQ(at->curName(), "");
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(at->nextSibling(), -1);
    EXPECT_EQ(at->nextSibling(1002), -1);
    EXPECT_EQ(at->seek(1002), -1);
    EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->newChild(1002, 0), -1);
    EXPECT_EQ(at->putValue(5, 1002), -1);
    EXPECT_EQ(at->putValue(5, 0), -1);
    EXPECT_EQ(at->deleteFromChild(), -1);
    EXPECT_EQ(at->parseUnknown(), -1);
    std::string value;
    EXPECT_EQ(at->getValue(&value, 0), -1);
    EXPECT_EQ(at->getAttr(&value, 0), -1);
    EXPECT_EQ(at->getValueXML(&value, 0), -1);
}

TEST(BinaryIterator, FindsTheRootOfAMessageThatGotItsContentLater) {
    const Message m = emptyMessage();
    const Cursor at = cursor(m);
    ASSERT_EQ(m->create("packet"), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(at->curName(), "packet");
    EXPECT_EQ(at->putValue(5, tqa::Tag_veid), 0);
    EXPECT_EQ(tree(m), "1398:50(1002:1=05000000)");
}

TEST(BinaryIterator, AMessageWithoutItsRecordHasNoValidPlace) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    m->releaseInternals();
    EXPECT_EQ(at->validateStamp(), -1);
    EXPECT_EQ(at->validateInternals(), -1);
    EXPECT_EQ(at->seekRoot(), -1);
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(at->putValue(5, 1002), -1);
    EXPECT_EQ(cursor(m)->curID(), 0);
}

TEST(BinaryIterator, ACopyStandsWhereTheSourceStandsAndMovesAlone) {
    const Message m = withChildren({{1002, 1}, {1003, 2}, {1004, 3}});
    const Cursor at = onChild(m, 2);
    const Cursor second = copyOf(at);
    const std::unique_ptr<TQAMessageIterator> third(at->newIterator());
    EXPECT_EQ(second->curID(), 1003);
    EXPECT_EQ(third->curName(), "alert");
    ASSERT_EQ(second->nextSibling(), 0);
    ASSERT_EQ(third->seekUp(), 0);
    EXPECT_EQ(at->curID(), 1003);
    EXPECT_EQ(second->curID(), 1004);
    EXPECT_EQ(third->curName(), "packet");
}

TEST(BinaryIterator, OutlivesNoMessageButMayBeDeletedAtAnyTime) {
    const Message m = create("packet");
    Cursor first = cursor(m);
    Cursor second = copyOf(first);
    first.reset();
    EXPECT_EQ(second->newChild(1002, 0), 0);
    second.reset();
    EXPECT_EQ(tree(m), "1398:50(1002:0=)");
}

TEST(BinaryIterator, NamesAreTagWords) {
    const struct {
        int id;
        const char* name;
    } cases[] = {{1398, "packet"}, {1001, "alerts"}, {1874, "objects"}, {0, ""},    {7, ""},
                 {101, ""},        {201, ""},        {1000, ""},        {1875, ""}, {-1, ""}};
    for (const auto& c : cases) {
        const Message m = create(c.id);
        EXPECT_EQ(cursor(m)->curName(), c.name) << c.id;
    }
}

// --- staying valid ------------------------------------------------------------------------------

TEST(Validation, AnIteratorThatDeletedChecksWhatOthersMovedSince) {
    const Message m = parse("<packet><list/><data><ve/></data></packet>");
    const Cursor it = cursorAt(m, "data/ve");
    ASSERT_EQ(it->deleteFromChild(), 0);
    cursorAt(m, "list")->newChild(tqa::Tag_veid, 0);
    const std::string before = bytes(m);
    EXPECT_EQ(it->putValue(5, tqa::Tag_veid), -1);
    EXPECT_EQ(bytes(m), before);
}

TEST(Validation, AnIteratorWhoseWriteGrewTheBufferChecksWhatOthersMovedSince) {
    const Message m = parse("<packet><list/><data/></packet>");
    const Cursor it = cursorAt(m, "data");
    ASSERT_EQ(it->putValue(std::string(9000, 'x'), tqa::Tag_ve), 0);
    cursorAt(m, "list")->newChild(tqa::Tag_veid, 0);
    EXPECT_EQ(it->validateStamp(), -1);
}

TEST(Validation, DeletingAnEarlierSiblingMakesAnIteratorStale) {
    const Message m = withChildren({{1002, 1}, {1003, 2}});
    const Cursor at = onChild(m, 2);
    deleteChild(m, 1);
    EXPECT_EQ(at->validateStamp(), -1);
    EXPECT_EQ(at->validateStamp(), -1);
}

TEST(Validation, ASiblingWithTheSameIdTakesThePlaceOfADeletedOne) {
    const Message m = withChildren({{1002, 1}, {1002, 2}, {1002, 3}});
    const Cursor at = onChild(m, 2);
    deleteChild(m, 1);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(valueAt(at), 3);
}

TEST(Validation, ChangesBehindTheElementDoNotMatter) {
    const Message m = withChildren({{1002, 1}, {1003, 2}, {1004, 3}});
    const Cursor at = onChild(m, 2);
    deleteChild(m, 3);
    EXPECT_EQ(at->validateStamp(), 0);
    ASSERT_EQ(cursor(m)->putValue(std::string(5000, 'x'), 1005), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(valueAt(at), 2);
}

TEST(Validation, TheDeletedElementItselfIsLost) {
    const Message m = withChildren({{1002, 1}, {1003, 2}});
    const Cursor last = onChild(m, 2);
    const Cursor first = onChild(m, 1);
    deleteChild(m, 2);
    EXPECT_EQ(last->validateStamp(), -1);
    EXPECT_EQ(first->validateStamp(), 0);
    deleteChild(m, 1);
    EXPECT_EQ(first->validateStamp(), -1);
}

TEST(Validation, EveryElementOnTheWayIsChecked) {
    const Message m = load(message(container(
        1398, container(1307, intElement(1010, 1) +
                                  container(tqa::Tag_company,
                                            intElement(1002, 2) + intElement(1003, 3))))));
    const Cursor at = cursorAt(m, "data/company/alert");
    const Cursor middle = cursorAt(m, "data/company");
    const Cursor top = cursorAt(m, "data");
    ASSERT_EQ(cursorAt(m, "data/id")->deleteFromChild(), 0);
    EXPECT_EQ(at->validateStamp(), -1);
    EXPECT_EQ(middle->validateStamp(), -1);
    EXPECT_EQ(top->validateStamp(), 0);
}

TEST(Validation, AnotherIdAtTheSamePlaceIsAnotherElement) {
    const Message m = withChildren({{1002, 1}});
    const Cursor at = onChild(m, 1);
    const Cursor root = cursor(m);
    const Block same(message(container(1398, intElement(1002, 7))));
    ASSERT_EQ(m->encode(same.data(), same.size(), nullptr), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(valueAt(at), 7);
    const Block otherChild(message(container(1398, intElement(1003, 7))));
    ASSERT_EQ(m->encode(otherChild.data(), otherChild.size(), nullptr), 0);
    EXPECT_EQ(at->validateStamp(), -1);
    EXPECT_EQ(root->validateStamp(), 0);
    ASSERT_EQ(m->create("data"), 0);
    EXPECT_EQ(root->validateStamp(), -1);
}

TEST(Validation, AnOffsetInsideAnotherElementIsNoElement) {
    // The value looks like the element that was there.
    const Message m =
        load(message(container(1398, element(1003, Kind::Untyped) + intElement(1002, 5))));
    const Cursor at = cursorAt(m, "veid");
    std::string value(28, '\0');
    value.insert(4, intElement(1002, 6));  // at the recorded offset, but inside a value
    const std::string disguise = message(container(1398, element(1003, Kind::Base64, value)));
    ASSERT_EQ(tqa::load<std::int32_t>(disguise.data() + 40), 1002);
    const Block block(disguise);
    ASSERT_EQ(m->encode(block.data(), block.size(), nullptr), 0);
    EXPECT_EQ(at->validateStamp(), -1);
}

// Kept: checkPath().
TEST(Validation, BelowAnElementThatBecameAValueThePathGoesUnchecked) {
    const Message m = load(message(container(1398, container(1307, intElement(1002, 5)))));
    const Cursor at = cursorAt(m, "data/veid");
    const std::string now = message(container(1398, stringElement(1307, "no children here")));
    const Block block(now);
    ASSERT_EQ(m->encode(block.data(), block.size(), nullptr), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(at->curID(), 1002);
    // Nothing can be changed there.
    EXPECT_EQ(at->putValue(6, 0), -1);
    EXPECT_EQ(at->newChild(1002, 0), -1);
    EXPECT_EQ(at->deleteFromChild(), -1);
    EXPECT_EQ(bytes(m), now);
}

TEST(Validation, NothingIsChangedInsideAValueThatLooksLikeAnElement) {
    const std::string raw = element(0, Kind::Unparsed, std::string("<id/>") + '\0');
    const std::string list = container(tqa::Tag_list, raw);
    const Message m = load(message(container(1398, container(1307, list))));
    const Cursor at = cursorAt(m, "data/list");
    const std::string now =
        message(container(1398, element(1307, Kind::Base64, "1234" + list + "5")));
    const Block block(now);
    ASSERT_EQ(m->encode(block.data(), block.size(), nullptr), 0);
    ASSERT_EQ(tree(at), tree(message(list)));
    EXPECT_EQ(at->parseUnknown(), -1);
    EXPECT_EQ(at->putValue(6, 1002), -1);
    EXPECT_EQ(at->newChild(1002, 0), -1);
    EXPECT_EQ(at->deleteFromChild(), -1);
    EXPECT_EQ(bytes(m), now);
}

TEST(Validation, InsertionsThatFitGoUnnoticed) {
    const Message m = load(message(container(1398, container(1307) + intElement(1002, 5))));
    const Cursor at = cursorAt(m, "veid");
    ASSERT_EQ(cursorAt(m, "data")->putValue(6, 1003), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(at->curID(), 1002);
    EXPECT_EQ(valueAt(at), 6);  // what lies there now
    at->invalidate();
    EXPECT_EQ(at->validateStamp(), -1);
}

// Three values, and an iterator on the second. The first becomes longer, and holds the header of a
// text of `length` bytes where the second was: there the iterator stands now.
Cursor insideAValue(const Message& m, int length) {
    Cursor at = cursorAt(m, "type");
    std::string value(64, 'v');
    tqa::writeElementHeader(&value[12], tqa::Tag_type, tqa::kindWord(Kind::String), length);
    EXPECT_EQ(cursor(m)->putValue(value, tqa::Tag_name), 0);
    EXPECT_EQ(tqa::elementOf(*at).length(), length);
    return at;
}

Message threeValues() {
    return parse("<packet><name>0123456</name><type>5</type><veid>7</veid></packet>");
}

TEST(Validation, AnElementOverwrittenThroughAStaleIteratorIsLost) {
    const Message m = threeValues();
    const Cursor stale = insideAValue(m, 72);
    const Cursor value = cursorAt(m, "veid");
    const Cursor parent = cursorAt(m, "veid");
    ASSERT_EQ(stale->putValue(std::string(71, '\xFF'), 0), 0);
    const std::string damaged = bytes(m);
    EXPECT_EQ(value->putValue("x", 0), -1);
    EXPECT_EQ(parent->newChild(tqa::Tag_ve, 0), -1);
    EXPECT_EQ(bytes(m), damaged);
}

TEST(Validation, AnElementCutShortThroughAStaleIteratorIsNotWritten) {
    const Message m = threeValues();
    const Cursor stale = insideAValue(m, 64);
    const Cursor value = cursorAt(m, "name");
    const Cursor parent = cursorAt(m, "name");
    ASSERT_EQ(stale->deleteFromChild(), 0);
    const std::string damaged = bytes(m);
    EXPECT_EQ(value->putValue("x", 0), -1);
    EXPECT_EQ(parent->newChild(tqa::Tag_ve, 0), -1);
    EXPECT_EQ(bytes(m), damaged);
}

TEST(Validation, InvalidateForcesACheck) {
    const Message m = withChildren({{1002, 1}});
    const Cursor at = onChild(m, 1);
    EXPECT_EQ(at->invalidate(), 0);
    EXPECT_EQ(at->validateStamp(), 0);
    EXPECT_EQ(at->curID(), 1002);
}

TEST(Validation, AStaleIteratorFailsInEveryOperationThatChecks) {
    using Operation = int (*)(TQABinaryIterator&);
    static std::string aText;
    static int anInt = 0;
    static long aLong = 0;
    static long long aLongLong = 0;
    static double aDouble = 0;
    const Operation operations[] = {
        [](TQABinaryIterator& at) { return at.seek(1002); },
        [](TQABinaryIterator& at) { return at.seek(0); },
        [](TQABinaryIterator& at) { return at.seek(""); },
        [](TQABinaryIterator& at) { return at.seek("veid"); },
        [](TQABinaryIterator& at) { return at.seekRoot(); },
        [](TQABinaryIterator& at) { return at.firstChild(); },
        [](TQABinaryIterator& at) { return at.firstChild(1002); },
        [](TQABinaryIterator& at) { return at.firstChild("veid"); },
        [](TQABinaryIterator& at) { return at.nextSibling(); },
        [](TQABinaryIterator& at) { return at.nextSibling(0); },
        [](TQABinaryIterator& at) { return at.nextSibling(1002); },
        [](TQABinaryIterator& at) { return at.nextSibling("veid"); },
        [](TQABinaryIterator& at) { return at.newChild(1002, 0); },
        [](TQABinaryIterator& at) { return at.newChild("veid", ""); },
        [](TQABinaryIterator& at) { return at.putValue(1, 1002); },
        [](TQABinaryIterator& at) { return at.putValue(1, 0); },
        [](TQABinaryIterator& at) { return at.putValueXML("<x/>", 0); },
        [](TQABinaryIterator& at) { return at.getValue(&aText, 0); },
        [](TQABinaryIterator& at) { return at.getValue(&anInt, 0); },
        [](TQABinaryIterator& at) { return at.getValueTime(&aLong, 0); },
        [](TQABinaryIterator& at) { return at.getValueLongLong(&aLongLong, 0); },
        [](TQABinaryIterator& at) { return at.getValueDouble(&aDouble, 0); },
        [](TQABinaryIterator& at) { return at.getValueBase64(&aText, 0); },
        [](TQABinaryIterator& at) { return at.getValueXML(&aText, 0); },
        [](TQABinaryIterator& at) { return at.getAttr(&aText, 0); },
        [](TQABinaryIterator& at) { return at.deleteFromChild(); },
        [](TQABinaryIterator& at) { return at.parseUnknown(); },
        [](TQABinaryIterator& at) { return at.validateInternals(); },
        [](TQABinaryIterator& at) {
            const Block block(message(container(1327)));
            return at.encodeToChild(block.data(), block.size());
        },
        [](TQABinaryIterator& at) {
            const Block block(std::string("<data/>") + '\0');
            return at.fromTextToChild(block.data());
        },
    };
    const Message m = withChildren({{1002, 1}, {1003, 2}});
    const Cursor at = onChild(m, 2);
    deleteChild(m, 1);
    const std::string before = bytes(m);
    for (const Operation& operation : operations) {
        EXPECT_EQ(operation(*at), -1) << &operation - operations;
        EXPECT_EQ(at->curID(), 1003);
    }
    EXPECT_EQ(bytes(m), before);
    EXPECT_EQ(at->seek("/"), 0);
    EXPECT_EQ(at->seek("alert"), 0);
    EXPECT_EQ(valueAt(at), 2);
}

TEST(Validation, ACopyOfAStaleIteratorTakesItsPlaceForGood) {
    const Message m = withChildren({{1002, 1}, {1003, 2}, {1004, 3}});
    const Cursor at = onChild(m, 2);
    deleteChild(m, 1);
    ASSERT_EQ(at->validateStamp(), -1);
    const Cursor copy = copyOf(at);
    EXPECT_EQ(copy->validateStamp(), 0);
    EXPECT_EQ(copy->curID(), 1003);
    EXPECT_EQ(valueAt(copy), 3);  // what lies there now
}

// --- findID -------------------------------------------------------------------------------------

TEST(FindID, StepsOverWholeElements) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    const Block children(stringElement(1003, "veid") + intElement(1002, 5) + container(1307) +
                         intElement(1002, 6));
    char* from = children.data();
    char* to = from + children.size();
    char* first = at->findID(1002, from, to);
    ASSERT_EQ(first, from + 24);
    EXPECT_EQ(at->findID(1002, first, to), first);
    EXPECT_EQ(at->findID(1002, first + 24, to), from + 64);
    EXPECT_EQ(at->findID(1307, from, to), from + 48);
    EXPECT_EQ(at->findID(1004, from, to), nullptr);
    EXPECT_EQ(at->findID(1002, to, to), nullptr);
    EXPECT_EQ(at->findID(1002, from, from + 24), nullptr);
}

TEST(FindID, StopsAtAnElementThatDoesNotFit) {
    const Message m = create("packet");
    std::string children = intElement(1003, 5) + intElement(1004, 6) + intElement(1002, 7);
    tqa::writeLength(children.data() + 24, 1000);
    const Block block(children);
    char* to = block.data() + block.size();
    EXPECT_EQ(cursor(m)->findID(1002, block.data(), to), nullptr);
    EXPECT_EQ(cursor(m)->findID(1003, block.data(), to), block.data());
}

// The heap may give a new content the place of one that ended. (A sanitizer's heap waits with
// that.)
TEST(Validation, AReusedBufferIsNotTakenForTheOldOne) {
    const Message m = load(
        message(container(1398, intElement(1002, 1) + intElement(1003, 2) + intElement(1004, 3))));
    Message other = copyOf(m);
    ASSERT_EQ(cursor(m)->putValue(5, 1002), 0);  // a content of its own
    const Cursor sleeper = cursorAt(m, "alert");
    other = copyOf(m);
    ASSERT_EQ(cursorAt(m, "veid")->deleteFromChild(), 0);  // in a second one
    other.reset();                                         // ends the first
    other = copyOf(m);
    ASSERT_EQ(cursor(m)->putValue(5, 1004), 0);  // a third, where the first was
    EXPECT_EQ(sleeper->validateStamp(), -1);
}

}  // namespace
