// An iterator's position before it follows a path of words, and the way back.
#pragma once

#include "tqamsg/binary/path.h"

#include <optional>
#include <string_view>

namespace tqa {

class SavedPosition {
  public:
    // A relative path only adds entries, so their number says it all; an absolute one replaces
    // those below the root.
    SavedPosition(BinaryPath& path, std::string_view words) : path_(path), size_(path.size()) {
        const bool replaces = !words.empty() && words.front() == '/';
        if (replaces && size_ > 1) entries_.emplace(path);
    }

    void restore() {
        if (entries_) {
            path_ = *entries_;
        } else {
            path_.truncate(size_);
        }
    }

  private:
    BinaryPath& path_;
    int size_;
    std::optional<BinaryPath> entries_;
};

}  // namespace tqa
