// Stream sockets.
#pragma once

#include <string>
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

}  // namespace tool
