// The way from the root of a binary message to one of its elements.
#pragma once

#include "tqamsg/export.h"

#include <cstdint>

namespace tqa {

struct PathEntry {
    std::int32_t id;
    std::int32_t offset;  // of the element, from the start of the message; the root's is 8
};

}  // namespace tqa

// A growable array of entries: the root first, then each element inside the one before it.
// Nothing is range-checked. Failure to grow ends the process: it is the one failure that is not
// reported, as a path is a few hundred bytes for any message that is not built to exhaust memory.
class TQA_API BinaryPath {
  public:
    BinaryPath() noexcept : entries(inlineEntries) {}
    BinaryPath(const BinaryPath& other);
    BinaryPath& operator=(const BinaryPath& other);
    ~BinaryPath();

    int size() const { return count; }
    bool empty() const { return count == 0; }
    tqa::PathEntry& back() { return entries[count - 1]; }
    const tqa::PathEntry& back() const { return entries[count - 1]; }
    tqa::PathEntry& operator[](int index) { return entries[index]; }
    const tqa::PathEntry& operator[](int index) const { return entries[index]; }
    tqa::PathEntry* begin() { return entries; }
    const tqa::PathEntry* begin() const { return entries; }
    tqa::PathEntry* end() { return entries + count; }

    void push_back(int id, int offset) {
        if (count == capacity) expand();
        entries[count++] = {id, offset};
    }
    void pop_back() { --count; }
    // Drops all entries but the first `size`.
    void truncate(int size) { count = size; }

    // Makes room for at least 32 entries more; a long path doubles, so that pushing stays cheap.
    void expand();

  private:
    static constexpr int kStep = 32;

    void reserve(int wanted);

    // Frozen order.
    tqa::PathEntry* entries;
    std::int32_t count = 0;
    std::int32_t capacity = kStep;

    // Most messages are a few levels deep, so the first step needs no allocation.
    tqa::PathEntry inlineEntries[kStep];
};
