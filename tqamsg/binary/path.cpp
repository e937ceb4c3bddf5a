#include "tqamsg/binary/path.h"

#include <algorithm>
#include <cstdlib>

BinaryPath::BinaryPath(const BinaryPath& other) : BinaryPath() {
    *this = other;
}

BinaryPath& BinaryPath::operator=(const BinaryPath& other) {
    if (this == &other) return *this;
    if (capacity < other.count) reserve(other.capacity);
    count = other.count;
    std::copy_n(other.entries, other.count, entries);
    return *this;
}

BinaryPath::~BinaryPath() {
    if (entries != inlineEntries) std::free(entries);
}

void BinaryPath::expand() {
    reserve(capacity + std::max(kStep, capacity / 2));
}

void BinaryPath::reserve(int wanted) {
    const bool wasInline = entries == inlineEntries;
    const std::size_t bytes = static_cast<std::size_t>(wanted) * sizeof(tqa::PathEntry);
    auto* grown = static_cast<tqa::PathEntry*>(std::realloc(wasInline ? nullptr : entries, bytes));
    if (grown == nullptr) std::abort();
    if (wasInline) std::copy_n(inlineEntries, count, grown);
    entries = grown;
    capacity = wanted;
}
