#include "tests/support/usage.h"

#include "tqamsg/host/id_range_array.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/vocabulary/word_ids.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace tqa_test {

// --- looking at it ------------------------------------------------------------------------------

void readIn(TQABinaryIterator& at, int id) {
    std::string text;
    int number = 0;
    bool flag = false;
    long long big = 0;
    double real = 0;
    long time = 0;
    IDRangeArray ids;
    // Some readers stay on the child when they fail, so each has an iterator of its own.
    TQABinaryIterator(&at).getValue(&text, id);
    TQABinaryIterator(&at).getValue(&number, id);
    TQABinaryIterator(&at).getValue(&flag, id);
    TQABinaryIterator(&at).getValueLongLong(&big, id);
    TQABinaryIterator(&at).getValueDouble(&real, id);
    TQABinaryIterator(&at).getValueTime(&time, id);
    TQABinaryIterator(&at).getValueBase64(&text, id);
    TQABinaryIterator(&at).getValueXML(&text, id);
    TQABinaryIterator(&at).getAttr(&text, id);
    TQABinaryIterator(&at).getVEList(ids, false);
}

bool advance(TQABinaryIterator& it, int* depth) {
    if (it.firstChild() == 0) {
        ++*depth;
        return true;
    }
    for (; *depth > 0; --*depth) {
        if (it.nextSibling() == 0) return true;
        it.seekUp();
    }
    return false;
}

int walk(const Message& m) {
    const Cursor it = cursor(m);
    int depth = 0;
    int count = 0;
    do {
        ++count;
        it->curName();
        for (const int id : {0, tqa::Attr_id + 0, tqa::Tag_veid + 0}) readIn(*it, id);
    } while (advance(*it, &depth));
    return count;
}

Cursor cursorAfter(const Message& m, int steps) {
    Cursor it = cursor(m);
    int depth = 0;
    while (steps-- > 0 && advance(*it, &depth)) {
    }
    return it;
}

void askEverything(TQABinary& m) {
    std::string text;
    int number = 0;
    long time = 0;
    m.getVersion(&number);
    m.getTime(&time);
    m.getProgress(&number);
    m.getLog(&number);
    m.getType(&number);
    m.getID(&text);
    m.getPriority(&number);
    m.getUid(&number);
    m.getTimeout(&number);
    m.getTimeoutLimit(&number);
    m.getOrigin();
    m.getTarget();
    m.getSession(&text);
    m.auth.checkAccess(5);
    m.auth.checkAccess(1, 10);
    m.auth.getAccessList();
    const auto_destroy<TQAMessage> reply(m.genReply("vem"));
    EXPECT_NE(*reply, nullptr);
}

void print(const Message& m) {
    text(m);
    const tqa::CText withNamespaces(m->toText(nullptr, true, "urn:"));
    const Cursor it = cursor(m);
    for (int status = it->firstChild(); status == 0; status = it->nextSibling()) {
        EXPECT_EQ(text(load(bytes(it))), text(it));
    }
}

void expectTravels(const Message& m) {
    const std::string exported = bytes(m);
    if (exported.empty()) return;
    const Message arrived = load(exported);
    EXPECT_EQ(bytes(arrived), exported);
    EXPECT_EQ(text(arrived), text(m));
}

// --- changing it --------------------------------------------------------------------------------

void change(TQABinaryIterator& at, int how) {
    std::string xml = "<vem><veid>1</veid><zz/></vem>";
    switch (how) {
        case 0:
            at.putValue(7, 0);
            break;
        case 1:
            at.putValue("text", tqa::Tag_veid);
            break;
        case 2:
            at.newChild(tqa::Tag_data, tqa::Ns_types);
            at.putValueLongLong(9, 0);
            break;
        case 3:
            at.deleteFromChild();
            break;
        case 4:
            at.putValueXML("<veid>1</veid>", 0);
            break;
        case 5:
            at.fromTextToChild(xml.data());
            break;
        case kExpansion:
            at.parseUnknown();
            break;
        default:
            at.putVE(5, "veid", true);
    }
}

void changeEverywhere(const Message& m, int first) {
    const int count = walk(m);
    for (int i = 0; i < count; ++i) {
        const Message changed = copyOf(m);
        const Cursor late = cursorAfter(changed, (i + first) % count);
        change(*cursorAfter(changed, i), (first + i) % kChanges);
        expectTravels(changed);
        readIn(*late, 0);
        late->nextSibling();
        change(*late, (first + i / kChanges) % kChanges);
        expectTravels(changed);
    }
}

void expand(const Message& m) {
    for (const std::uint32_t flags : {1U, 3U}) {
        const Message copy = load(bytes(m));
        TQABinaryIterator::Policy = flags;
        walk(copy);
        TQABinaryIterator::Policy = 0;
        expectTravels(copy);
    }
}

void append(const Message& m) {
    const Block exact(bytes(m));
    const Message other = parse("<packet><data/><vem/></packet>");
    const Cursor it = cursorAt(other, "data");
    EXPECT_EQ(it->encodeToChild(exact.data(), exact.size()), 0);
    expectTravels(other);
    EXPECT_EQ(it->nextSibling(), 0);
    EXPECT_EQ(text(it), "<vem/>\n");
}

// --- all of it ----------------------------------------------------------------------------------

void useEverything(const Message& m, int variation) {
    if (bytes(m).empty()) return;
    EXPECT_LE(walk(m), static_cast<int>(bytes(m).size()) / tqa::kEmptyElementSize);
    print(m);
    expectTravels(m);
    append(m);
    expand(m);
    changeEverywhere(m, variation);
    askEverything(*m);
}

void useBriefly(const Message& m, int variation) {
    const std::string exported = bytes(m);
    if (exported.empty()) return;
    const Cursor it = cursor(m);
    int depth = 0;
    int count = 0;
    do {
        ++count;
        readIn(*it, 0);
    } while (advance(*it, &depth));
    EXPECT_LE(count, static_cast<int>(exported.size()) / tqa::kEmptyElementSize);
    expectTravels(m);
    const Message changed = copyOf(m);
    const int how = variation % kChanges;
    change(*cursorAfter(changed, variation / kChanges % count), how);
    expectTravels(changed);
    if (how != kExpansion) {
        EXPECT_EQ(bytes(m), exported);
    }
}

Message tryLoad(const std::string& encoded) {
    const Block exact(encoded);
    Message m = emptyMessage();
    return m->encode(exact.data(), exact.size(), nullptr) == 0 ? std::move(m) : nullptr;
}

Message tryRead(const std::string& xml) {
    const Block exact(xml + '\0');
    Message m = emptyMessage();
    m->fromText(exact.data(), nullptr);
    return m;
}

}  // namespace tqa_test
