// A message as a list of steps, so that each library can build it without a tree of ours in
// between, and however deep it is.
//
//     Script script;
//     script.open(tqa::Tag_packet).number(tqa::Attr_priority, 1).open(tqa::Tag_data);
//     const Workload work = script.finish();
#pragma once

#include "tqamsg/vocabulary/word_ids.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// The word of a tag or attribute.
const std::string& wordOf(int id);

struct Step {
    enum Kind : std::uint8_t {
        kOpen,      // an element with children
        kOpenList,  // an element whose children all have one name: an array to the peers
        kClose,
        kInt,
        kLongLong,
        kText,  // plain text, not escaped
    };

    Kind kind;
    int id = 0;              // a tag, or a header attribute
    std::uint32_t size = 0;  // of an opened element: how many children it has
    long long number = 0;
    std::string text = {};

    bool opens() const { return kind == kOpen || kind == kOpenList; }
    bool isAttribute() const;
};

struct Workload {
    std::vector<Step> steps;         // the root's opening first; header attributes before elements
    std::string xml;                 // as the library prints it
    std::vector<Step::Kind> kindOf;  // by id: what an element of this name is in this message
    int elements = 0;
    // The sum of all numbers and of the lengths of all texts: what a whole walk comes to.
    long long sum = 0;
};

// Writes the steps of one message. What is open at the end is closed.
class Script {
  public:
    Script& open(int id) { return start(Step::kOpen, id); }
    Script& openList(int id) { return start(Step::kOpenList, id); }
    Script& close();
    Script& number(int id, int value) { return leaf({Step::kInt, id, 0, value}); }
    Script& longNumber(int id, long long value) { return leaf({Step::kLongLong, id, 0, value}); }
    Script& text(int id, const std::string& value) { return leaf({Step::kText, id, 0, 0, value}); }

    // Throws when a name stands for two kinds of elements.
    Workload finish();

  private:
    Script& start(Step::Kind kind, int id);
    Script& leaf(const Step& step);
    void count();
    void note(const Step& step);

    Workload work_;
    std::vector<std::size_t> open_;
};

}  // namespace bench
