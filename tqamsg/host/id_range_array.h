// IDRangeArray: a set of unsigned VE ids, kept as ascending ranges that never touch.
//
//     IDRangeArray ids;
//     ids.insert(5);
//     ids.insert(10, 20);
//     for (auto range = ids.begin_range(); range != ids.end(); ++range)
//         use((*range).first, (*range).second);  // 5..5, then 10..20
//
// A host process may bring its own set: it then defines every operation below that has no body
// here and leaves id_range_array.cpp out of the build. Assignment and the comparison of positions
// are the library's in any case, so they stand in this header.
//
// One thread at a time changes a set; any number may read one that nobody changes.
#pragma once

#include "tqamsg/export.h"

#include <map>
#include <utility>

// A position among the boundaries of the ranges, to be compared with IDRangeArray::end().
class TQA_API IDRangeArrayBaseIterator {
  public:
    using Position = std::multimap<unsigned int, int>::const_iterator;

    explicit IDRangeArrayBaseIterator(Position at) : position(at) {}

    bool operator==(const Position& other) const { return position == other; }
    bool operator!=(const Position& other) const { return position != other; }

  protected:
    Position position;
};

// Walks the ranges in ascending order. Any change of the set ends its use.
class TQA_API IDRangeArrayRangeIterator : public IDRangeArrayBaseIterator {
  public:
    using IDRangeArrayBaseIterator::IDRangeArrayBaseIterator;

    // The first and last id of the range; they are equal for a single id. Not to be used at end().
    std::pair<unsigned int, unsigned int> operator*() const;
    IDRangeArrayRangeIterator& operator++();
};

class TQA_API IDRangeArray {
  public:
    IDRangeArray();
    ~IDRangeArray();
    IDRangeArray(const IDRangeArray&) = default;
    IDRangeArray& operator=(const IDRangeArray&) = default;

    void clear();

    // Add one id, the closed range first..last (nothing when first > last) or all ids of another
    // set (the same set is allowed). Ranges that overlap or touch become one. When memory runs out
    // std::bad_alloc leaves the set valid, without the range being added at that moment.
    void insert(unsigned int id);
    void insert(unsigned int first, unsigned int last);
    void insert(const IDRangeArray& other);

    // True when every given id is in the set. A reversed range (first > last) is never contained:
    // access checks ask here, and a malformed range must not pass one. An empty set always is.
    bool contain(unsigned int id) const;
    bool contain(unsigned int first, unsigned int last) const;
    bool contain(const IDRangeArray& other) const;

    IDRangeArrayRangeIterator begin_range() const;
    IDRangeArrayBaseIterator::Position end() const;

  private:
    // Two boundaries for each range; what the int says is the business of the set's own source.
    std::multimap<unsigned int, int> boundaries;
};
