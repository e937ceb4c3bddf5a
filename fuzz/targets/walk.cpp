// A walk through every element of a received message; each is read by every reader.

#include "tqamsg/cpp/cursor.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <cstring>
#include <optional>

#include <gtest/gtest.h>

using namespace tqa_test;

template <class Value>
static void expectSame(TQABinaryIterator& it, std::optional<Value> read,
                       int (TQABinaryIterator::*get)(Value*, int)) {
    Value value{};
    const bool done = (TQABinaryIterator(&it).*get)(&value, 0) == 0;
    ASSERT_EQ(read.has_value(), done);
    if (!done) return;
    if constexpr (std::is_arithmetic_v<Value>) {
        // Bit by bit, as a double may be no number.
        ASSERT_EQ(std::memcmp(&*read, &value, sizeof value), 0);
    } else {
        ASSERT_EQ(*read, value);
    }
}

// Cursors read what iterators read.
static void compareCursors(const Message& m) {
    const Cursor it = cursor(m);
    int depth = 0;
    do {
        const tqa::Cursor at(*it);
        ASSERT_EQ(at.id(), it->curID());
        expectSame<int>(*it, at.get<int>(), &TQABinaryIterator::getValue);
        expectSame<long long>(*it, at.get<long long>(), &TQABinaryIterator::getValueLongLong);
        expectSame<double>(*it, at.get<double>(), &TQABinaryIterator::getValueDouble);
        expectSame<long>(*it, at.time(), &TQABinaryIterator::getValueTime);
        expectSame<std::string>(*it, at.get<std::string>(), &TQABinaryIterator::getValue);
        expectSame<std::string>(*it, at.base64(), &TQABinaryIterator::getValueBase64);
        const Cursor child = copyOf(it);
        int status = child->firstChild();
        for (const tqa::Cursor each : tqa::children(at)) {
            ASSERT_EQ(status, 0);
            ASSERT_EQ(each.id(), child->curID());
            status = child->nextSibling();
        }
        ASSERT_NE(status, 0);
    } while (advance(*it, &depth));
}

TQA_TARGET(walk) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    const std::string before = bytes(m);
    EXPECT_LE(walk(m), static_cast<int>(before.size()) / tqa::kEmptyElementSize);
    compareCursors(m);
    askEverything(*m);
    EXPECT_EQ(bytes(m), before);
}
