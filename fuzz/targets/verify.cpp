// The check of received messages, which is to be right: what it accepts is walked to the last
// element, read, printed, changed and sent on without any failure, and stays sound.

#include "tqamsg/binary/verify.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "fuzz/target.h"
#include "tests/support/plain_text.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;
using tqa::ElementView;
using tqa::Kind;

static bool isSound(const std::string& encoded) {
    return tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr) == 0;
}

// By the reader of its kind; a time may be none.
static bool isRead(TQABinaryIterator& at) {
    const ElementView element = tqa::elementOf(at);
    std::string text;
    int number = 0;
    long long wide = 0;
    double real = 0;
    switch (element.kind()) {
        case Kind::Int:
            return at.getValue(&number, 0) == 0;
        case Kind::LongLong:
            return at.getValueLongLong(&wide, 0) == 0;
        case Kind::Double:
            return at.getValueDouble(&real, 0) == 0;
        case Kind::Base64:
            return at.getValueBase64(&text, 0) == 0;
        case Kind::Unparsed:
            return at.getValueXML(&text, 0) == 0;
        case Kind::Untyped:
        case Kind::String:
            return at.getValue(&text, 0) == 0;
        default:
            return true;
    }
}

// Every byte of a message belongs to an element that the walk meets.
static std::size_t readAll(const Message& m, int* count) {
    const Cursor it = cursor(m);
    std::size_t size = tqa::kRootOffset;
    int depth = 0;
    do {
        EXPECT_TRUE(isRead(*it));
        const ElementView element = tqa::elementOf(*it);
        size += static_cast<std::size_t>(element.isContainer() ? tqa::kEmptyElementSize
                                                               : element.size());
        ++*count;
    } while (advance(*it, &depth));
    return size;
}

static void changeAt(const Message& m, int element) {
    const Cursor it = cursorAfter(m, element);
    const ElementView at = tqa::elementOf(*it);
    const bool isRaw = at.kind() == Kind::Unparsed && at.id() == 0;
    // A raw element with another value would be an unnamed one.
    if (!at.isContainer() && !isRaw) {
        ASSERT_EQ(it->putValue("changed", 0), 0);
        ASSERT_TRUE(isSound(bytes(m)));
    }
    if (at.isContainer()) {
        const Block text(std::string("<ve><veid>5</veid><zz/></ve>") + '\0');
        ASSERT_EQ(it->newChild(tqa::Tag_list, 0), 0);
        ASSERT_EQ(it->putValueLongLong(5, tqa::Tag_veid), 0);
        ASSERT_EQ(it->fromTextToChild(text.data()), 0);
        ASSERT_TRUE(isSound(bytes(m)));
        it->parseUnknown();
        ASSERT_EQ(it->seekUp(), 0);
    }
    const int size = tqa::elementOf(*it).size();
    const bool isRoot = bytes(it) == bytes(m);
    const std::size_t before = bytes(m).size();
    if (isRoot) return;
    ASSERT_EQ(it->deleteFromChild(), 0);
    ASSERT_EQ(bytes(m).size(), before - static_cast<std::size_t>(size));
    ASSERT_TRUE(isSound(bytes(m)));
}

TQA_TARGET(verify) {
    const Block received(input);
    tqa::Report report;
    const int status = tqa::verify(received.data(), received.size(), &report);
    ASSERT_EQ(status, report.fault == tqa::Fault::None ? 0 : -1);
    ASSERT_EQ(tqa::verify(received.data(), received.size(), nullptr), status);
    ASSERT_LE(report.offset, std::max(0, received.size()));
    if (status != 0) {
        ASSERT_STRNE(report.text, "");
        return;
    }

    const Message m = load(input);
    int count = 0;
    ASSERT_EQ(readAll(m, &count), input.size());
    ASSERT_EQ(text(m), plainText(bytes(m), false, ""));
    expectTravels(m);
    for (int i = 0; i < count; i += 1 + count / 16) {
        const Message changed = copyOf(m);
        changeAt(changed, i);
        expectTravels(changed);
    }
    // What raw elements hold has been checked too.
    TQABinaryIterator::Policy = TQABinaryIterator::kExpandRaw;
    const Message expanded = copyOf(load(input));
    walk(expanded);
    TQABinaryIterator::Policy = 0;
    ASSERT_TRUE(isSound(bytes(expanded)));
}
