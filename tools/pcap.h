// A capture file of connections that never were packets.
//
// Each connection becomes a TCP conversation between made-up hosts, so that programs that read
// captures put the stream together again: link type RAW (101), IPv4 from 192.0.2.1 (the addresses
// that RFC 5737 sets aside for examples), port 40000 and up, to 192.0.2.2, port 4646.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <sys/time.h>

namespace tool {

enum class Side { Client, Server };

// What a conversation has come to.
struct Conversation {
    std::uint16_t port;                  // the client's
    std::uint32_t sequence[2] = {1, 1};  // of each side's next byte
};

class PcapFile {
  public:
    // Throws Failure(kInputOutput), as the others do.
    explicit PcapFile(const std::string& file);

    void begin(Conversation& talk, const timeval& at);
    void data(Conversation& talk, Side from, std::string_view bytes, const timeval& at);
    // The side sends no more.
    void end(Conversation& talk, Side from, const timeval& at);

  private:
    void packet(Conversation& talk, Side from, unsigned char flags, std::string_view bytes,
                const timeval& at);
    void write(const std::string& bytes);

    const std::string name_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace tool
