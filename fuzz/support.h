// What the targets share.
#pragma once

#include "tests/support/messages.h"

#include <cstdint>
#include <string_view>

namespace tqa_fuzz {

// The message at the start of the input, binary or text, and the bytes behind it, which say what is
// done with it. No message when none loads; then all bytes are behind it.
struct MessageAndScript {
    tqa_test::Message message;
    std::string_view encoded;
    std::string_view script;
};
MessageAndScript split(std::string_view input);

// Takes one number after the other from a script; 0 when it is used up.
class Numbers {
  public:
    explicit Numbers(std::string_view script) : script_(script) {}

    bool atEnd() const { return script_.empty(); }

    // A byte, and after the largest one a whole number.
    std::uint32_t operator()();

  private:
    std::uint32_t byte();

    std::string_view script_;
};

// Sends standard error nowhere as long as it lives.
class Quiet {
  public:
    Quiet();
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet();

  private:
    int kept_;
};

}  // namespace tqa_fuzz
