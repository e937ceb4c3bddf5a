// FrameReader: takes whole messages from a file descriptor. FrameBuffer: takes them from bytes that
// have come by another way. writeFrame(): sends one.
//
//     tqa::FrameReader frames(fd, 64 << 20);                 // none longer than 64 MiB
//     while (frames.next() == tqa::Frame::Whole) {
//         const tqa::Message request = frames.message();
//         ...
//     }
//     if (frames.last() != tqa::Frame::End) complain(frames.last(), frames.error());
//
// A frame is an encoded message, whose head says how long it is, or a text with its zero byte. The
// reader waits when it must and takes what is there when it can; each byte is looked at once,
// however small the pieces in which it comes. Room grows with what has come, not with what a head
// announces.
#pragma once

#include "tqamsg/binary/layout.h"
#include "tqamsg/cpp/message.h"
#include "tqamsg/util/c_text.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <span>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace tqa {

// What came of asking for a frame. Whole and Again may be followed by others; after the rest the
// stream can't be followed any more and the answer stays.
enum class Frame {
    Whole,      // here it is
    Again,      // the descriptor does not wait, and has no more for now
    End,        // the stream ended behind a frame
    Cut,        // the stream ended inside one
    TooLarge,   // longer than the limit
    Malformed,  // an encoded message with a negative length
    Failed,     // read() failed: error()
    NoMemory,
};

// Takes frames out of bytes that the caller has received, for those who wait for them in a loop of
// their own.
class FrameBuffer {
  public:
    static constexpr std::size_t kDefaultLimit = std::size_t{64} << 20;

    // `limit` is in bytes, the zero byte of a text included; no frame is ever longer than a message
    // can be, which is 2 GiB.
    explicit FrameBuffer(std::size_t limit = kDefaultLimit) noexcept
        : limit_(std::min<std::size_t>(limit, kMaxCapacity)) {}
    FrameBuffer(FrameBuffer&&) = delete;
    FrameBuffer& operator=(FrameBuffer&&) = delete;

    // Adds bytes behind those that have come; false, with nothing added, when memory runs out. The
    // present frame is gone.
    bool append(std::string_view bytes) {
        if (!makeRoom(bytes.size())) return false;
        if (!bytes.empty()) std::memcpy(buffer_.get() + end_, bytes.data(), bytes.size());
        end_ += bytes.size();
        return true;
    }

    // The same without a copy: room for bytes to come, empty when memory runs out, and how many of
    // them have come there.
    std::span<char> room() {
        if (!makeRoom(1)) return {};
        return {buffer_.get() + end_, capacity_ - end_};
    }
    void fill(std::size_t count) noexcept { end_ += count; }

    // Goes on to the next frame: Frame::Whole, Again, TooLarge or Malformed.
    Frame next() {
        if (last_ != Frame::Whole && last_ != Frame::Again) return last_;
        leave();
        return last_ = find();
    }

    // The present frame, until another function is called; empty unless next() answered
    // Frame::Whole.
    std::string_view frame() const noexcept { return {start(), size_}; }
    // It as a message: empty when it can't be read as one.
    Message message() const { return Message::load(frame()); }

    // Whether bytes have come behind the present frame: the stream must not end here.
    bool isInside() const noexcept { return pending() > size_; }

  private:
    static constexpr std::size_t kLeastRoom = std::size_t{64} << 10;

    const char* start() const noexcept { return buffer_.get() + begin_; }
    std::size_t pending() const noexcept { return end_ - begin_; }

    void leave() noexcept {
        begin_ += size_;
        size_ = 0;
    }

    // Looks for a frame in what has come; Frame::Again while it is not all there.
    Frame find() {
        if (pending() == scanned_) return Frame::Again;
        if (startsWithMagic(start(), static_cast<std::int64_t>(pending()))) return findEncoded();
        const char* fresh = start() + scanned_;
        const void* zero = std::memchr(fresh, 0, pending() - scanned_);
        if (zero == nullptr) {
            scanned_ = pending();
            return scanned_ < limit_ ? Frame::Again : Frame::TooLarge;
        }
        return take(static_cast<std::size_t>(static_cast<const char*>(zero) - start()) + 1);
    }

    Frame findEncoded() {
        const std::int64_t size =
            announcedMessageSize(start(), static_cast<std::int64_t>(pending()));
        if (size < 0) return Frame::Malformed;
        return size == 0 ? Frame::Again : take(static_cast<std::size_t>(size));
    }

    Frame take(std::size_t size) {
        if (size > limit_) return Frame::TooLarge;
        if (size > pending()) return Frame::Again;
        size_ = size;
        scanned_ = 0;
        return Frame::Whole;
    }

    // Moves what is left of the buffer's content to its front, once for each frame at most, and
    // doubles the buffer when that is not enough.
    bool makeRoom(std::size_t count) {
        leave();
        if (begin_ > 0) {
            std::memmove(buffer_.get(), start(), pending());
            end_ = pending();
            begin_ = 0;
        }
        if (count <= capacity_ - end_) return true;
        const std::size_t wanted = std::max({kLeastRoom, 2 * capacity_, end_ + count});
        auto* grown = static_cast<char*>(std::realloc(buffer_.get(), wanted));
        if (grown == nullptr) return false;
        static_cast<void>(buffer_.release());
        buffer_.reset(grown);
        capacity_ = wanted;
        return true;
    }

    std::size_t limit_;
    CText buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;    // of what has come and was not yet left behind
    std::size_t end_ = 0;      // of what has come
    std::size_t size_ = 0;     // of the present frame
    std::size_t scanned_ = 0;  // of a text: bytes in which there is no zero byte
    Frame last_ = Frame::Whole;
};

class FrameReader {
  public:
    static constexpr std::size_t kDefaultLimit = FrameBuffer::kDefaultLimit;

    // Reads from `fd`, which stays the caller's. `limit` is that of FrameBuffer.
    explicit FrameReader(int fd, std::size_t limit = kDefaultLimit) noexcept
        : fd_(fd), frames_(limit) {}

    // Goes on to the next frame.
    Frame next() {
        if (last_ != Frame::Whole && last_ != Frame::Again) return last_;
        do {
            last_ = frames_.next();
        } while (last_ == Frame::Again && (last_ = fill()) == Frame::Whole);
        return last_;
    }

    // The present frame, until next() is called; empty unless that answered Frame::Whole.
    std::string_view frame() const noexcept { return frames_.frame(); }
    // It as a message: empty when it can't be read as one.
    Message message() const { return frames_.message(); }

    // What next() answered last, and the errno of Frame::Failed.
    Frame last() const noexcept { return last_; }
    int error() const noexcept { return error_; }

  private:
    // Reads what there is, at least one byte; Frame::Whole when it did.
    Frame fill() {
        const std::span<char> room = frames_.room();
        if (room.empty()) return Frame::NoMemory;
        ssize_t count = 0;
        do {
            count = ::read(fd_, room.data(), room.size());
        } while (count < 0 && errno == EINTR);
        if (count > 0) {
            frames_.fill(static_cast<std::size_t>(count));
            return Frame::Whole;
        }
        if (count == 0) return frames_.isInside() ? Frame::Cut : Frame::End;
        if (errno == EAGAIN) return Frame::Again;
        error_ = errno;
        return Frame::Failed;
    }

    int fd_;
    FrameBuffer frames_;
    Frame last_ = Frame::Whole;
    int error_ = 0;
};

// Sends all bytes, and waits as long as it takes, also on a descriptor that does not: 0, or -1 with
// errno set. A socket whose other side is gone is an error (EPIPE) and no signal.
inline int writeFrame(int fd, std::string_view frame) {
    while (!frame.empty()) {
        ssize_t count = ::send(fd, frame.data(), frame.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == ENOTSOCK) count = ::write(fd, frame.data(), frame.size());
        if (count >= 0) {
            frame.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            pollfd room = {fd, POLLOUT, 0};
            ::poll(&room, 1, -1);
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return 0;
}

}  // namespace tqa
