// `tqamsg send`: asks an operator.

#include "tqamsg/tqa.h"

#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/socket.h"
#include "tools/verbs.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace tool {

namespace {

// A connection to an operator.
class Line {
  public:
    Line(const std::string& address, int seconds)
        : address_(address),
          socket_(connectTo(address)),
          milliseconds_(seconds * 1000),
          frames_(socket_.get()) {
        ::fcntl(socket_.get(), F_SETFL, O_NONBLOCK);  // poll() is where it waits
    }

    void send(std::string_view bytes) {
        while (!bytes.empty()) {
            wait(POLLOUT);
            const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR && errno != EAGAIN) fail(std::strerror(errno));
            if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    // The next message that comes.
    std::string receive() {
        while (frames_.next() == tqa::Frame::Again) wait(POLLIN);
        switch (frames_.last()) {
            case tqa::Frame::Whole:
                return std::string(frames_.frame());
            case tqa::Frame::End:
                fail("closed without an answer");
            case tqa::Frame::Cut:
                fail("closed inside an answer");
            case tqa::Frame::Failed:
                fail(std::strerror(frames_.error()));
            case tqa::Frame::NoMemory:
                fail("out of memory");
            default:
                throw Failure(kMalformed, address_ + ": the answer is malformed");
        }
    }

  private:
    void wait(short event) const {
        pollfd entry = {socket_.get(), event, 0};
        int ready = 0;
        while ((ready = ::poll(&entry, 1, milliseconds_)) < 0 && errno == EINTR) {
        }
        if (ready == 0) fail("no answer in time");
    }
    [[noreturn]] void fail(const char* why) const {
        throw Failure(kInputOutput, address_ + ": " + why);
    }

    const std::string address_;
    const Descriptor socket_;
    const int milliseconds_;
    tqa::FrameReader frames_;
};

Message answerIn(std::string frame, const std::string& address) {
    Message message = newMessage();
    if (message->init(frame.data(), static_cast<int>(frame.size())) != 0 || !rootOf(*message))
        throw Failure(kMalformed, address + ": the answer is malformed");
    return message;
}

// Errors stand in "data" or in the operator's element.
bool hasErrors(TQAMessage& answer) {
    const Iterator it(answer.newIterator());
    if (it->seek("data") != 0) return false;
    if (it->seekPresence("error") == 0) return true;
    return it->firstChild() == 0 && it->seekPresence("error") == 0;
}

std::string addressIn(const Arguments& arguments) {
    if (arguments.has("--unix") == arguments.has("--tcp"))
        throw Failure(kUsage, "one of --unix and --tcp says where to send to");
    return arguments.has("--unix") ? "unix:" + arguments.text("--unix") : arguments.text("--tcp");
}

Exit send(const Arguments& arguments) {
    constexpr long kLongestWait = 86400;
    const std::string address = addressIn(arguments);
    const long seconds = std::min(arguments.number("--timeout", 30), kLongestWait);
    Line line(address, static_cast<int>(seconds));
    Exit status = kOk;
    forEachMessage(arguments.text("FILE"), [&](TQAMessage& message, Form form) {
        line.send(arguments.has("--text") ? inForm(message, Form::Xml) + '\0' : bytesOf(message));
        if (arguments.has("--no-reply")) return;
        const Message answer = answerIn(line.receive(), address);
        writeOutput(inForm(*answer, form));
        if (hasErrors(*answer)) status = kOtherSide;
    });
    return status;
}

}  // namespace

Verb sendVerb() {
    return {
        "send",
        "send messages to an operator and print its answers",
        "Connects, sends each message and waits for one answer before it sends the next. Answers "
        "are written in the form of their request. The exit status is 5 when an answer carries an "
        "\"error\" in \"data\" or in the operator's element there, and 4 when the connection fails "
        "or no answer comes in time.",
        {
            option("-u,--unix", "PATH", Takes::File, "the operator's socket"),
            option("-t,--tcp", "HOST:PORT", Takes::Text, "the operator's address"),
            option("--timeout", "SECONDS", Takes::Number, "how long to wait for an answer (30)"),
            flag("--text", "send XML text with a zero byte behind it, not binary messages"),
            flag("--no-reply", "do not wait for answers"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {{"tqamsg send --unix /run/agent/vem.sock request.xml", "ask, and read the answer as XML"}},
        send,
    };
}

}  // namespace tool
