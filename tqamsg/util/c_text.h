// Texts that come from malloc and that the caller of the library releases with free.
//
//     tqa::TextBuffer text;
//     text.append("<data>");
//     text.append('\n');
//     return text.release();  // null when memory ran out at any step
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace tqa {

struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

// Owns a text from malloc.
using CText = std::unique_ptr<char, FreeDeleter>;

// A growing text. It never throws: when memory runs out, its content is dropped and everything
// that follows is ignored until it is destroyed or assigned to, so one look at the end is enough.
class TextBuffer {
  public:
    explicit TextBuffer(std::size_t reserve = 0) noexcept;
    TextBuffer(TextBuffer&& other) noexcept;
    TextBuffer& operator=(TextBuffer&& other) noexcept;

    void append(char c) noexcept {
        if (size_ == capacity_ && !expand(1)) return;
        text_.get()[size_++] = c;
    }

    // The text must not lie in this buffer.
    void append(std::string_view text) noexcept {
        if (text.empty()) return;
        char* const at = grow(text.size());
        if (at == nullptr) return;
        std::memcpy(at, text.data(), text.size());
        commit(text.size());
    }

    // The first n <= kBlock bytes at block, where kBlock bytes can be read: a copy of a fixed size
    // is cheaper than one that asks for the size.
    static constexpr std::size_t kBlock = 16;
    void appendBlock(const void* block, std::size_t n) noexcept {
        char* const at = grow(kBlock);
        if (at == nullptr) return;
        std::memcpy(at, block, kBlock);
        commit(n);
    }

    // Where up to n more bytes may be written, null when memory runs out. The bytes belong to the
    // text once commit says how many of them were written. Ends earlier pointers into the text.
    char* grow(std::size_t n) noexcept {
        if (capacity_ - size_ < n && !expand(n)) return nullptr;
        return text_.get() + size_;
    }
    void commit(std::size_t n) noexcept { size_ += n; }

    std::size_t size() const noexcept { return size_; }
    const char* data() const noexcept { return text_.get(); }  // not terminated; null when empty
    bool failed() const noexcept { return failed_; }

    // The text with a terminator, for the caller to free, and the buffer is empty again. Null when
    // an allocation has failed, this last one included.
    char* release() noexcept;

  private:
    // Makes room for n more bytes, n > capacity_ - size_.
    bool expand(std::size_t n) noexcept;
    bool fail() noexcept;

    // After a failure both sizes are 0, so that every call comes to expand, which refuses.
    CText text_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

}  // namespace tqa
