// Texts read, and messages added, below an element of a message.

#include "tqamsg/binary/verify.h"

#include "fuzz/target.h"
#include "tests/support/plain_text.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

static void expectSound(const Message& m) {
    const std::string encoded = bytes(m);
    if (encoded.empty()) return;
    EXPECT_EQ(tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr), 0);
    expectTravels(m);
}

static void readBelow(const std::string& path, bool canHold, const std::string& xml) {
    const Message m =
        parse("<packet><data/><list>  </list><vem>1</vem><ve id=\"1\"></ve></packet>");
    const Message witness = copyOf(m);
    const std::string before = bytes(m);
    const Cursor it = cursorAt(m, path);
    const Block writable(xml + '\0');
    const bool reads = plainRead(xml, 0).has_value();
    EXPECT_EQ(it->fromTextToChild(writable.data()), reads && canHold ? 0 : -1);
    EXPECT_EQ(std::string_view(writable.data(), xml.size()), xml);
    EXPECT_EQ(bytes(witness), before);
    if (reads && !canHold) {
        EXPECT_EQ(bytes(m), before);
    }
    expectSound(m);
}

// One element of the text below a path, a step of a larger read.
static void readOne(const std::string& xml, bool skip) {
    const Message m = parse("<packet><data/></packet>");
    const Block writable(xml + '\0');
    char* text = writable.data();
    BinaryPath path;
    path.push_back(tqa::load<std::int32_t>(bytes(m).data() + tqa::kRootOffset), tqa::kRootOffset);
    m->fromText(text, path, skip);
    EXPECT_GE(text, writable.data());
    EXPECT_LT(text, writable.data() + writable.size());
    EXPECT_EQ(path.size(), 1);
    expectSound(m);
}

TQA_TARGET(parse_into) {
    const std::string xml(input.substr(0, input.find('\0')));
    for (const char* path : {"", "data", "list", "ve"}) readBelow(path, true, xml);
    readBelow("vem", false, xml);
    readOne(xml, false);
    readOne(xml, true);

    const Block exact(input);
    const Message m = parse("<packet><data/><vem/></packet>");
    const Cursor it = cursorAt(m, "data");
    const bool done = it->encodeToChild(exact.data(), exact.size()) == 0;
    expectTravels(m);
    if (!done) return;
    EXPECT_EQ(it->nextSibling(), 0);
    EXPECT_EQ(text(it), "<vem/>\n");
}
