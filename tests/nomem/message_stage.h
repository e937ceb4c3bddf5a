// A message with an iterator on it and places for results, for operations that run out of memory.
#pragma once

#include "tqamsg/host/id_range_array.h"

#include "tests/support/messages.h"

#include <memory>
#include <string>

namespace tqa_test {

// Longer than what strings hold in themselves; longer than what messages have room for.
extern const std::string kLong;
extern const std::string kHuge;
extern const std::string kShort;

// How a message stands when it is used.
enum class Condition {
    Private,  // its content is its own, and has room
    Tight,    // not eight bytes more fit
    Snug,     // one empty element fits, and no more
    Shared,   // another message has the same content
    Lowered,  // shared, after a copy failed: the counter no longer shows it
};

inline constexpr Condition kConditions[] = {Condition::Private, Condition::Tight, Condition::Snug,
                                            Condition::Shared, Condition::Lowered};

// A request with values of every kind below "data/vem", and the same with all values as text.
const std::string& typedContent();
const std::string& textContent();

// The content with one more element at its end, which leaves so much room in its buffer.
std::string filled(const std::string& content, int room);

struct MessageStage {
    MessageStage(const std::string& content, Condition condition, const std::string& path = "");

    std::string outcome() const;
    std::string state();
    void rewind();
    void reload();
    void again() { argument = kLong; }

    // The content in bytes, read past everything that could change it.
    static std::string bytesOf(const Message& m);

    std::string loaded;
    Message message;
    Message witness;  // has the same content, whatever is done to the message
    std::string start;
    Cursor at;

    bool isPositionNoted = true;  // false when others move what the iterator stands on

    std::string text = "text before";
    std::string text2 = "text2 before";
    int number = -77;
    long long big = -77;
    long seconds = -77;
    double real = -77;
    bool flag = false;
    tqa::CText block;
    int length = 0;
    Message made;
    IDRangeArray ids;
    std::string argument = kLong;

    // The results of operations that hand out blocks, messages and iterators: 0, or -1 for none.
    int take(char* fresh);
    int takeBytes(int status, char* const* fresh);
    int take(TQAMessage* fresh);
    static int take(TQAMessageIterator* fresh);
};

}  // namespace tqa_test
