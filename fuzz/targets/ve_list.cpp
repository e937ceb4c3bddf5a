// VE lists and access lists: read at every element, written, and read back.

#include "tqamsg/host/id_range_array.h"
#include "tqamsg/msg/authorization.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

static void readEverywhere(const Message& m) {
    const Cursor it = cursor(m);
    int depth = 0;
    do {
        for (const bool check : {false, true}) {
            const Cursor at = copyOf(it);
            IDRangeArray ids;
            EXPECT_LE(at->getVEList(ids, check), 0);
            int veid = 0;
            copyOf(it)->getVE(&veid, "veid");
        }
    } while (advance(*it, &depth));
}

static IDRangeArray idsOf(tqa_fuzz::Numbers& numbers) {
    IDRangeArray ids;
    for (int i = 0; i < 16 && !numbers.atEnd(); ++i) {
        const auto first = numbers() & 0x7FFFFFFF;
        ids.insert(first, std::max(first, numbers() & 0x7FFFFFFF));
    }
    return ids;
}

static bool isSame(const IDRangeArray& one, const IDRangeArray& other) {
    return one.contain(other) && other.contain(one);
}

static void writeAndRead(const IDRangeArray& ids) {
    const Message m = parse("<packet><data/></packet>");
    const Cursor it = cursorAt(m, "data");
    ASSERT_EQ(it->putVEList(ids, true), 0);
    IDRangeArray found;
    const bool isEmpty = ids.begin_range() == ids.end();
    EXPECT_EQ(it->getVEList(found, false), isEmpty ? -1 : 0);
    EXPECT_TRUE(isSame(found, ids));

    // The access list travels with the message.
    const Message arrived = load(bytes(m));
    EXPECT_EQ(arrived->auth.checkAccess(ids), true);
    if (isEmpty) return;
    if (!ids.contain(0U)) {
        EXPECT_TRUE(isSame(arrived->auth.getAccessList(), ids));
    }
    EXPECT_EQ(arrived->auth.checkAccess(-1), ids.contain(0U));
}

TQA_TARGET(ve_list) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m != nullptr) {
        readEverywhere(m);
        m->auth.checkAccess(5);
        const IDRangeArray allowed = m->auth.getAccessList();
        m->auth.checkReadAccess(allowed);
        m->auth.addVE(5);
        expectTravels(m);
    }
    tqa_fuzz::Numbers numbers(script);
    writeAndRead(idsOf(numbers));
}
