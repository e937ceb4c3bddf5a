// Typed values, attributes and subtrees through the binary iterator.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <algorithm>
#include <climits>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

constexpr int kId = tqa::Tag_data;
const std::string kName = "data";

std::string zero(std::string_view text) {
    return std::string(text) + '\0';
}

// packet(id=1, the child)
Message around(std::string_view child) {
    return load(
        message(container(tqa::Tag_packet, intElement(tqa::Tag_id, 1) + std::string(child))));
}

// --- what is read and written -------------------------------------------------------------------

// Also when the children were looked through before.
TEST(IteratorValues, TheElementItselfIsNotItsRawChild) {
    const Message m = load(message(
        container(tqa::Tag_packet, intElement(kId, 5) + element(0, Kind::Unparsed, zero("<x/>")))));
    const Cursor at = cursor(m);
    int number = 0;
    EXPECT_EQ(at->getValue(&number, kId), 0);
    std::string text = "untouched";
    EXPECT_EQ(at->getValueXML(&text, 0), -1);
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(at->curID(), tqa::Tag_packet);
}

TEST(IteratorValues, AnEmptyElementKeepsTheIteratorOnItselfOnce) {
    const Message m = around(element(kId, Kind::Untyped, ""));
    const Cursor at = cursor(m);
    ASSERT_EQ(at->firstChild(kId), 0);
    int number = 0;
    EXPECT_EQ(at->getValue(&number, 0), -1);
    EXPECT_EQ(at->curID(), kId);
    EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->curID(), tqa::Tag_packet);
}

TEST(IteratorValues, AWriteThatExpandsReplacesWhatWasRaw) {
    const Message m = load(message(container(
        tqa::Tag_packet, element(0, Kind::Unparsed, zero("<" + kName + ">old</" + kName + ">")))));
    TQABinaryIterator::Policy = TQABinaryIterator::kExpandRaw;
    const Cursor at = cursor(m);
    TQABinaryIterator::Policy = 0;
    EXPECT_EQ(at->putValue(5, kId), 0);
    EXPECT_EQ(tree(m), tree(load(message(container(tqa::Tag_packet, intElement(kId, 5))))));
}

// --- the readers by kind ------------------------------------------------------------------------

std::string print(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        const bool plain = c > ' ' && c < '\x7F';
        out += plain ? std::string(1, c) : '\\' + std::to_string(static_cast<unsigned char>(c));
    }
    return out + '\'';
}

template <class Number>
std::string print(Number number) {
    return std::to_string(number);
}

// What a reader says: the value, or the status and what it wrote all the same; "^" when the
// iterator does not come back to where it began.
template <class Value, class Read>
std::string outcome(const Cursor& start, Value untouched, Read read) {
    const Cursor at = copyOf(start);
    Value value = untouched;
    const int status = read(*at, &value);
    std::string out = status == 0 ? "" : std::to_string(status);
    if (status == 0 || value != untouched) out += print(value);
    return at->curID() == start->curID() ? out : out + '^';
}

// What the readers say of a child, given by id or by name: int, long long, double, time, string
// and Base64.
template <class Where>
std::string readAll(const Cursor& at, const Where& child) {
    using It = TQABinaryIterator;
    const std::string text = "untouched";
    return outcome(at, -77, [&](It& it, int* v) { return it.getValue(v, child); }) + "  " +
           outcome(at, -77LL, [&](It& it, auto* v) { return it.getValueLongLong(v, child); }) +
           "  " + outcome(at, -77.0, [&](It& it, auto* v) { return it.getValueDouble(v, child); }) +
           "  " + outcome(at, -77L, [&](It& it, auto* v) { return it.getValueTime(v, child); }) +
           "  " + outcome(at, text, [&](It& it, auto* v) { return it.getValue(v, child); }) + "  " +
           outcome(at, text, [&](It& it, auto* v) { return it.getValueBase64(v, child); });
}

// The two that go by id only: XML and attribute text.
std::string readRest(const Cursor& at, int child) {
    using It = TQABinaryIterator;
    const std::string text = "untouched";
    return outcome(at, text, [&](It& it, auto* v) { return it.getValueXML(v, child); }) + "  " +
           outcome(at, text, [&](It& it, auto* v) { return it.getAttr(v, child); });
}

struct Row {
    Kind kind;
    std::string payload;
    std::string values;  // what readAll() says
    std::string rest;    // what readRest() says
};

// Every reader on every kind; the number 12849 is the bytes "12".
const Row kKinds[] = {
    {Kind::Untyped, zero("1234"), "1234  1234  1234.000000  -1  '1234'  '\\215m\\248'",
     "-1  '1234'"},
    {Kind::Untyped, zero("MTI="), "0  -1  -1  -1  'MTI='  '12'", "-1  'MTI='"},
    {Kind::Untyped, zero("1970-01-02T00:00:00+0000"),
     "1970  1970  1970.000000  86400  '1970-01-02T00:00:00+0000'  -1",
     "-1  '1970-01-02T00:00:00+0000'"},
    {Kind::Int, number(12849), "12849  12849  -1  -1  '12849'  -1", "-1  -1'12'"},
    {Kind::String, zero("1234"), "1234  1234  1234.000000  -1  '1234'  -1", "-1  '1234'"},
    {Kind::String, zero("1970-01-02T00:00:00+0000"),
     "1970  1970  1970.000000  86400  '1970-01-02T00:00:00+0000'  -1",
     "-1  '1970-01-02T00:00:00+0000'"},
    {Kind::LongLong, number(12849LL), "-1  12849  -1  -1  '12849'  -1", "-1  -1'12'"},
    {Kind::Double, number(0.5), "-1  -1  0.500000  -1  '0.500000'  -1", "-1  -1''"},
    {Kind::Base64, zero("1234"), "-1  -1  -1  -1  -1  '1234'", "-1  -1'1234'"},
    {Kind::Time, zero("1970-01-02T00:00:00+0000"), "-1  -1  -1  86400  -1  -1",
     "-1  -1'1970-01-02T00:00:00+0000'"},
    {Kind::Container, intElement(12849, 5), "-1  -1  -1  -1  -1  -1", "-1  -1'12'"},
    {Kind::Unparsed, zero("1234"), "-1  -1  -1  -1  -1  -1", "'1234'  -1'1234'"},
    {Kind{7}, zero("1234"), "-1  -1  -1  -1  -1  -1", "-1  -1'1234'"},
};

// Kept: without a payload most readers by id stay on the child.
const Row kWithoutPayload[] = {
    {Kind::Untyped, "", "-1^  -1^  -1^  -1^  ''  ''", "-1^  ''"},
    {Kind::Int, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::String, "", "-1^  -1^  -1^  -1^  -1^  -1", "-1^  ''"},
    {Kind::LongLong, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::Double, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::Base64, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::Time, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::Container, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind::Unparsed, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
    {Kind{7}, "", "-1^  -1^  -1^  -1^  -1  -1", "-1^  -1''"},
};

// Numbers shorter than their width, texts without their zero byte, and one byte where two belong.
const Row kCutShort[] = {
    {Kind::Untyped, "123", "123  123  123.000000  -1  '123'  '\\215m'", "-1  '123'"},
    {Kind::Untyped, "12345678",
     "12345678  12345678  12345678.000000  -1  '12345678'  "
     "'\\215m\\248\\231\\174\\252'",
     "-1  '12345678'"},
    {Kind::Untyped, zero(""), "0  -2  -2  -1  ''  ''", "-1  ''"},
    {Kind::Untyped, zero("1970-01-02T00:00"), "1970  1970  1970.000000  -1  '1970-01-02T00:00'  -1",
     "-1  '1970-01-02T00:00'"},
    {Kind::Int, "1", "-1  -1  -1  -1  -1  -1", "-1  -1'1'"},
    {Kind::Int, "123", "-1  -1  -1  -1  -1  -1", "-1  -1'123'"},
    {Kind::Int, number(12849LL), "12849  12849  -1  -1  '12849'  -1", "-1  -1'12'"},
    {Kind::String, "1", "1  1  1.000000  -1  '1'  -1", "-1  '1'"},
    {Kind::String, zero(""), "0  -2  -2  -1  ''  -1", "-1  ''"},
    {Kind::LongLong, number(12849), "-1  -1  -1  -1  -1  -1", "-1  -1'12'"},
    {Kind::LongLong, "1234567", "-1  -1  -1  -1  -1  -1", "-1  -1'1234567'"},
    {Kind::Double, "1234567", "-1  -1  -1  -1  -1  -1", "-1  -1'1234567'"},
    {Kind::Base64, "1", "-1  -1  -1  -1  -1  ''", "-1  -1'1'"},
    {Kind::Base64, "12", "-1  -1  -1  -1  -1  '1'", "-1  -1'12'"},
    {Kind::Time, "1970-01-02T00:00:00+0000", "-1  -1  -1  86400  -1  -1",
     "-1  -1'1970-01-02T00:00:00+0000'"},
    {Kind::Time, zero("1970-01-02"), "-1  -1  -1  -1  -1  -1", "-1  -1'1970-01-02'"},
    {Kind::Time, zero(""), "-1  -1  -1  -1  -1  -1", "-1  -1''"},
    {Kind::Unparsed, "12", "-1  -1  -1  -1  -1  -1", "'12'  -1'12'"},
};

std::string withoutMoves(std::string line) {
    line.erase(std::remove(line.begin(), line.end(), '^'), line.end());
    return line;
}

std::string describe(const Row& row) {
    return std::to_string(static_cast<int>(row.kind)) + ' ' + print(row.payload);
}

template <std::size_t N>
void check(const Row (&rows)[N]) {
    for (const Row& row : rows) {
        const Message m = around(element(kId, row.kind, row.payload));
        const Cursor parent = cursor(m);
        EXPECT_EQ(readAll(parent, kId), row.values) << describe(row);
        EXPECT_EQ(readRest(parent, kId), row.rest) << describe(row);
        const Cursor self = cursorAt(m, kName);
        EXPECT_EQ(readAll(self, 0), withoutMoves(row.values)) << describe(row);
        EXPECT_EQ(readRest(self, 0), withoutMoves(row.rest)) << describe(row);
        // By name the iterator comes back whatever happens.
        EXPECT_EQ(readAll(parent, kName), withoutMoves(row.values)) << describe(row);
        EXPECT_EQ(readAll(self, std::string()), withoutMoves(row.values)) << describe(row);
        EXPECT_EQ(readAll(cursorAt(m, "id"), '/' + kName), withoutMoves(row.values));
    }
}

TEST(Readers, TakeTheKindsTheyKnowAndConvert) {
    check(kKinds);
}

TEST(Readers, AnElementWithoutPayloadKeepsTheIteratorOfMostReadersById) {
    check(kWithoutPayload);
}

TEST(Readers, ANumberCutShortIsRefusedAndATextEndsAtItsLength) {
    check(kCutShort);
}

TEST(Readers, AMissingChildIsAnErrorWithoutAMove) {
    const Message m = around("");
    const std::string all = "-1  -1  -1  -1  -1  -1";
    EXPECT_EQ(readAll(cursor(m), kId), all);
    EXPECT_EQ(readRest(cursor(m), kId), "-1  -1");
    EXPECT_EQ(readAll(cursor(m), kName), all);
    EXPECT_EQ(readAll(cursor(m), std::string("no_such_word")), all);
    EXPECT_EQ(readAll(cursorAt(m, "id"), kId), all);
    EXPECT_EQ(readAll(cursorAt(m, "id"), "/id/" + kName), all);
}

TEST(Readers, ReadThroughPathsAndComeBack) {
    const Message m = load(message(nested(tqa::Tag_data, 50, intElement(tqa::Tag_veid, 5))));
    Cursor at = cursor(m);
    while (at->firstChild() == 0) continue;
    int value = 0;
    EXPECT_EQ(at->getValue(&value, "/data/data/veid"), -1);
    ASSERT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->getValue(&value, "veid"), 0);
    EXPECT_EQ(value, 5);
    std::string text;
    EXPECT_EQ(at->getValue(&text, "/data"), -1);
    EXPECT_EQ(at->getValue(&value, "veid"), 0);
    EXPECT_EQ(at->nextSibling(), -1);
    for (int i = 0; i < 49; ++i) at->seekUp();
    EXPECT_EQ(at->curName(), "data");
    at->seekUp();
    EXPECT_EQ(at->curID(), 0);
}

TEST(Readers, NumbersInTextsAreScanned) {
    const struct {
        const char *text, *values;
    } cases[] = {
        {"12abc", "12  12  12.000000"},
        {"abc", "0  -1  -1"},
        {" \t 12", "12  12  12.000000"},
        {"-7", "-7  -7  -7.000000"},
        {"+7", "7  7  7.000000"},
        {"0x10", "0  0  16.000000"},
        {"1.5e3", "1  1  1500.000000"},
        {"   ", "0  -2  -2"},
        {"-", "0  -1  -1"},
        {"2147483647", "2147483647  2147483647  2147483647.000000"},
        {"2147483648", "-2147483648  2147483648  2147483648.000000"},
        {"-9223372036854775808", "0  -9223372036854775808  -9223372036854775808.000000"},
    };
    for (const auto& c : cases) {
        for (const Kind kind : {Kind::Untyped, Kind::String}) {
            const Message m = around(element(kId, kind, zero(c.text)));
            const std::string all = readAll(cursor(m), kId);
            EXPECT_EQ(all.substr(0, std::string(c.values).size() + 2), std::string(c.values) + "  ")
                << c.text;
        }
    }
}

TEST(Readers, IntegersOfEverySizeReadAsNumbersAndTexts) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    std::string text;
    for (const int value : {0, 1, -1, INT_MAX, INT_MIN}) {
        ASSERT_EQ(at->putValue(value, kId), 0);
        long long wide = 77;
        EXPECT_EQ(at->getValueLongLong(&wide, kId), 0);
        EXPECT_EQ(wide, value);  // sign-extended
        EXPECT_EQ(at->getValue(&text, kId), 0);
        EXPECT_EQ(text, std::to_string(value));
    }
    for (const long long value : {0LL, -1LL, LLONG_MAX, LLONG_MIN}) {
        ASSERT_EQ(at->putValueLongLong(value, kId), 0);
        long long read = 77;
        EXPECT_EQ(at->getValueLongLong(&read, kId), 0);
        EXPECT_EQ(read, value);
        EXPECT_EQ(at->getValue(&text, kId), 0);
        EXPECT_EQ(text, std::to_string(value));
    }
}

TEST(Readers, ABooleanIsWhatTheTextSays) {
    const struct {
        std::string child;
        int status;
        bool value;
    } cases[] = {
        {intElement(kId, 0), 0, false},
        {intElement(kId, 2), 0, true},
        {stringElement(kId, ""), 0, false},
        {stringElement(kId, "0"), 0, false},
        {stringElement(kId, "false"), 0, false},
        {stringElement(kId, "False"), 0, true},
        {stringElement(kId, "00"), 0, true},
        {element(kId, Kind::Untyped), 0, false},
        {element(kId, Kind::Double, number(0.0)), 0, true},  // "0.000000"
        {element(kId, Kind::Base64, zero("0")), -1, false},
        {container(kId), -1, false},
    };
    for (const auto& c : cases) {
        const Message m = around(c.child);
        for (const bool before : {false, true}) {
            bool value = before;
            EXPECT_EQ(cursor(m)->getValue(&value, kId), c.status);
            EXPECT_EQ(value, c.status == 0 ? c.value : before);
            value = before;
            EXPECT_EQ(cursor(m)->getValue(&value, kName), c.status);
            EXPECT_EQ(value, c.status == 0 ? c.value : before);
            value = before;
            EXPECT_EQ(cursorAt(m, kName)->getValue(&value, 0), c.status);
            EXPECT_EQ(value, c.status == 0 ? c.value : before);
        }
    }
}

TEST(Readers, ZeroBytesEndATextAndStayInBase64) {
    const Message m = around(element(kId, Kind::String, std::string("ab\0cd\0", 6)) +
                             element(tqa::Tag_list, Kind::Base64, std::string("ab\0cd\0", 6)));
    std::string value;
    EXPECT_EQ(cursor(m)->getValue(&value, kId), 0);
    EXPECT_EQ(value, "ab");
    EXPECT_EQ(cursor(m)->getValueBase64(&value, tqa::Tag_list), 0);
    EXPECT_EQ(value, std::string("ab\0cd", 5));
}

// --- the writers --------------------------------------------------------------------------------

using ById = int (*)(TQABinaryIterator&, int);
using ByName = int (*)(TQABinaryIterator&, const std::string&);

const struct {
    const char* what;
    ById byId;
    ByName byName;  // null where there is none
    Kind kind;
    std::string payload;
} kWriters[] = {
    {"int", [](auto& it, int id) { return it.putValue(5, id); },
     [](auto& it, auto& name) { return it.putValue(5, name); }, Kind::Int, number(5)},
    {"long long", [](auto& it, int id) { return it.putValueLongLong(5, id); },
     [](auto& it, auto& name) { return it.putValueLongLong(5, name); }, Kind::LongLong,
     number(5LL)},
    {"double", [](auto& it, int id) { return it.putValueDouble(0.5, id); },
     [](auto& it, auto& name) { return it.putValueDouble(0.5, name); }, Kind::Double, number(0.5)},
    {"characters", [](auto& it, int id) { return it.putValue("abcd", 4, id); }, nullptr,
     Kind::String, zero("abcd")},
    {"string", [](auto& it, int id) { return it.putValue(std::string("abcd"), id); },
     [](auto& it, auto& name) { return it.putValue(std::string("abcd"), name); }, Kind::String,
     zero("abcd")},
    {"empty string", [](auto& it, int id) { return it.putValue(std::string(), id); },
     [](auto& it, auto& name) { return it.putValue(std::string(), name); }, Kind::String, zero("")},
    {"seven characters", [](auto& it, int id) { return it.putValue(std::string("seven77"), id); },
     [](auto& it, auto& name) { return it.putValue(std::string("seven77"), name); }, Kind::String,
     zero("seven77")},
    {"bytes", [](auto& it, int id) { return it.putValueBase64("\0\1\2", 3, id); }, nullptr,
     Kind::Base64, std::string("\0\1\2\0", 4)},
    {"byte string", [](auto& it, int id) { return it.putValueBase64(std::string("\0\1", 2), id); },
     [](auto& it, auto& name) { return it.putValueBase64(std::string("\0\1", 2), name); },
     Kind::Base64, std::string("\0\1\0", 3)},
    {"time", [](auto& it, int id) { return it.putValueTime(86400, id); },
     [](auto& it, auto& name) { return it.putValueTime(86400, name); }, Kind::Time,
     zero("1970-01-02T00:00:00+0000")},
    {"XML", [](auto& it, int id) { return it.putValueXML("<a/>", id); }, nullptr, Kind::Unparsed,
     zero("<a/>")},
    {"attribute text", [](auto& it, int id) { return it.putAttr(std::string("abcd"), id); },
     nullptr, Kind::String, zero("abcd")},
    {"attribute number", [](auto& it, int id) { return it.putAttr(5, id); }, nullptr, Kind::Int,
     number(5)},
    {"attribute time", [](auto& it, int id) { return it.putAttrTime(86400, id); }, nullptr,
     Kind::Time, zero("1970-01-02T00:00:00+0000")},
};

TEST(Writers, AppendAMissingChild) {
    for (const auto& w : kWriters) {
        const Message m = around("");
        const Cursor at = cursor(m);
        ASSERT_EQ(w.byId(*at, kId), 0) << w.what;
        EXPECT_EQ(at->curName(), "packet") << w.what;
        EXPECT_EQ(bytes(m), bytes(around(element(kId, w.kind, w.payload)))) << w.what;
        if (w.byName == nullptr) continue;
        const Message named = around("");
        const Cursor there = cursor(named);
        ASSERT_EQ(w.byName(*there, kName), 0) << w.what;
        EXPECT_EQ(there->curName(), "packet") << w.what;
        EXPECT_EQ(tree(named), tree(m)) << w.what;
    }
}

TEST(Writers, ReplaceTheFirstChildAndItsNamespaceGoes) {
    for (const std::size_t length : {0U, 3U, 8U, 60U}) {
        const std::string old = element(kId, Kind::Untyped, std::string(length, 'o'), 246);
        for (const auto& w : kWriters) {
            const std::string expected =
                tree(around(element(kId, w.kind, w.payload) + intElement(tqa::Tag_list, 6) + old));
            const Message m = around(old + intElement(tqa::Tag_list, 6) + old);
            const Cursor at = cursor(m);
            ASSERT_EQ(w.byId(*at, kId), 0) << w.what;
            EXPECT_EQ(at->curName(), "packet") << w.what;
            EXPECT_EQ(tree(m), expected) << w.what;
            if (w.byName == nullptr) continue;
            const Message named = around(old + intElement(tqa::Tag_list, 6) + old);
            ASSERT_EQ(w.byName(*cursor(named), kName), 0) << w.what;
            EXPECT_EQ(tree(named), expected) << w.what;
        }
    }
}

TEST(Writers, IdZeroReplacesTheCurrentElement) {
    for (const auto& w : kWriters) {
        const Message m = around(element(kId, Kind::Untyped) + intElement(tqa::Tag_list, 6));
        const Cursor at = cursorAt(m, kName);
        ASSERT_EQ(w.byId(*at, 0), 0) << w.what;
        EXPECT_EQ(at->curName(), kName) << w.what;
        EXPECT_EQ(tree(m),
                  tree(around(element(kId, w.kind, w.payload) + intElement(tqa::Tag_list, 6))))
            << w.what;
    }
}

TEST(Writers, AContainerKeepsItsChildrenAndTheIteratorComesBack) {
    const std::string before = tree(around(container(kId, intElement(1002, 5))));
    for (const auto& w : kWriters) {
        const Message m = around(container(kId, intElement(1002, 5)));
        const Cursor at = cursor(m);
        EXPECT_EQ(w.byId(*at, kId), -1) << w.what;
        EXPECT_EQ(at->curName(), "packet") << w.what;
        const Cursor self = cursorAt(m, kName);
        EXPECT_EQ(w.byId(*self, 0), -1) << w.what;
        EXPECT_EQ(self->curName(), kName) << w.what;
        if (w.byName != nullptr) {
            EXPECT_EQ(w.byName(*at, kName), -1) << w.what;
        }
        EXPECT_EQ(at->curName(), "packet") << w.what;
        EXPECT_EQ(tree(m), before) << w.what;
    }
}

TEST(Writers, AValueTakesNoChildAndKeepsTheIterator) {
    const std::string before = tree(around(""));
    for (const auto& w : kWriters) {
        const Message m = around("");
        const Cursor at = cursorAt(m, "id");
        EXPECT_EQ(w.byId(*at, kId), -1) << w.what;
        EXPECT_EQ(at->curName(), "id") << w.what;
        if (w.byName != nullptr) {
            EXPECT_EQ(w.byName(*at, kName), -1) << w.what;
        }
        EXPECT_EQ(at->curName(), "id") << w.what;
        EXPECT_EQ(tree(m), before) << w.what;
    }
}

TEST(Writers, AnEmptyElementBecomesAContainer) {
    for (const auto& w : kWriters) {
        const Message m = around(element(tqa::Tag_list, Kind::Untyped, {}, 246));
        ASSERT_EQ(w.byId(*cursorAt(m, "list"), kId), 0) << w.what;
        EXPECT_EQ(tree(m),
                  tree(around(container(tqa::Tag_list, element(kId, w.kind, w.payload), 246))))
            << w.what;
    }
}

TEST(Writers, UnknownWordsAndPathsToNothingChangeNothing) {
    const std::string before = tree(around(""));
    for (const auto& w : kWriters) {
        if (w.byName == nullptr) continue;
        const Message m = around("");
        for (const char* name : {"no_such_word", "Data", "data/list", "/data", "data/"}) {
            const Cursor at = cursor(m);
            EXPECT_EQ(w.byName(*at, name), -1) << w.what << ' ' << name;
            EXPECT_EQ(at->curName(), "packet") << w.what << ' ' << name;
        }
        EXPECT_EQ(tree(m), before) << w.what;
    }
}

// Kept: the writers by name.
TEST(Writers, ByNameTheyMoveUpExactlyOnce) {
    for (const auto& w : kWriters) {
        if (w.byName == nullptr) continue;
        const Message m = around(container(kId, element(tqa::Tag_list, Kind::Untyped)));
        const Cursor at = cursor(m);
        ASSERT_EQ(w.byName(*at, "data/list"), 0) << w.what;
        EXPECT_EQ(at->curName(), "data") << w.what;
        EXPECT_EQ(tree(m), tree(around(container(kId, element(tqa::Tag_list, w.kind, w.payload)))));
        const Cursor self = cursorAt(m, "data/list");
        ASSERT_EQ(w.byName(*self, ""), 0) << w.what;
        EXPECT_EQ(self->curName(), "data") << w.what;
    }
}

TEST(Writers, PutTwiceReplaceInPlace) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    ASSERT_EQ(at->putValue(5, 7), 0);
    EXPECT_EQ(tree(m), "1398:50(7:1=05000000)");
    ASSERT_EQ(at->putValue(6, 7), 0);
    EXPECT_EQ(tree(m), "1398:50(7:1=06000000)");
    std::string text;
    EXPECT_EQ(at->getValue(&text, 7), 0);
    EXPECT_EQ(text, "6");
}

TEST(Writers, ATextOfThreeCharactersHasLengthFour) {
    const Message m = load(message(element(1398, Kind::Untyped)));
    ASSERT_EQ(cursor(m)->putValue("abc", 3, 0), 0);
    EXPECT_EQ(bytes(m), message(element(1398, Kind::String, zero("abc"))));
}

TEST(Writers, DoublesAndIntegersDoNotMix) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    ASSERT_EQ(at->putValueDouble(2.5, 7), 0);
    ASSERT_EQ(at->putValue(2, 8), 0);
    int whole = 0;
    double real = 0;
    std::string text;
    EXPECT_EQ(at->getValue(&whole, 7), -1);
    EXPECT_EQ(at->getValueDouble(&real, 8), -1);
    EXPECT_EQ(at->getValue(&text, 7), 0);
    EXPECT_EQ(text, "2.500000");
    EXPECT_EQ(at->getValue(&text, 8), 0);
    EXPECT_EQ(text, "2");
}

TEST(Writers, ATimeReadsBackAsItWasWritten) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (const long time :
         {0L, 1L, 86399L, 1118124550L, 2147483648L, -2L, -86400L, 253402300799L}) {
        ASSERT_EQ(at->putValueTime(time, kId), 0);
        long read = 77;
        EXPECT_EQ(at->getValueTime(&read, kId), 0);
        EXPECT_EQ(read, time);
    }
    // The second before 1970 looks like the failure.
    ASSERT_EQ(at->putValueTime(-1, kId), 0);
    long read = 77;
    EXPECT_EQ(at->getValueTime(&read, kId), -1);
    EXPECT_EQ(read, 77);
}

TEST(Writers, ATimeThatCannotBeWrittenReplacesNothing) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (const long time : {253402300800L, LONG_MAX, LONG_MIN}) {
        EXPECT_EQ(at->putValueTime(time, kId), -1);
        EXPECT_EQ(at->putAttrTime(time, 104), -1);
        EXPECT_EQ(tree(m), "1398:50()");
    }
    ASSERT_EQ(at->putValueTime(86400, kId), 0);
    const std::string before = bytes(m);
    EXPECT_EQ(at->putValueTime(LONG_MAX, kId), -1);
    EXPECT_EQ(at->putValueTime(LONG_MAX, kName), -1);
    EXPECT_EQ(bytes(m), before);
}

TEST(Writers, RawXmlReplacesTheCurrentValue) {
    const Message m = around(stringElement(kId, "old"));
    const Cursor at = cursorAt(m, kName);
    ASSERT_EQ(at->putValueXML("<list>1</list>", 0), 0);
    std::string xml;
    EXPECT_EQ(at->getValueXML(&xml, 0), 0);
    EXPECT_EQ(xml, "<list>1</list>");
    EXPECT_EQ(tree(m), tree(around(element(kId, Kind::Unparsed, zero("<list>1</list>")))));
}

TEST(Writers, TheByteBehindTheDataIsStoredToo) {
    const Message m = create("packet");
    ASSERT_EQ(cursor(m)->putValue("abcdef", 3, 7), 0);
    ASSERT_EQ(cursor(m)->putValueBase64("abcdef", 3, 8), 0);
    ASSERT_EQ(cursor(m)->putValue("", 0, 9), 0);
    EXPECT_EQ(tree(m), "1398:50(7:2=61626364 8:5=61626364 9:2=00)");
    std::string value;
    EXPECT_EQ(cursor(m)->getValueBase64(&value, 8), 0);
    EXPECT_EQ(value, "abc");
}

TEST(Writers, ImpossibleDataIsRefused) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (const int len : {-1, INT_MIN, INT_MAX, INT_MAX - 1}) {
        EXPECT_EQ(at->putValue("x", len, 7), -1) << len;
        EXPECT_EQ(at->putValueBase64("x", len, 7), -1) << len;
    }
    EXPECT_EQ(at->putValue(nullptr, 3, 7), -1);
    EXPECT_EQ(at->putValueBase64(nullptr, 3, 7), -1);
    EXPECT_EQ(tree(m), "1398:50()");
}

TEST(Writers, LongValuesGrowTheMessage) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    std::string value;
    for (std::size_t length = 1; length < 300000; length = length * 3 + 1) {
        ASSERT_EQ(at->putValue(std::string(length, 'x'), kId), 0);
        EXPECT_EQ(at->getValue(&value, kId), 0);
        EXPECT_EQ(value, std::string(length, 'x'));
    }
    ASSERT_EQ(at->putValue(5, kId), 0);
    EXPECT_EQ(tree(m), "1398:50(1307:1=05000000)");
}

// --- attributes ---------------------------------------------------------------------------------

TEST(Attributes, AreChildrenWithAttributeIds) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    ASSERT_EQ(at->putAttr(std::string("m1"), tqa::Attr_id), 0);
    ASSERT_EQ(at->putAttr(7, tqa::Attr_priority), 0);
    ASSERT_EQ(at->putAttrTime(86400, tqa::Attr_time), 0);
    EXPECT_EQ(text(m),
              "<packet time=\"1970-01-02T00:00:00+0000\" priority=\"7\" id=\"m1\">\n"
              "</packet>\n");
    std::string word;
    int number = 0;
    long time = 0;
    EXPECT_EQ(at->getAttr(&word, tqa::Attr_id), 0);
    EXPECT_EQ(word, "m1");
    EXPECT_EQ(at->getAttr(&number, tqa::Attr_priority), 0);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(at->getAttrTime(&time, tqa::Attr_time), 0);
    EXPECT_EQ(time, 86400);
    EXPECT_EQ(at->getAttr(&word, tqa::Attr_uid), -1);
    EXPECT_EQ(word, "m1");
    EXPECT_EQ(at->curName(), "packet");
}

TEST(Attributes, ATextIsFilledInFromAnyKindBeforeItIsRefused) {
    const Message m = around(element(tqa::Attr_time, Kind::Time, zero("1970")));
    const Cursor at = cursor(m);
    std::string word = "before";
    EXPECT_EQ(at->getAttr(&word, tqa::Attr_time), -1);
    EXPECT_EQ(word, "1970");
    EXPECT_EQ(at->curName(), "packet");
}

// --- subtrees -----------------------------------------------------------------------------------

// packet( id=1 data( veid=5 list="x" ) )
Message family() {
    return around(container(kId, intElement(tqa::Tag_veid, 5) + stringElement(tqa::Tag_list, "x")));
}

std::string takeBytes(TQAMessageIterator& at, int (TQAMessageIterator::*decode)(char**, int*)) {
    char* exported = nullptr;
    int len = 0;
    if ((at.*decode)(&exported, &len) != 0) return "";
    const tqa::CText owner(exported);
    return {exported, static_cast<std::size_t>(len)};
}

// Kept: toText() and decode() of an iterator.
TEST(Subtrees, DecodeAndToTextExportTheWholeMessageFromAnywhere) {
    const Message m = family();
    const Cursor at = cursorAt(m, "data/veid");
    EXPECT_EQ(takeBytes(*at, &TQAMessageIterator::decode), bytes(m));
    const tqa::CText whole(at->toText());
    EXPECT_EQ(std::string(whole.get()), text(m));
    EXPECT_EQ(at->curName(), "veid");
}

TEST(Subtrees, TheCurrentElementIsExportedAsAMessageOrText) {
    const Message m = family();
    const Cursor at = cursorAt(m, kName);
    EXPECT_EQ(
        takeBytes(*at, &TQAMessageIterator::decodeFromChild),
        message(container(kId, intElement(tqa::Tag_veid, 5) + stringElement(tqa::Tag_list, "x"))));
    EXPECT_EQ(text(at), "<data>\n<veid>5</veid>\n<list>x</list>\n</data>\n");
    EXPECT_EQ(text(cursorAt(m, "data/veid")), "<veid>5</veid>\n");
}

TEST(Subtrees, AreAddedBelowTheCurrentElement) {
    const Message m = family();
    const Cursor at = cursorAt(m, kName);
    const Block encoded(message(intElement(tqa::Tag_ip, 6)));
    ASSERT_EQ(at->encodeToChild(encoded.data(), encoded.size()), 0);
    const Block text(zero("<ip>7</ip>"));
    ASSERT_EQ(at->encodeToChild(text.data(), text.size()), 0);
    ASSERT_EQ(at->fromTextToChild(text.data()), 0);
    EXPECT_EQ(at->curName(), kName);
    EXPECT_EQ(tree(at),
              "1307:50(1002:1=05000000 1009:2=7800 1262:1=06000000 1262:0=3700 1262:0=3700)");
}

TEST(Subtrees, AValueTakesNone) {
    const Message m = family();
    const Cursor at = cursorAt(m, "data/veid");
    const Block encoded(message(intElement(tqa::Tag_ip, 6)));
    EXPECT_EQ(at->encodeToChild(encoded.data(), encoded.size()), -1);
    const Block text(zero("<ip>7</ip>"));
    EXPECT_EQ(at->encodeToChild(text.data(), text.size()), -1);
    EXPECT_EQ(at->fromTextToChild(text.data()), -1);
    EXPECT_EQ(at->curName(), "veid");
    EXPECT_EQ(tree(m), tree(family()));
}

TEST(Subtrees, DeletingMovesToTheParent) {
    const Message m = family();
    const Cursor at = cursorAt(m, "data/veid");
    ASSERT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(at->curName(), kName);
    EXPECT_EQ(tree(at), "1307:50(1009:2=7800)");
    EXPECT_EQ(at->firstChild(), 0);
    EXPECT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(at->curName(), "packet");
    EXPECT_EQ(tree(m), tree(around("")));
}

TEST(Subtrees, DeletingTheRootLeavesAMessageWithoutOne) {
    const Message m = family();
    const Cursor at = cursor(m);
    ASSERT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(at->curID(), 0);
    EXPECT_EQ(at->deleteFromChild(), -1);
    EXPECT_EQ(at->newChild(kId, 0), -1);
    EXPECT_EQ(at->putValue(5, kId), -1);
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(bytes(m), "");
    EXPECT_EQ(text(m), "(no text)");
    EXPECT_EQ(cursor(m)->curID(), 0);
    ASSERT_EQ(m->create("packet"), 0);
    EXPECT_EQ(at->putValue(5, kId), 0);
}

TEST(Subtrees, ALongMessageIsDeletedPieceByPiece) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(at->newChild(kId, 0), 0);
        ASSERT_EQ(at->putValue(i, tqa::Tag_veid), 0);
        at->seekUp();
    }
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(at->seek(kId), 0);
        int value = -1;
        ASSERT_EQ(at->getValue(&value, "veid"), 0);
        ASSERT_EQ(value, i);
        ASSERT_EQ(at->deleteFromChild(), 0);
    }
    EXPECT_EQ(bytes(m), message(container(tqa::Tag_packet)));
}

TEST(IteratorValues, ATimeThatCannotBeWrittenChangesNothing) {
    const Message m = create("packet");
    EXPECT_EQ(cursor(m)->putValueTime(LONG_MAX, "time"), -1);
    EXPECT_EQ(tree(m), "1398:50()");
    ASSERT_EQ(cursor(m)->putValueTime(0, "time"), 0);
    const std::string before = bytes(m);
    EXPECT_EQ(cursor(m)->putValueTime(LONG_MAX, "time"), -1);
    EXPECT_EQ(bytes(m), before);
}

}  // namespace
