// Frames out of a stream that comes in pieces of any size, and goes wrong in any way.

#include "tqamsg/cpp/frames.h"

#include "tests/support/messages.h"
#include "tests/util/out_of_memory.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Frame;
using tqa::FrameBuffer;
using tqa::FrameReader;

// A descriptor that is closed with its owner.
class Fd {
  public:
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd(const Fd&) = delete;
    ~Fd() { close(); }

    int get() const { return fd_; }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

  private:
    int fd_;
};

// A stream whose reading end does not wait.
struct Stream {
    Stream() {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_NONBLOCK), 0);
        out = ends[0];
        in = ends[1];
    }
    Stream(const Stream&) = delete;
    ~Stream() {
        ::close(out);
        end();
    }

    void put(std::string_view bytes) const { EXPECT_EQ(tqa::writeFrame(in, bytes), 0); }
    void end() {
        if (in >= 0) ::close(in);
        in = -1;
    }

    int out = -1;
    int in = -1;
};

constexpr const char* kNames[] = {"whole", "again",     "end",    "cut",
                                  "large", "malformed", "failed", "memory"};

// What a reader that is given a whole stream answers: each frame's size, then why it ended.
std::string answers(std::string_view stream, std::size_t limit = FrameReader::kDefaultLimit) {
    Stream pipe;
    pipe.put(stream);
    pipe.end();
    FrameReader frames(pipe.out, limit);
    std::string all;
    while (frames.next() == Frame::Whole) all += std::to_string(frames.frame().size()) + ' ';
    all += kNames[static_cast<int>(frames.last())];
    EXPECT_EQ(frames.next(), frames.last()) << "the answer stays";
    EXPECT_EQ(frames.frame(), "");
    return all;
}

// The same of a buffer to which the stream is given in pieces.
std::string bufferAnswers(std::string_view stream, std::size_t limit, std::size_t piece) {
    FrameBuffer frames(limit);
    std::string all;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        EXPECT_TRUE(frames.append(stream.substr(at, piece)));
        Frame found = Frame::Whole;
        while ((found = frames.next()) == Frame::Whole)
            all += std::to_string(frames.frame().size()) + ' ';
        EXPECT_EQ(frames.frame(), "");
        EXPECT_EQ(frames.next(), found) << "the answer stays";
        if (found != Frame::Again) return all + kNames[static_cast<int>(found)];
    }
    return all + (frames.isInside() ? "cut" : "end");
}

std::string zero(const std::string& text) {
    return text + '\0';
}

const std::string kEncoded = message(container(1398, intElement(1002, 5)));  // 48 bytes
const std::string kText = zero("<packet><data/></packet>");                  // 25 bytes
const std::string kMagic = kEncoded.substr(0, 4);

std::string head(std::int32_t length) {
    return kEncoded.substr(0, 16) + number(length);
}

TEST(FrameReader, SaysWhatTheStreamHoldsAndHowItEnds) {
    const struct {
        const char* what;
        std::string stream;
        std::string answers;
        std::size_t limit = FrameReader::kDefaultLimit;
    } cases[] = {
        {"nothing", "", "end"},
        {"a message", kEncoded, "48 end"},
        {"a text", kText, "25 end"},
        {"an empty text", zero(""), "1 end"},
        {"both in turns", kEncoded + kText + kText + kEncoded, "48 25 25 48 end"},
        {"the smallest message", message(container(1398)), "24 end"},
        {"a text that starts like a message", zero(kMagic.substr(0, 3)), "4 end"},
        {"a message without its end", kText + kEncoded.substr(0, 47), "25 cut"},
        {"a message without its head", kMagic, "cut"},
        {"a text without its zero byte", kEncoded + "<packet>", "48 cut"},
        {"a negative length", kText + head(-1) + kText, "25 malformed"},
        {"the most negative length", head(INT32_MIN), "malformed"},
        {"a message of the limit", kEncoded + kEncoded, "48 48 end", 48},
        {"a message beyond it", kText + kEncoded, "25 large", 47},
        {"its head is enough", head(100000), "large", 1000},
        {"a length near 2 GiB", head(INT32_MAX), "large", std::size_t{1} << 40},
        {"a text of the limit", kText + kText, "25 25 end", 25},
        {"a text beyond it", kText, "large", 24},
        {"a text beyond it without an end", std::string(24, 'x'), "large", 24},
        {"a long stretch of texts",
         [] {
             std::string texts;
             for (int i = 0; i < 1000; ++i) texts += zero(std::string(9, 'x'));
             return texts;
         }(),
         [] {
             std::string sizes;
             for (int i = 0; i < 1000; ++i) sizes += "10 ";
             return sizes + "end";
         }()},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(answers(each.stream, each.limit), each.answers) << each.what;
        for (const std::size_t piece : {1U, 7U, 100000U})
            EXPECT_EQ(bufferAnswers(each.stream, each.limit, piece), each.answers) << each.what;
    }
}

TEST(FrameBuffer, GivesRoomThatIsFilledInPlace) {
    FrameBuffer frames;
    const std::span<char> room = frames.room();
    ASSERT_GE(room.size(), kEncoded.size());
    kEncoded.copy(room.data(), kEncoded.size());
    frames.fill(kEncoded.size() - 1);
    EXPECT_EQ(frames.next(), Frame::Again);
    EXPECT_TRUE(frames.isInside());
    frames.fill(1);
    EXPECT_EQ(frames.next(), Frame::Whole);
    EXPECT_FALSE(frames.isInside());
    EXPECT_EQ(frames.frame(), kEncoded);
    EXPECT_EQ(frames.message().root().get<int>(1002), 5);
}

TEST(FrameBuffer, LosesThePresentFrameWhenBytesAreAdded) {
    FrameBuffer frames;
    ASSERT_TRUE(frames.append(kEncoded));
    ASSERT_EQ(frames.next(), Frame::Whole);
    ASSERT_TRUE(frames.append(""));
    EXPECT_EQ(frames.frame(), "");
    EXPECT_FALSE(frames.isInside());
    ASSERT_TRUE(frames.append(kText));
    EXPECT_EQ(frames.frame(), "");
    EXPECT_TRUE(frames.isInside());
    ASSERT_EQ(frames.next(), Frame::Whole);
    EXPECT_EQ(frames.frame(), kText);
}

TEST(FrameReader, TakesPiecesOfAnySize) {
    const std::string frames[] = {kEncoded, kText, zero(""), zero(kMagic.substr(0, 2)), kEncoded};
    std::string all;
    for (const std::string& each : frames) all += each;
    for (std::size_t piece = 1; piece <= all.size(); ++piece) {
        const Stream pipe;
        FrameReader reader(pipe.out);
        std::vector<std::string> got;
        for (std::size_t at = 0; at < all.size(); at += piece) {
            pipe.put(std::string_view(all).substr(at, piece));
            while (reader.next() == Frame::Whole) got.emplace_back(reader.frame());
            ASSERT_EQ(reader.last(), Frame::Again);
        }
        EXPECT_EQ(got, std::vector(std::begin(frames), std::end(frames))) << piece;
    }
}

TEST(FrameReader, TakesFramesMuchLongerThanOneReading) {
    const std::string text = zero(std::string(3000000, 'x'));
    const std::string encoded =
        message(container(1398, stringElement(1002, std::string(2000000, 'y'))));
    const Stream pipe;
    FrameReader reader(pipe.out);
    for (const std::string& frame : {text, encoded, text}) {
        for (std::size_t at = 0; at < frame.size(); at += 10000) {
            ASSERT_NE(reader.last(), Frame::End);
            pipe.put(std::string_view(frame).substr(at, 10000));
            reader.next();
        }
        ASSERT_EQ(reader.last(), Frame::Whole);
        EXPECT_TRUE(reader.frame() == frame);
    }
}

TEST(FrameReader, WaitsThroughSignals) {
    struct sigaction action = {};
    static volatile std::sig_atomic_t signals = 0;
    action.sa_handler = [](int) { signals = signals + 1; };
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const Fd reading(ends[0]);
    const Fd writing(ends[1]);
    const pthread_t reader = ::pthread_self();
    std::thread writer([&] {
        for (std::size_t at = 0; at < kEncoded.size(); ++at) {
            ::pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            tqa::writeFrame(writing.get(), std::string_view(kEncoded).substr(at, 1));
        }
    });
    FrameReader frames(reading.get());
    EXPECT_EQ(frames.next(), Frame::Whole);
    writer.join();
    EXPECT_EQ(frames.frame(), kEncoded);
    EXPECT_GT(signals, 0);
}

TEST(FrameReader, SaysWhatTheSystemSaid) {
    FrameReader frames(-1);
    EXPECT_EQ(frames.next(), Frame::Failed);
    EXPECT_EQ(frames.error(), EBADF);
    EXPECT_EQ(frames.next(), Frame::Failed);
}

TEST(FrameReader, MakesMessagesOfFrames) {
    Stream pipe;
    pipe.put(kEncoded + kText + zero("<nonsense"));
    FrameReader frames(pipe.out);
    ASSERT_EQ(frames.next(), Frame::Whole);
    EXPECT_EQ(frames.message().root().get<int>(1002), 5);
    ASSERT_EQ(frames.next(), Frame::Whole);
    EXPECT_TRUE(frames.message().at("data"));
    ASSERT_EQ(frames.next(), Frame::Whole);
    EXPECT_FALSE(frames.message());
}

TEST(FrameReaderDeathTest, SaysWhenTheFrameDoesNotFitTheMemory) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    const auto feed = [] {
        const std::string piece(60000, 'x');
        const Stream pipe;
        FrameReader frames(pipe.out, std::size_t{1} << 30);
        starve();
        do {
            pipe.put(piece);
        } while (frames.next() == Frame::Again);
        ::_exit(frames.last() == Frame::NoMemory ? 0 : 1);
    };
    EXPECT_EXIT(feed(), testing::ExitedWithCode(0), "");
}

TEST(FrameBufferDeathTest, AddsNothingWithoutMemory) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    const auto feed = [] {
        const std::string large(std::size_t{1} << 20, 'x');
        FrameBuffer frames;
        const bool isFed = frames.append(kText + kEncoded.substr(0, 20));
        starve();
        bool isRight = isFed && !frames.append(large) && frames.next() == Frame::Whole;
        isRight = isRight && frames.frame() == kText && frames.append(kEncoded.substr(20));
        isRight = isRight && frames.next() == Frame::Whole && frames.frame() == kEncoded;
        ::_exit(isRight ? 0 : 1);
    };
    EXPECT_EXIT(feed(), testing::ExitedWithCode(0), "");
}

// --- writing ------------------------------------------------------------------------------------

TEST(WriteFrame, WaitsForRoomAlsoWhereTheDescriptorDoesNot) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    const Fd reading(ends[0]);
    const Fd writing(ends[1]);
    const std::string text = zero(std::string(3000000, 'x'));
    int status = -1;
    std::thread writer([&] { status = tqa::writeFrame(writing.get(), text); });
    FrameReader frames(reading.get());
    while (frames.next() == Frame::Again) std::this_thread::yield();
    writer.join();
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(frames.frame() == text);
}

TEST(WriteFrame, ASocketThatNobodyReadsIsAnErrorAndNoSignal) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const Fd writing(ends[1]);
    Fd(ends[0]).close();
    EXPECT_EQ(tqa::writeFrame(writing.get(), kText), -1);
    EXPECT_EQ(errno, EPIPE);
}

}  // namespace
