// `tqamsg send`, `tqamsg tap` and `tqamsg gen`.

#include "tqamsg/tqamsg.h"

#include "tests/tools/support/tool.h"

#include <arpa/inet.h>
#include <functional>
#include <map>
#include <memory>
#include <netinet/in.h>
#include <regex>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

// A server for one connection, on a thread: what it does with the socket is its operator.
class Server {
  public:
    using Operator = std::function<void(int socket)>;

    Server(const std::string& path, Operator serve) : listener_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un place = {};
        place.sun_family = AF_UNIX;
        path.copy(place.sun_path, sizeof place.sun_path - 1);
        start(reinterpret_cast<sockaddr*>(&place), sizeof place, std::move(serve));
    }

    // On a free port of the loopback.
    explicit Server(Operator serve) : listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in place = {};
        place.sin_family = AF_INET;
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof place;
        auto* const address = reinterpret_cast<sockaddr*>(&place);
        start(address, length, std::move(serve));
        ::getsockname(listener_, address, &length);
        port_ = ntohs(place.sin_port);
    }

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        // Wakes one that still waits for its client.
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }

    std::string port() const { return std::to_string(port_); }

  private:
    void start(const sockaddr* place, socklen_t length, Operator serve) {
        ASSERT_EQ(::bind(listener_, place, length), 0);
        ASSERT_EQ(::listen(listener_, 16), 0);
        thread_ = std::thread([listener = listener_, serve = std::move(serve)] {
            const int socket = ::accept(listener, nullptr, nullptr);
            if (socket < 0) return;
            serve(socket);
            ::close(socket);
        });
    }

    int listener_;
    int port_ = 0;
    std::thread thread_;
};

// Reads whole messages until the client ends, and answers each with what `answer` makes of it.
Server::Operator operatorThat(std::function<std::string(const std::string& request)> answer) {
    return [answer = std::move(answer)](int socket) {
        std::string received;
        char buffer[4096];
        while (const ssize_t count = ::read(socket, buffer, sizeof buffer)) {
            if (count < 0) return;
            received.append(buffer, static_cast<std::size_t>(count));
            while (const int whole =
                       TQAMessage::isComplete(received.data(), static_cast<int>(received.size()))) {
                const std::string reply =
                    answer(received.substr(0, static_cast<std::size_t>(whole)));
                // In two pieces, so that whoever reads has to put them together.
                const std::size_t half = reply.size() / 2;
                ::send(socket, reply.data(), half, MSG_NOSIGNAL);
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                ::send(socket, reply.data() + half, reply.size() - half, MSG_NOSIGNAL);
                received.erase(0, static_cast<std::size_t>(whole));
            }
        }
    };
}

std::string withZero(const char* text) {
    return std::string(text) + '\0';
}

const char* const kAnswer = "<packet id=\"1\"><data><vem><veid>7</veid></vem></data></packet>";
const char* const kError = "<packet><data><vem><error/></vem></data></packet>";

TEST(ToolSend, PrintsAnAnswerForEachMessage) {
    Folder folder;
    const Server server(folder.path("socket"),
                        operatorThat([](const std::string& request) { return request; }));
    const Result result = run("cat " + kRequest + " " + kReply + " | tqamsg send --unix " +
                              folder.path("socket") + " -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kRequest) + bytesIn(kReply));
}

TEST(ToolSend, SpeaksTcpAndText) {
    const Server server(operatorThat([](const std::string& request) {
        return withZero(request.back() == '\0' && request[0] == '<' ? kAnswer : kError);
    }));
    const Result result = run("tqamsg convert :bin " + kRequest + " | tqamsg send --text --tcp " +
                              "127.0.0.1:" + server.port() + " - | tqamsg get -r data/vem/veid -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "7\n");
}

TEST(ToolSend, TellsErrorsOfTheOtherSideByItsStatus) {
    Folder folder;
    for (const char* answer : {kError, "<packet><data><error/></data></packet>"}) {
        const std::string path = folder.path(answer == kError ? "a" : "b");
        const Server server(
            path, operatorThat([answer](const std::string&) { return withZero(answer); }));
        EXPECT_EQ(run("tqamsg send --unix " + path + " " + kRequest).status, 5);
    }
}

TEST(ToolSend, DoesNotWaitForAnswersThatNobodyWants) {
    Folder folder;
    const Server server(folder.path("socket"),
                        operatorThat([](const std::string&) { return std::string(); }));
    const Result result =
        run("tqamsg send --no-reply --unix " + folder.path("socket") + " " + kRequest);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST(ToolSend, FailsWhenNoAnswerComes) {
    Folder folder;
    const std::string socket = folder.path("socket");
    {
        const Server silent(socket, operatorThat([](const std::string&) { return std::string(); }));
        const Result result =
            runWithErrors("tqamsg send --timeout 1 --unix " + socket + " " + kRequest);
        EXPECT_EQ(result.status, 4);
        EXPECT_EQ(result.output, "tqamsg: unix:" + socket + ": no answer in time\n");
    }
    {
        const Server closing(folder.path("closing"), [](int) {});
        EXPECT_EQ(
            run("tqamsg send --unix " + folder.path("closing") + " " + kRequest + " 2> /dev/null")
                .status,
            4);
    }
    EXPECT_EQ(run("tqamsg send --unix " + folder.path("nobody") + " " + kRequest + " 2> /dev/null")
                  .status,
              4);
}

TEST(ToolSend, TellsWhatIsWrongWithAnAnswer) {
    const std::string sound = run("tqamsg convert :bin " + kRequest).output;
    std::string negative = sound;
    tqa::store(negative.data() + tqa::kRootOffset + 8, std::int32_t{-8});
    std::string large = sound;
    tqa::store(large.data() + tqa::kRootOffset + 8, std::int32_t{1 << 30});
    struct Row {
        std::string answer;
        bool isCut;  // the connection ends with it
        int status;
        const char* complaint;
    };
    const Row rows[] = {
        {withZero("hello"), false, 3, "the answer is malformed"},
        {negative, false, 3, "the answer is malformed"},
        {large, false, 3, "the answer is malformed"},
        {sound.substr(0, 100), true, 4, "closed inside an answer"},
        {"<packet>", true, 4, "closed inside an answer"},
        {"", true, 4, "closed without an answer"},
    };
    Folder folder;
    int number = 0;
    for (const Row& row : rows) {
        const std::string path = folder.path(std::to_string(++number));
        const Server server(path, [&row](int socket) {
            char buffer[4096];
            static_cast<void>(::read(socket, buffer, sizeof buffer));
            ::send(socket, row.answer.data(), row.answer.size(), MSG_NOSIGNAL);
            if (row.isCut) ::shutdown(socket, SHUT_WR);
            while (::read(socket, buffer, sizeof buffer) > 0) {
            }
        });
        const Result result = runWithErrors("tqamsg send --unix " + path + " " + kRequest);
        EXPECT_EQ(result.status, row.status) << number;
        EXPECT_EQ(result.output, "tqamsg: unix:" + path + ": " + row.complaint + "\n");
    }
}

TEST(ToolSend, WantsOneAddress) {
    expectFailures({
        {"echo '<packet/>' | tqamsg send -", 2,
         "tqamsg: one of --unix and --tcp says where to send to\n"},
        {"echo '<packet/>' | tqamsg send --unix a --tcp b:1 -", 2,
         "tqamsg: one of --unix and --tcp says where to send to\n"},
        {"echo '<packet/>' | tqamsg send --tcp nowhere -", 2,
         "tqamsg: 'nowhere' is neither unix:PATH nor HOST:PORT\n"},
        {"tqamsg tap --listen '' --connect x:1", 2,
         "tqamsg: '' is neither unix:PATH nor HOST:PORT\n"},
    });
}

// --- tap ----------------------------------------------------------------------------------------

std::uint16_t network16(const std::string& bytes, std::size_t at) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) << 8 |
                                      static_cast<unsigned char>(bytes[at + 1]));
}

std::uint32_t network32(const std::string& bytes, std::size_t at) {
    return static_cast<std::uint32_t>(network16(bytes, at)) << 16 | network16(bytes, at + 2);
}

std::uint32_t host32(const std::string& bytes, std::size_t at) {
    return tqa::load<std::uint32_t>(bytes.data() + at);
}

// The sum that is 0xFFFF over bytes with a right checksum in them (RFC 1071).
std::uint32_t sumOf(const std::string& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); i += 2)
        sum += i + 1 < bytes.size()
                   ? network16(bytes, i)
                   : static_cast<unsigned>(static_cast<unsigned char>(bytes[i])) << 8;
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return sum;
}

// Reads a capture as a program would that knows TCP: the bytes of each direction, by source port.
std::map<int, std::string> streamsOf(const std::string& capture) {
    std::map<int, std::string> streams;
    std::map<int, std::uint32_t> expected;
    EXPECT_EQ(host32(capture, 0), 0xA1B2C3D4U);
    EXPECT_EQ(host32(capture, 20), 101U);
    for (std::size_t at = 24; at < capture.size();) {
        const std::string packet = capture.substr(at + 16, host32(capture, at + 8));
        at += 16 + packet.size();
        EXPECT_EQ(packet.substr(0, 1), "\x45");
        EXPECT_EQ(network16(packet, 2), packet.size());
        EXPECT_EQ(sumOf(packet.substr(0, 20)), 0xFFFFU);
        const std::string segment = packet.substr(20);
        std::string pseudo = packet.substr(12, 8) + std::string("\0\x06", 2);
        pseudo += static_cast<char>(segment.size() >> 8);
        pseudo += static_cast<char>(segment.size() & 0xFF);
        EXPECT_EQ(sumOf(pseudo + segment), 0xFFFFU);

        const int port = network16(segment, 0);
        const int flags = segment[13];
        const std::uint32_t sequence = network32(segment, 4);
        if ((flags & 2) != 0) {
            expected[port] = sequence + 1;
            continue;
        }
        EXPECT_EQ(sequence, expected[port]) << port;
        EXPECT_EQ(network32(segment, 8), expected[network16(segment, 2)]) << port;
        expected[port] +=
            static_cast<std::uint32_t>(segment.size() - 20) + ((flags & 1) != 0 ? 1 : 0);
        streams[port] += segment.substr(20);
    }
    return streams;
}

// Starts a tap before the script and waits for it behind it.
std::string tapped(const Folder& folder, const std::string& options, const std::string& script) {
    const std::string tap = folder.path("tap");
    return TQA_TOOL " tap --listen unix:" + tap + " --connect unix:" + folder.path("operator") +
           " " + options + " > " + folder.path("out") + " & for i in {1..200}; do [ -S " + tap +
           " ] && break; sleep 0.05; done; " + script + "; wait $!";
}

TEST(ToolTap, PassesEverythingOnAndShowsIt) {
    Folder folder;
    const std::string bytes = run("tqamsg convert :bin " + kRequest).output;
    const Server server(folder.path("operator"),
                        operatorThat([](const std::string&) { return withZero(kAnswer); }));
    const Result result =
        run(tapped(folder, "--once -w " + folder.path("pcap"),
                   "cat " + kRequest + " " + kRequest + " | tqamsg send --unix " +
                       folder.path("tap") + " - | tqamsg get --all data/vem/veid -"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "\"7\"\n\"7\"\n");

    const std::string pair = "[0-9:.]+ #1 > " + std::to_string(bytes.size()) +
                             " bytes id=\"c4001\" target=\"vem\" vem/get_info\n"
                             "[0-9:.]+ #1 < 63 bytes id=\"1\" vem/veid\n";
    EXPECT_TRUE(std::regex_match(bytesIn(folder.path("out")), std::regex(pair + pair)))
        << bytesIn(folder.path("out"));

    const auto streams = streamsOf(bytesIn(folder.path("pcap")));
    ASSERT_EQ(streams.size(), 2U);
    EXPECT_EQ(streams.at(40000), bytes + bytes);
    EXPECT_EQ(streams.at(4646), withZero(kAnswer) + withZero(kAnswer));
}

TEST(ToolTap, PassesLargeMessagesOnWhole) {
    Folder folder;
    const Server server(folder.path("operator"),
                        operatorThat([](const std::string& request) { return request; }));
    const Result result =
        run("tqamsg gen --size 100000 > " + folder.path("large") + "; " +
            tapped(folder, "--once -w " + folder.path("pcap"),
                   "tqamsg send --unix " + folder.path("tap") + " " + folder.path("large") +
                       " | cmp - " + folder.path("large")));
    EXPECT_EQ(result.status, 0) << result.output;
    const auto streams = streamsOf(bytesIn(folder.path("pcap")));
    EXPECT_EQ(streams.at(40000), bytesIn(folder.path("large")));
    EXPECT_EQ(streams.at(4646), bytesIn(folder.path("large")));
}

TEST(ToolTap, ShowsTreesAndWhatIsNoMessage) {
    Folder folder;
    const Server server(folder.path("operator"),
                        operatorThat([](const std::string&) { return withZero("hello"); }));
    run(tapped(folder, "--once --show",
               "echo '<packet/>' | tqamsg send --unix " + folder.path("tap") + " - 2> /dev/null"));
    EXPECT_TRUE(std::regex_match(bytesIn(folder.path("out")),
                                 std::regex("[0-9:.]+ #1 > 24 bytes\npacket #1398 Untyped\n"
                                            "[0-9:.]+ #1 < 6 bytes, malformed\n")))
        << bytesIn(folder.path("out"));
}

TEST(ToolTap, LetsClientsWaitWhileItHasNoDescriptors) {
    // Operator and clients in one. A tap that turns round meanwhile has used up its second of time.
    constexpr const char* kScript = R"(
import socket, sys
def unix(): return socket.socket(socket.AF_UNIX)
operator = unix()
operator.bind(sys.argv[2])
operator.listen(16)
clients = [unix() for _ in range(16)]
for client in clients:
    client.connect(sys.argv[1])
operator.settimeout(2)
served = []
try:
    while True:
        served.append(operator.accept()[0])
except TimeoutError:
    pass
print('some wait' if 0 < len(served) < 16 else len(served))
served[0].close()
clients[0].close()
operator.settimeout(20)
operator.accept()
print('one more is served')
)";
    Folder folder;
    const std::string tap = folder.path("tap");
    const Result result = run("(ulimit -n 20 -t 1; exec " TQA_TOOL " tap --listen unix:" + tap +
                              " --connect unix:" + folder.path("operator") +
                              " 2> /dev/null) & for i in {1..200}; do [ -S " + tap +
                              " ] && break; sleep 0.05; done; python3 -c \"" + kScript + "\" " +
                              tap + " " + folder.path("operator") + "; kill -TERM $!; wait $!");
    EXPECT_EQ(result.output, "some wait\none more is served\n");
    EXPECT_EQ(result.status, 0);
}

TEST(ToolTap, TellsWhereTheMessagesEnd) {
    const std::string sound = run("tqamsg convert :bin " + kRequest).output;
    std::string negative = sound;
    tqa::store(negative.data() + tqa::kRootOffset + 8, std::int32_t{-8});
    struct Row {
        std::string sent;
        const char* lines;  // what the tap prints of it, without times
    };
    const Row rows[] = {
        {sound.substr(0, 100), " ends inside a message\n"},
        {sound + "<packet>", " 408 bytes .*\n[0-9:.]+ #1 > ends inside a message\n"},
        {negative + sound, " no messages any more\n"},
        {std::string(2, '\0'), " 1 bytes, malformed\n[0-9:.]+ #1 > 1 bytes, malformed\n"},
    };
    for (const Row& row : rows) {
        Folder folder;
        const Server server(folder.path("operator"), [](int socket) {
            char buffer[4096];
            while (::read(socket, buffer, sizeof buffer) > 0) {
            }
        });
        // Sent as it is; netcat is not everywhere.
        run(tapped(folder, "--once",
                   "python3 -c 'import socket, sys; s = socket.socket(socket.AF_UNIX); "
                   "s.connect(sys.argv[1]); s.sendall(open(sys.argv[2], \"rb\").read())' " +
                       folder.path("tap") + " " + folder.write("sent", row.sent)));
        EXPECT_TRUE(std::regex_match(bytesIn(folder.path("out")),
                                     std::regex("[0-9:.]+ #1 >" + std::string(row.lines))))
            << bytesIn(folder.path("out"));
    }
}

TEST(ToolTap, EndsWithASignalAndRemovesItsSocket) {
    Folder folder;
    const Result result = run(tapped(folder, "", "kill -TERM $!") + "; echo $?; [ -S " +
                              folder.path("tap") + " ] || echo gone");
    EXPECT_EQ(result.output, "0\ngone\n");
}

// Two descriptors make a connection: one of the limits leaves a single one.
TEST(ToolTap, SaysWhenThereAreTooManyConnections) {
    for (const char* limit : {"20", "21"}) {
        Folder folder;
        const Server server(folder.path("operator"), [](int socket) {
            char buffer[64];
            while (::read(socket, buffer, sizeof buffer) > 0) {
            }
        });
        const std::string errors = folder.path("errors");
        run("ulimit -n " + std::string(limit) + "; " +
            tapped(folder, "2> " + errors,
                   "python3 -c 'import socket, sys, os, time\n"
                   "clients = [socket.socket(socket.AF_UNIX) for _ in range(10)]\n"
                   "for client in clients: client.connect(sys.argv[1])\n"
                   "while not os.path.getsize(sys.argv[2]): time.sleep(0.01)' " +
                       folder.path("tap") + " " + errors + "; kill $!"));
        EXPECT_NE(bytesIn(errors).find("Too many open files\n"), std::string::npos)
            << limit << bytesIn(errors);
    }
}

TEST(ToolTap, FailsWhenItCannotListenOrConnect) {
    Folder folder;
    EXPECT_EQ(
        run("tqamsg tap --listen unix:/no/such/folder/x --connect unix:/x 2> /dev/null").status, 4);
    const Result result =
        run(tapped(folder, "--once 2> /dev/null",
                   "tqamsg send --unix " + folder.path("tap") + " " + kRequest + " 2> /dev/null"));
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(run("tqamsg tap --listen unix:" + folder.path("x") +
                  " --connect unix:/x -w /no/such/file 2> /dev/null")
                  .status,
              4);
}

// --- gen ----------------------------------------------------------------------------------------

TEST(ToolGen, MakesTheSameMessagesEverywhere) {
    const Result result = run("tqamsg gen --seed 7 --count 3 --to json");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kToolData + "/gen_7.json"));
}

TEST(ToolGen, MakesMessagesThatTheStrictCheckAccepts) {
    for (const char* seed : {"0", "1", "99"}) {
        const Result result = runWithErrors("tqamsg gen --count 300 --seed " + std::string(seed) +
                                            " | tqamsg validate --stream -");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, "300 messages\n");
    }
}

TEST(ToolGen, MakesAsManyElementsAsItIsTold) {
    const std::string count =
        " | tqamsg show --offsets - | awk '/ data #1307/ {on = 1} on' | wc -l";
    // "data" and the operator's element come on top.
    EXPECT_EQ(run("tqamsg gen --size 0" + count).output, "2\n");
    EXPECT_EQ(run("tqamsg gen --size 500" + count).output, "502\n");
}

TEST(ToolGen, WritesEachFormAndRefusesOthers) {
    for (const char* form : {"bin", "xml", "json", "hex"}) {
        EXPECT_EQ(run("tqamsg gen --to " + std::string(form) + " | tqamsg get -r @id -").status, 0);
    }
    EXPECT_EQ(run("tqamsg gen --to soap 2> /dev/null").status, 2);
    EXPECT_EQ(run("tqamsg gen --seed x 2> /dev/null").status, 2);
    EXPECT_EQ(run("tqamsg gen --size 10000001 2> /dev/null").status, 2);
}

}  // namespace
