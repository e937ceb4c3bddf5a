// SmallStack: a stack of plain values whose first N need no allocation. It never throws.
//
//     tqa::SmallStack<int, 16> open;
//     if (!open.push(id)) return -1;  // memory ran out, the stack is as before
//     ...
//     open.pop();
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace tqa {

template <class T, std::size_t N>
class SmallStack {
    static_assert(std::is_trivially_copyable_v<T>, "values are moved with memcpy and realloc");
    static_assert(alignof(T) <= alignof(std::max_align_t), "malloc aligns no further");
    static_assert(N > 0, "growth doubles the room");

  public:
    SmallStack() noexcept = default;
    ~SmallStack() {
        if (!isInline()) std::free(entries_);
    }
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;

    // False, and no change, when memory runs out.
    bool push(const T& value) noexcept {
        const T copy = value;  // the value may lie in the stack itself
        if (size_ == capacity_ && !expand()) return false;
        ::new (static_cast<void*>(entries_ + size_)) T(copy);
        ++size_;
        return true;
    }

    // Neither may be called on an empty stack.
    void pop() noexcept { --size_; }
    T& top() noexcept { return entries_[size_ - 1]; }
    const T& top() const noexcept { return entries_[size_ - 1]; }

    // Position 0 is the oldest entry.
    T& operator[](std::size_t position) noexcept { return entries_[position]; }
    const T& operator[](std::size_t position) const noexcept { return entries_[position]; }

    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }

    // Drops the entries above the given number; a number of entries or more changes nothing.
    void truncate(std::size_t size) noexcept {
        if (size < size_) size_ = size;
    }

  private:
    T* inlineEntries() noexcept { return reinterpret_cast<T*>(storage_); }
    bool isInline() noexcept { return entries_ == inlineEntries(); }

    // Rare, so it stays out of the callers' loops.
    [[gnu::noinline]] bool expand() noexcept {
        constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(T);
        if (capacity_ < N || capacity_ > kMost) return false;
        const std::size_t bytes = 2 * capacity_ * sizeof(T);
        void* const grown = std::realloc(isInline() ? nullptr : entries_, bytes);
        if (grown == nullptr) return false;
        if (isInline()) std::memcpy(grown, storage_, sizeof storage_);
        entries_ = static_cast<T*>(grown);
        capacity_ *= 2;
        return true;
    }

    alignas(T) unsigned char storage_[N * sizeof(T)];
    T* entries_ = inlineEntries();
    std::size_t size_ = 0;
    std::size_t capacity_ = N;
};

}  // namespace tqa
