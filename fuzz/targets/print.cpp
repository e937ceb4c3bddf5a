// Printing with and without namespaces, beside the same rules written down plainly.

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/plain_text.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

// Printed into a text that has something in it, as one step of a larger print.
static void printInto(const Message& m, const std::string& alone) {
    std::string out = "<>";
    int offset = tqa::kRootOffset;
    const int status = m->toText(out, offset, 0, 1, false, "", "");
    EXPECT_TRUE(status == 100 || status == 1000);
    const bool isAttribute = alone.starts_with(' ');
    EXPECT_EQ(out, isAttribute ? '<' + alone + '>' : "<>" + alone);
    EXPECT_EQ(offset, static_cast<int>(bytes(m).size()));
    EXPECT_EQ(m->toText(out, offset, 0, 1, false, "", ""), -1);
}

TQA_TARGET(print) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    const std::string loaded = bytes(m);
    const std::string alone = text(m);
    EXPECT_EQ(alone, plainText(loaded, false, ""));
    const std::string base(script);
    const tqa::CText qualified(m->toText(nullptr, true, base));
    EXPECT_EQ(qualified.get(), std::string(plainText(loaded, true, base).c_str()));
    if (!alone.starts_with(' ') || loaded[8] != 0) printInto(m, alone);
    print(m);
    EXPECT_EQ(bytes(m), loaded);
}
