// Frames taken from a stream that comes in pieces, by the reader and by the buffer, beside the
// framing test on all that has come. The first byte says how large the pieces are.

#include "tqamsg/cpp/frames.h"

#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

using tqa::Frame;

namespace {

constexpr std::size_t kLimit = 1024;

class Pipe {
  public:
    Pipe() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC | O_NONBLOCK), 0); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(ends_[0]);
        end();
    }

    int readEnd() const { return ends_[0]; }
    void write(std::string_view piece) const { EXPECT_EQ(tqa::writeFrame(ends_[1], piece), 0); }
    void end() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

  private:
    int ends_[2];
};

// What comes of the rest of a stream that has ended: a frame, or why there is none.
Frame expected(std::string_view rest, std::string_view* frame) {
    if (rest.empty()) return Frame::End;
    const tqa_test::Block exact(rest);
    const int size = TQABinary::isComplete(exact.data(), exact.size());
    *frame = rest.substr(0, static_cast<std::size_t>(size));
    if (size > 0) return frame->size() <= kLimit ? Frame::Whole : Frame::TooLarge;
    if (tqa::startsWithMagic(exact.data(), exact.size())) {
        const std::int64_t announced = tqa::announcedMessageSize(exact.data(), exact.size());
        if (announced < 0) return Frame::Malformed;
        return announced > static_cast<std::int64_t>(kLimit) ? Frame::TooLarge : Frame::Cut;
    }
    return rest.size() < kLimit ? Frame::Cut : Frame::TooLarge;
}

// The frames up to the answer that stays, or to the one that asks for more.
template <class Frames>
Frame takeFrames(Frames& reader, std::string_view* rest) {
    Frame last = Frame::Whole;
    while ((last = reader.next()) == Frame::Whole) {
        std::string_view frame;
        EXPECT_EQ(expected(*rest, &frame), Frame::Whole);
        EXPECT_EQ(reader.frame(), frame);
        EXPECT_EQ(static_cast<bool>(reader.message()),
                  tqa_test::tryLoad(std::string(frame)) != nullptr);
        rest->remove_prefix(frame.size());
    }
    return last;
}

}  // namespace

TQA_TARGET(stream) {
    if (input.empty()) return;
    const std::size_t piece = static_cast<unsigned char>(input[0]) + std::size_t{1};
    const std::string_view stream = input.substr(1);
    Pipe pipe;
    tqa::FrameReader reader(pipe.readEnd(), kLimit);
    std::string_view rest = stream;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        pipe.write(stream.substr(at, piece));
        if (takeFrames(reader, &rest) != Frame::Again) break;
    }
    pipe.end();
    const Frame last = takeFrames(reader, &rest);
    std::string_view frame;
    EXPECT_EQ(last, expected(rest, &frame));
    EXPECT_EQ(reader.next(), last);

    tqa::FrameBuffer buffer(kLimit);
    std::string_view left = stream;
    Frame found = Frame::Again;
    for (std::size_t at = 0; at < stream.size() && found == Frame::Again; at += piece) {
        EXPECT_TRUE(buffer.append(stream.substr(at, piece)));
        found = takeFrames(buffer, &left);
    }
    EXPECT_EQ(left, rest);
    EXPECT_EQ(found == Frame::Again, last == Frame::End || last == Frame::Cut);
    EXPECT_EQ(buffer.isInside(), last != Frame::End);
}
