#include "tools/socket.h"

#include "tools/verb.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tool {

namespace {

[[noreturn]] void fail(const std::string& address, const char* why) {
    throw Failure(kInputOutput, address + ": " + why);
}

// A place to connect to or to listen at.
struct Place {
    int family;
    std::string bytes;  // a sockaddr
};

Place unixPlace(const std::string& path, const std::string& address) {
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof place.sun_path)
        throw Failure(kUsage, "'" + address + "': no path of a socket");
    path.copy(place.sun_path, path.size());
    return {AF_UNIX, {reinterpret_cast<const char*>(&place), sizeof place}};
}

Place tcpPlace(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon + 1 == address.size())
        throw Failure(kUsage, "'" + address + "' is neither unix:PATH nor HOST:PORT");
    std::string host = address.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int status = ::getaddrinfo(host.empty() ? nullptr : host.c_str(),
                                     address.c_str() + colon + 1, &hints, &found);
    if (status != 0) fail(address, ::gai_strerror(status));
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, &::freeaddrinfo);
    return {found->ai_family, {reinterpret_cast<const char*>(found->ai_addr), found->ai_addrlen}};
}

constexpr std::string_view kUnix = "unix:";

bool isUnix(const std::string& address) {
    return address.starts_with(kUnix) || address.find('/') != std::string::npos;
}

Place placeOf(const std::string& address) {
    return isUnix(address) ? unixPlace(unixPathOf(address), address) : tcpPlace(address);
}

using SystemCall = int (*)(int, const sockaddr*, socklen_t);

// A socket on which the call was made with the place.
Descriptor open(const std::string& address, SystemCall call) {
    const Place place = placeOf(address);
    Descriptor socket(::socket(place.family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) fail(address, std::strerror(errno));
    const int yes = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const auto* const at = reinterpret_cast<const sockaddr*>(place.bytes.data());
    if (call(socket.get(), at, static_cast<socklen_t>(place.bytes.size())) != 0)
        fail(address, std::strerror(errno));
    return socket;
}

}  // namespace

std::string unixPathOf(const std::string& address) {
    if (!isUnix(address)) return {};
    return address.substr(address.starts_with(kUnix) ? kUnix.size() : 0);
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

Descriptor::~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

Descriptor connectTo(const std::string& address) {
    return open(address, ::connect);
}

Descriptor listenAt(const std::string& address) {
    constexpr int kWaiting = 16;
    Descriptor socket = open(address, ::bind);
    if (::listen(socket.get(), kWaiting) != 0) fail(address, std::strerror(errno));
    return socket;
}

}  // namespace tool
