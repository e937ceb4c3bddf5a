// The bytes of a file or of standard input, read piece by piece.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// How messages call a file.
std::string nameOf(const std::string& file);

class Input {
  public:
    // "-" is standard input. Throws Failure(kInputOutput), as more() does.
    explicit Input(const std::string& file);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input();

    const std::string& name() const { return name_; }

    // What was read and not consumed yet; valid until the next call of one of the others. The bytes
    // may be changed, and one zero byte follows them.
    char* data() { return buffer_.data() + from_; }
    std::size_t size() const { return buffer_.size() - from_; }
    std::string_view rest() const { return {buffer_.data() + from_, size()}; }

    // Reads some more; false at the end of the input. What was written so far is flushed first if
    // the input may keep us waiting.
    bool more();
    bool isAtEnd() const { return isAtEnd_; }
    // Reads until there are `count` bytes or the input ends.
    void fill(std::size_t count);

    void consume(std::size_t count);
    // Where data() stands in the input.
    std::int64_t offset() const { return offset_; }

    // Other bytes in place of all that is left of the input.
    void replace(std::string bytes);

  private:
    std::string name_;
    int descriptor_;
    std::string buffer_;
    std::size_t from_ = 0;
    std::int64_t offset_ = 0;
    std::int64_t total_ = 0;  // bytes of a regular file, else 0
    std::int64_t read_ = 0;
    bool isAtEnd_ = false;
};

// All bytes of a file, or of standard input for "-".
std::string readAll(const std::string& file);

}  // namespace tool
