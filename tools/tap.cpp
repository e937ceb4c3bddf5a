// `tqamsg tap`: stands between a client and an operator, passes everything on, and shows it.

#include "tqamsg/tqa.h"

#include "tools/element.h"
#include "tools/message.h"
#include "tools/output.h"
#include "tools/pcap.h"
#include "tools/show.h"
#include "tools/socket.h"
#include "tools/verbs.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <list>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

namespace tool {

namespace {

volatile std::sig_atomic_t isInterrupted = 0;

void interrupt(int) {
    isInterrupted = 1;
}

// SIGINT and SIGTERM end the tap between two rounds; they only come while it waits.
sigset_t catchSignals() {
    sigset_t blocked;
    sigset_t usual;
    sigemptyset(&blocked);
    struct sigaction action = {};
    action.sa_handler = interrupt;
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaddset(&blocked, signal);
        ::sigaction(signal, &action, nullptr);
    }
    ::sigprocmask(SIG_BLOCK, &blocked, &usual);
    return usual;
}

timeval now() {
    timeval moment = {};
    ::gettimeofday(&moment, nullptr);
    return moment;
}

std::string clockText(const timeval& at) {
    std::tm local = {};
    ::localtime_r(&at.tv_sec, &local);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06ld", local.tm_hour, local.tm_min,
                  local.tm_sec, static_cast<long>(at.tv_usec));
    return text;
}

// The id, the target and the operation, as far as the message has them.
std::string summaryOf(TQAMessage& message) {
    std::string text;
    std::string id;
    if (message.getID(&id) == 0) text += " id=" + inQuotes(id);
    const std::string target = message.getTarget();
    if (!target.empty()) text += " target=" + inQuotes(target);
    const Iterator it(message.newIterator());
    if (it->seek("data") != 0) return text;
    for (const char* separator = " "; it->firstChild() == 0; separator = "/") {
        const std::string word = it->curName();
        text += separator + (word.empty() ? "?" : word);
        if (*separator == '/') break;
    }
    return text;
}

// One direction of a connection: what was read on its way to the other side.
struct Flow {
    tqa::FrameBuffer frames;
    bool isLost = false;  // its bytes no longer make messages
    std::string waiting;  // to be written
    bool isOver = false;  // nothing more comes
    bool isShut = false;  // and the other side was told
};

struct Connection {
    long number = 0;
    std::array<Descriptor, 2> sockets;  // by Side
    std::array<Flow, 2> flows;          // by the Side it comes from
    Conversation talk;

    bool isOver() const { return flows[0].isShut && flows[1].isShut; }
};

std::unique_ptr<PcapFile> captureIn(const Arguments& arguments) {
    if (!arguments.has("--write")) return nullptr;
    return std::make_unique<PcapFile>(arguments.text("--write"));
}

class Tap {
  public:
    explicit Tap(const Arguments& arguments)
        : listen_(arguments.text("--listen")),
          target_(arguments.text("--connect")),
          isShown_(arguments.has("--show")),
          isOnce_(arguments.has("--once")),
          pcap_(captureIn(arguments)),
          listener_(listenAt(listen_)) {}

    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;
    ~Tap() {
        const std::string path = unixPathOf(listen_);
        if (!path.empty()) ::unlink(path.c_str());
    }

    void run() {
        const sigset_t mask = catchSignals();
        while (isInterrupted == 0 && !(isOnce_ && count_ > 0 && connections_.empty())) {
            flushOutput();
            round(mask);
        }
    }

  private:
    // Waits for something to do, and does it.
    void round(const sigset_t& mask) {
        const bool accepts = !isFull_ && !(isOnce_ && count_ > 0);
        std::vector<pollfd> entries = {{accepts ? listener_.get() : -1, POLLIN, 0}};
        for (const Connection& connection : connections_)
            for (const Side side : {Side::Client, Side::Server})
                entries.push_back(entryOf(connection, side));
        if (::ppoll(entries.data(), entries.size(), nullptr, &mask) < 0) {
            if (errno == EINTR) return;
            throw Failure(kInputOutput, std::string("poll: ") + std::strerror(errno));
        }
        std::size_t i = 1;
        for (Connection& connection : connections_)
            for (const Side side : {Side::Client, Side::Server})
                serve(connection, side, entries[i++].revents);
        if (connections_.remove_if([](const Connection& each) { return each.isOver(); }) > 0)
            isFull_ = false;
        if (entries[0].revents != 0) accept();
    }

    static std::size_t index(Side side) { return static_cast<std::size_t>(side); }
    static Side otherOf(Side side) { return side == Side::Client ? Side::Server : Side::Client; }

    // Nothing is read while the other side has not taken what was read before.
    static pollfd entryOf(const Connection& connection, Side side) {
        const Flow& from = connection.flows[index(side)];
        const Flow& to = connection.flows[index(otherOf(side))];
        const bool reads = !from.isOver && from.waiting.empty();
        const bool writes = !to.waiting.empty();
        const int events = (reads ? POLLIN : 0) | (writes ? POLLOUT : 0);
        return {events == 0 ? -1 : connection.sockets[index(side)].get(),
                static_cast<short>(events), 0};
    }

    void accept() {
        // Kept for the socket to the operator.
        Descriptor spare(::fcntl(listener_.get(), F_DUPFD_CLOEXEC, 0));
        Descriptor client(
            spare.get() < 0 ? -1 : ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client.get() < 0) return waitForRoom();
        spare = Descriptor();
        Connection& connection = connections_.emplace_back();
        connection.number = ++count_;
        connection.talk.port = static_cast<std::uint16_t>(40000 + (count_ - 1) % 20000);
        try {
            connection.sockets = {std::move(client), connectTo(target_)};
        } catch (const Failure& failure) {
            connections_.pop_back();
            if (isOnce_) throw;
            std::fprintf(stderr, "tqamsg: %s\n", failure.what());
            return;
        }
        if (pcap_) pcap_->begin(connection.talk, now());
    }

    // Without a free descriptor the next client waits until a connection has ended: to ask for it
    // again and again would take all the processor has.
    void waitForRoom() {
        if (errno != EMFILE && errno != ENFILE) return;
        const std::string why = listen_ + ": " + std::strerror(errno);
        if (connections_.empty()) throw Failure(kInputOutput, why);
        std::fprintf(stderr, "tqamsg: %s\n", why.c_str());
        isFull_ = true;
    }

    void serve(Connection& connection, Side side, short events) {
        if ((events & POLLOUT) != 0) write(connection, otherOf(side));
        if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) read(connection, side);
        for (const Side each : {Side::Client, Side::Server}) shut(connection, each);
    }

    void read(Connection& connection, Side side) {
        Flow& flow = connection.flows[index(side)];
        if (flow.isOver || !flow.waiting.empty()) return;
        char buffer[1 << 16];
        const ssize_t count =
            ::recv(connection.sockets[index(side)].get(), buffer, sizeof buffer, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count <= 0) {
            flow.isOver = true;
            if (!flow.isLost && flow.frames.isInside())
                line(connection, side, " ends inside a message");
            return;
        }
        const std::string_view bytes(buffer, static_cast<std::size_t>(count));
        flow.waiting = bytes;
        if (pcap_) pcap_->data(connection.talk, side, bytes, now());
        show(connection, side, bytes);
        write(connection, side);
    }

    // Passes on what came from `side`. A side that takes nothing any more ends both directions.
    static void write(Connection& connection, Side side) {
        Flow& flow = connection.flows[index(side)];
        const ssize_t count =
            ::send(connection.sockets[index(otherOf(side))].get(), flow.waiting.data(),
                   flow.waiting.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            flow.waiting.erase(0, static_cast<std::size_t>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            for (Flow& each : connection.flows) {
                each.waiting.clear();
                each.isOver = true;
            }
        }
    }

    // Tells the other side that `side` has ended, when everything was passed on.
    void shut(Connection& connection, Side side) {
        Flow& flow = connection.flows[index(side)];
        if (!flow.isOver || flow.isShut || !flow.waiting.empty()) return;
        ::shutdown(connection.sockets[index(otherOf(side))].get(), SHUT_WR);
        if (pcap_) pcap_->end(connection.talk, side, now());
        flow.isShut = true;
    }

    void show(Connection& connection, Side side, std::string_view bytes) {
        Flow& flow = connection.flows[index(side)];
        if (flow.isLost) return;
        if (!flow.frames.append(bytes)) throw Failure(kInputOutput, "out of memory");
        tqa::Frame found = tqa::Frame::Again;
        while ((found = flow.frames.next()) == tqa::Frame::Whole)
            showFrame(connection, side, std::string(flow.frames.frame()));
        flow.isLost = found != tqa::Frame::Again;
        if (flow.isLost) line(connection, side, " no messages any more");
    }

    void showFrame(const Connection& connection, Side side, std::string frame) const {
        const Message message = newMessage();
        const bool isMessage =
            message->init(frame.data(), static_cast<int>(frame.size())) == 0 && rootOf(*message);
        line(connection, side,
             " " + std::to_string(frame.size()) + " bytes" +
                 (isMessage ? summaryOf(*message) : ", malformed"));
        if (isMessage && isShown_) showTree(*message);
    }

    static void line(const Connection& connection, Side side, const std::string& what) {
        writeOutput(clockText(now()) + " #" + std::to_string(connection.number) +
                    (side == Side::Client ? " >" : " <") + what + "\n");
    }

    const std::string listen_;
    const std::string target_;
    const bool isShown_;
    const bool isOnce_;
    const std::unique_ptr<PcapFile> pcap_;
    const Descriptor listener_;
    std::list<Connection> connections_;
    long count_ = 0;
    bool isFull_ = false;  // no descriptors are left until a connection ends
};

Exit tap(const Arguments& arguments) {
    Tap(arguments).run();
    return kOk;
}

}  // namespace

Verb tapVerb() {
    return {
        "tap",
        "watch the messages between a client and an operator",
        "Listens at one address, connects each client to another, passes all bytes on as they are, "
        "and prints a line for each message: the time, the number of the connection, \">\" for the "
        "client's messages and \"<\" for the operator's, the length, and the id, the target and "
        "the operation as far as the message has them. Addresses are unix:PATH or HOST:PORT. "
        "SIGINT and SIGTERM end the tap.\n\n"
        "The capture that -w writes has the link type RAW (101). Each connection stands in it as a "
        "TCP conversation over IPv4, with a handshake, right sequence numbers and checksums, from "
        "192.0.2.1, ports 40000 and up, to 192.0.2.2, port 4646; the hosts are made up. Programs "
        "that read captures put the messages together again, however they were split.",
        {
            times(Times::Once,
                  option("-l,--listen", "ADDRESS", Takes::Text, "where clients connect to")),
            times(Times::Once,
                  option("-c,--connect", "ADDRESS", Takes::Text, "where the operator is")),
            option("-w,--write", "FILE", Takes::File, "write a capture file (pcap)"),
            flag("--show", "print the tree of each message, as show does"),
            flag("--once", "end with the first connection"),
        },
        {{"tqamsg tap --listen unix:/tmp/vem.sock --connect unix:/run/agent/vem.sock -w vem.pcap",
          "watch the operator vem, and keep it for later"}},
        tap,
    };
}

}  // namespace tool
