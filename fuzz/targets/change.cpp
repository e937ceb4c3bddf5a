// Edits of messages that nobody checked. The bytes behind the message say what is done where: in
// pairs, the element and the change; every third through one of three iterators that last and saw
// nothing of what the others did.

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <array>

#include <gtest/gtest.h>

using namespace tqa_test;

TQA_TARGET(change) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    const std::string before = bytes(m);
    const Message changed = copyOf(m);
    tqa_fuzz::Numbers numbers(script.substr(0, 64));
    const auto anywhere = [&] { return cursorAfter(changed, static_cast<int>(numbers() % 64)); };
    const std::array<Cursor, 3> lasting = {anywhere(), anywhere(), anywhere()};
    bool shows = false;
    do {
        const Cursor at = anywhere();
        const std::uint32_t number = numbers();
        const auto how = static_cast<int>(number / 3 % kChanges);
        const Cursor& late = lasting[number / 3 / kChanges % lasting.size()];
        shows = shows || how == kExpansion;
        change(number % 3 == 0 ? *late : *at, how);
        readIn(*late, 0);
        late->nextSibling();
        expectTravels(changed);
    } while (!numbers.atEnd());
    if (!shows) {
        EXPECT_EQ(bytes(m), before);
    }
}
