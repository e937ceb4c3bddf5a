// Seeded values for the workloads.
#pragma once

#include "bench/script.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace bench {

// Decides about all values; to be called before the first workload is asked for. One seed gives
// the same bytes everywhere.
void setSeed(std::uint64_t seed);
std::uint64_t seed();

// Values that depend on the seed and on which workload asks, not on what was made before.
class Values {
  public:
    explicit Values(std::uint64_t workload) : engine_(seed() * 1000 + workload) {}

    long long between(long long first, long long last) {
        const auto range = static_cast<std::uint64_t>(last - first + 1);
        return first + static_cast<long long>(engine_() % range);
    }
    int integer(int first, int last) { return static_cast<int>(between(first, last)); }

    const std::string& word() { return wordOf(integer(tqa::kFirstTagId, tqa::kEndTagId - 1)); }

    // Words with blanks between them, at least `length` characters.
    std::string words(std::size_t length) {
        std::string text = word();
        while (text.size() < length) text.append(" ").append(word());
        return text;
    }

    // Words as in a configuration file: lines, and now and then a character that XML escapes.
    std::string markedText(std::size_t length) {
        constexpr std::string_view kMarks = "<>&";
        std::string text;
        while (text.size() < length) {
            text += word();
            const int choice = integer(0, 35);
            if (choice < 3)
                text += kMarks[static_cast<std::size_t>(choice)];
            else
                text += choice < 7 ? '\n' : ' ';
        }
        return text;
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace bench
