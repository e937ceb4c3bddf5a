// What has moved in a record, and when. Whoever noted count() learns later, without a look at the
// bytes, which elements still lie where they lay.
#pragma once

#include <array>
#include <cstdint>
#include <limits>

namespace tqa {

class EditLog {
  public:
    // How many edits there were.
    std::uint64_t count() const { return count_; }

    // An edit that moved or removed elements: those that start before `offset` lie where they lay.
    void add(int offset) {
        std::uint64_t first = ++count_;
        while (size_ > 0 && runs_[size_ - 1].offset >= offset) first = runs_[--size_].first;
        if (size_ == kRuns) joinOldest();
        runs_[size_++] = {first, offset};
    }

    // The least offset of all edits but the first `since`; beyond every offset when there are none.
    int movedFrom(std::uint64_t since) const {
        return since == count_ ? std::numeric_limits<int>::max() : search(since);
    }

  private:
    // The edits from number `first` on, up to the next run, and the least of all offsets from there
    // on: edits from the back to the front make one run, and old runs are joined.
    struct Run {
        std::uint64_t first;
        std::int32_t offset;
    };
    static constexpr std::size_t kRuns = 4;

    void joinOldest() {
        --size_;
        for (std::size_t i = 1; i < size_; ++i) runs_[i] = runs_[i + 1];
    }

    int search(std::uint64_t since) const {
        std::size_t run = size_ - 1;
        while (runs_[run].first > since + 1) --run;
        return runs_[run].offset;
    }

    std::uint64_t count_ = 0;
    std::size_t size_ = 0;
    std::array<Run, kRuns> runs_ = {};
};

}  // namespace tqa
