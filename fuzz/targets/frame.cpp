// Framing out of a stream, and loading.

#include "tqamsg/msg/message_factory.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <gtest/gtest.h>

using namespace tqa_test;

// Fewer bytes hold no message; more hold the same one.
static void expectFramed(std::string_view input, int size) {
    for (int there = 0; there < size; ++there) {
        ASSERT_EQ(TQABinary::isComplete(
                      Block(input.substr(0, static_cast<std::size_t>(there))).data(), there),
                  0);
        there += there / 8;
    }
    const Block exact(input.substr(0, static_cast<std::size_t>(size)));
    ASSERT_EQ(TQABinary::isComplete(exact.data(), exact.size()), size);
}

TQA_TARGET(frame) {
    const Block stream(input);
    const int size = TQAMessage::isComplete(stream.data(), stream.size());
    ASSERT_GE(size, 0);
    ASSERT_LE(size, stream.size());
    if (size > 0) expectFramed(input, size);

    const std::string terminated = std::string(input) + '\0';
    const bool isBinary = TQABinary::isOfTheKind(terminated.data()) == 1;
    ASSERT_EQ(TQAMsgFactory::kindOf(const_cast<char*>(terminated.data())) == "TQABinary", isBinary);

    const Message m = emptyMessage();
    const bool loaded = m->init(stream.data(), stream.size()) == 0;
    if (size == 0) {
        ASSERT_FALSE(loaded);
    }
    if (!isBinary) return;
    ASSERT_EQ(loaded, size > 0);
    // The reserved field is written 0.
    if (loaded) {
        ASSERT_EQ(
            bytes(m).substr(tqa::kRootOffset),
            input.substr(tqa::kRootOffset, static_cast<std::size_t>(size - tqa::kRootOffset)));
    }
}
