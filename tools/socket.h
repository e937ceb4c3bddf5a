// Stream sockets, and the messages on them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tool {

// Closes a descriptor.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int get() const { return descriptor_; }

  private:
    int descriptor_ = -1;
};

// An address is "unix:PATH", a path with a slash in it, or "HOST:PORT". These throw Failure(kUsage)
// for a text that is none and Failure(kInputOutput) when the system refuses.
Descriptor connectTo(const std::string& address);
Descriptor listenAt(const std::string& address);

// The path of a unix address, "" for another.
std::string unixPathOf(const std::string& address);

// Cuts the bytes of one direction into messages: binary ones end by their length, texts by their
// zero byte.
class Framer {
  public:
    // Messages longer than this are not followed.
    static constexpr std::size_t kLongest = std::size_t{64} << 20;

    void append(std::string_view bytes);
    // The next whole message, if there is one.
    std::optional<std::string> next();
    // Whether the bytes no longer make messages; what follows is not looked at.
    bool isLost() const { return isLost_; }
    // Whether a message has begun that is not all there.
    bool isInside() const { return !isLost_ && from_ < bytes_.size(); }

  private:
    std::size_t wholeLength();

    std::string bytes_;
    std::size_t from_ = 0;      // of the message being gathered
    std::size_t searched_ = 0;  // bytes of it that hold no zero
    bool isLost_ = false;
};

}  // namespace tool
