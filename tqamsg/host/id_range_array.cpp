#include "tqamsg/host/id_range_array.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

// What a boundary is. A range's first id comes before its last one also when they are equal,
// because equal keys of a multimap keep the order of their insertion.
constexpr int kFirst = 1;
constexpr int kLast = -1;

constexpr unsigned int kMaxID = std::numeric_limits<unsigned int>::max();

}  // namespace

std::pair<unsigned int, unsigned int> IDRangeArrayRangeIterator::operator*() const {
    return {position->first, std::next(position)->first};
}

IDRangeArrayRangeIterator& IDRangeArrayRangeIterator::operator++() {
    std::advance(position, 2);
    return *this;
}

IDRangeArray::IDRangeArray() = default;

IDRangeArray::~IDRangeArray() = default;

void IDRangeArray::clear() {
    boundaries.clear();
}

void IDRangeArray::insert(unsigned int id) {
    insert(id, id);
}

void IDRangeArray::insert(unsigned int first, unsigned int last) {
    if (first > last || contain(first, last)) return;

    // begin..end: the boundaries of all ranges that overlap the new one or touch it.
    auto begin = boundaries.lower_bound(first == 0 ? 0 : first - 1);
    if (begin != boundaries.end() && begin->second == kLast) --begin;
    auto end = boundaries.upper_bound(last == kMaxID ? kMaxID : last + 1);
    if (end != boundaries.end() && end->second == kLast) ++end;

    if (begin != end) {
        first = std::min(first, begin->first);
        last = std::max(last, std::prev(end)->first);
    }
    // All memory is taken before anything changes; nodes then move without failing.
    std::multimap<unsigned int, int> merged;
    merged.emplace(first, kFirst);
    merged.emplace(last, kLast);
    boundaries.erase(begin, end);
    boundaries.merge(merged);
}

void IDRangeArray::insert(const IDRangeArray& other) {
    if (&other == this) return;
    for (auto range = other.begin_range(); range != other.end(); ++range) {
        const auto [first, last] = *range;
        insert(first, last);
    }
}

bool IDRangeArray::contain(unsigned int id) const {
    return contain(id, id);
}

bool IDRangeArray::contain(unsigned int first, unsigned int last) const {
    if (first > last) return false;
    auto boundary = boundaries.lower_bound(first);
    if (boundary == boundaries.end()) return false;
    if (boundary->second == kFirst) {
        if (boundary->first != first) return false;
        ++boundary;
    }
    return last <= boundary->first;
}

bool IDRangeArray::contain(const IDRangeArray& other) const {
    for (auto range = other.begin_range(); range != other.end(); ++range) {
        const auto [first, last] = *range;
        if (!contain(first, last)) return false;
    }
    return true;
}

IDRangeArrayRangeIterator IDRangeArray::begin_range() const {
    return IDRangeArrayRangeIterator{boundaries.begin()};
}

IDRangeArrayBaseIterator::Position IDRangeArray::end() const {
    return boundaries.end();
}
