// The file as libpcap defines it (magic, version 2.4, records with a time and two lengths); IPv4 as
// in RFC 791, TCP as in RFC 9293.

#include "tools/pcap.h"

#include "tools/verb.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <type_traits>

namespace tool {

namespace {

constexpr std::uint32_t kLinkTypeRaw = 101;
constexpr std::uint32_t kLongestPacket = 65535;
constexpr std::size_t kLongestPiece = 32768;
constexpr std::uint32_t kHosts[] = {0xC0000201, 0xC0000202};  // 192.0.2.1, 192.0.2.2
constexpr std::uint16_t kServerPort = 4646;
constexpr unsigned char kFin = 0x01, kSyn = 0x02, kPush = 0x08, kAck = 0x10;

template <class Integer>
void appendNetwork(std::string& out, Integer value) {
    for (int shift = 8 * (static_cast<int>(sizeof value) - 1); shift >= 0; shift -= 8)
        out += static_cast<char>(value >> shift & 0xFF);
}

template <class Integer>
void appendHost(std::string& out, Integer value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// The internet checksum (RFC 1071).
std::uint16_t checksum(std::string_view bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint32_t byte = static_cast<unsigned char>(bytes[i]);
        sum += i % 2 == 0 ? byte << 8 : byte;
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum & 0xFFFF);
}

void setNetwork(std::string& bytes, std::size_t at, std::uint16_t value) {
    bytes[at] = static_cast<char>(value >> 8);
    bytes[at + 1] = static_cast<char>(value & 0xFF);
}

constexpr std::uint8_t kTcp = 6;
constexpr std::size_t kHeader = 20;  // of each, without options

std::string ipHeader(Side from, std::size_t payload) {
    const auto side = static_cast<std::size_t>(from);
    std::string header;
    appendNetwork(header, std::uint8_t{0x45});
    appendNetwork(header, std::uint8_t{0});
    appendNetwork(header, static_cast<std::uint16_t>(kHeader + payload));
    appendNetwork(header, std::uint32_t{0x00004000});  // never in fragments
    appendNetwork(header, std::uint8_t{64});
    appendNetwork(header, kTcp);
    appendNetwork(header, std::uint16_t{0});
    appendNetwork(header, kHosts[side]);
    appendNetwork(header, kHosts[1 - side]);
    setNetwork(header, 10, checksum(header));
    return header;
}

std::string tcpSegment(const Conversation& talk, Side from, unsigned char flags,
                       std::string_view bytes) {
    const auto side = static_cast<std::size_t>(from);
    const bool isFirst = flags == kSyn;
    std::string segment;
    appendNetwork(segment, from == Side::Client ? talk.port : kServerPort);
    appendNetwork(segment, from == Side::Client ? kServerPort : talk.port);
    // The SYN takes the number before the first byte's.
    appendNetwork(segment, talk.sequence[side] - ((flags & kSyn) != 0 ? 1 : 0));
    appendNetwork(segment, isFirst ? std::uint32_t{0} : talk.sequence[1 - side]);
    appendNetwork(segment, std::uint8_t{0x50});
    appendNetwork(segment, flags);
    appendNetwork(segment, std::uint16_t{0xFFFF});
    appendNetwork(segment, std::uint32_t{0});
    segment += bytes;

    std::string summed;
    appendNetwork(summed, kHosts[0]);
    appendNetwork(summed, kHosts[1]);
    appendNetwork(summed, std::uint16_t{kTcp});
    appendNetwork(summed, static_cast<std::uint16_t>(segment.size()));
    setNetwork(segment, 16, checksum(summed + segment));
    return segment;
}

}  // namespace

PcapFile::PcapFile(const std::string& file)
    : name_(file), file_(std::fopen(file.c_str(), "wb"), &std::fclose) {
    if (!file_) throw Failure(kInputOutput, file + ": " + std::strerror(errno));
    std::string header;
    appendHost(header, std::uint32_t{0xA1B2C3D4});
    appendHost(header, std::uint16_t{2});
    appendHost(header, std::uint16_t{4});
    appendHost(header, std::uint64_t{0});
    appendHost(header, kLongestPacket);
    appendHost(header, kLinkTypeRaw);
    write(header);
}

void PcapFile::begin(Conversation& talk, const timeval& at) {
    packet(talk, Side::Client, kSyn, {}, at);
    packet(talk, Side::Server, kSyn | kAck, {}, at);
    packet(talk, Side::Client, kAck, {}, at);
}

void PcapFile::data(Conversation& talk, Side from, std::string_view bytes, const timeval& at) {
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, kLongestPiece);
        packet(talk, from, kPush | kAck, piece, at);
        talk.sequence[static_cast<int>(from)] += static_cast<std::uint32_t>(piece.size());
        bytes.remove_prefix(piece.size());
    }
}

void PcapFile::end(Conversation& talk, Side from, const timeval& at) {
    packet(talk, from, kFin | kAck, {}, at);
    ++talk.sequence[static_cast<int>(from)];
}

void PcapFile::packet(Conversation& talk, Side from, unsigned char flags, std::string_view bytes,
                      const timeval& at) {
    const std::string segment = tcpSegment(talk, from, flags, bytes);
    const std::string packet = ipHeader(from, segment.size()) + segment;
    std::string record;
    appendHost(record, static_cast<std::uint32_t>(at.tv_sec));
    appendHost(record, static_cast<std::uint32_t>(at.tv_usec));
    appendHost(record, static_cast<std::uint32_t>(packet.size()));
    appendHost(record, static_cast<std::uint32_t>(packet.size()));
    write(record + packet);
}

// Whoever reads the file while it grows sees whole packets.
void PcapFile::write(const std::string& bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() ||
        std::fflush(file_.get()) != 0) {
        throw Failure(kInputOutput, name_ + ": " + std::strerror(errno));
    }
}

}  // namespace tool
