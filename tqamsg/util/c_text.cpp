#include "tqamsg/util/c_text.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tqa {

TextBuffer::TextBuffer(std::size_t reserve) noexcept {
    if (reserve > 0) expand(reserve);
}

TextBuffer::TextBuffer(TextBuffer&& other) noexcept
    : text_(std::move(other.text_)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      failed_(std::exchange(other.failed_, false)) {}

TextBuffer& TextBuffer::operator=(TextBuffer&& other) noexcept {
    TextBuffer taken(std::move(other));
    std::swap(text_, taken.text_);
    std::swap(size_, taken.size_);
    std::swap(capacity_, taken.capacity_);
    std::swap(failed_, taken.failed_);
    return *this;
}

bool TextBuffer::expand(std::size_t n) noexcept {
    constexpr std::size_t kSmallest = 64;
    constexpr std::size_t kLargest = std::numeric_limits<std::ptrdiff_t>::max();
    if (failed_) return false;
    if (n > kLargest - size_) return fail();

    const std::size_t capacity =
        std::max({size_ + n, std::min(2 * capacity_, kLargest), kSmallest});
    void* const grown = std::realloc(text_.get(), capacity);
    if (grown == nullptr) return fail();
    static_cast<void>(text_.release());  // realloc has freed it
    text_.reset(static_cast<char*>(grown));
    capacity_ = capacity;
    return true;
}

bool TextBuffer::fail() noexcept {
    text_.reset();
    size_ = 0;
    capacity_ = 0;
    failed_ = true;
    return false;
}

char* TextBuffer::release() noexcept {
    append('\0');
    size_ = 0;
    capacity_ = 0;
    return text_.release();
}

}  // namespace tqa
