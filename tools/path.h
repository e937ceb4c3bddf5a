// Paths to elements: "data/vem/veid[2]/@type".
//
// A step is a word, "@" and a header attribute's word, "#" and an identifier, or "*" for any
// element; "[n]" behind it takes the n-th of those that match below their parent, from 1. Paths
// start below the root; a slash in front changes nothing, and "/" alone is the root.
#pragma once

#include "tqamsg/tqamsg.h"

#include <string>
#include <vector>

namespace tool {

class Path {
  public:
    // Throws Failure(kUsage) for a text that is no path.
    explicit Path(const std::string& text);

    struct Step {
        std::string text;  // as it was given
        bool isAny;
        int id;
        int position;  // 0 for all
    };

    const std::string& text() const { return text_; }
    const std::vector<Step>& steps() const { return steps_; }

    // The elements it leads to, in document order; with `first` no more than one.
    std::vector<BinaryPath> find(tqa::ElementView root, bool first) const;

    // How many of its steps lead to an element, and the way to the first such element.
    std::size_t reach(tqa::ElementView root, BinaryPath* way) const;

  private:
    std::string text_;
    std::vector<Step> steps_;
};

BinaryPath wayToRoot(tqa::ElementView root);

// The element at the end of a way.
tqa::ElementView elementAt(tqa::ElementView root, const BinaryPath& way);

// "PATH=VALUE" taken apart; `hasValue` is false without "=".
struct Assignment {
    std::string path;
    std::string value;
    bool hasValue;
};
Assignment assignmentIn(const std::string& text);

}  // namespace tool
