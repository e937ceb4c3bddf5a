#include "fuzz/support.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace tqa_fuzz {

MessageAndScript split(std::string_view input) {
    const tqa_test::Block exact(input);
    const int size = TQABinary::isComplete(exact.data(), exact.size());
    const std::string_view encoded = input.substr(0, static_cast<std::size_t>(size));
    tqa_test::Message m = tqa_test::emptyMessage();
    if (m->encode(exact.data(), exact.size(), nullptr) != 0) return {nullptr, {}, input};
    return {std::move(m), encoded, input.substr(encoded.size())};
}

std::uint32_t Numbers::operator()() {
    const std::uint32_t first = byte();
    if (first != 0xFF) return first;
    std::uint32_t wide = 0;
    for (int i = 0; i < 4; ++i) wide = wide << 8 | byte();
    return wide;
}

std::uint32_t Numbers::byte() {
    if (atEnd()) return 0;
    const auto value = static_cast<unsigned char>(script_.front());
    script_.remove_prefix(1);
    return value;
}

Quiet::Quiet() : kept_(dup(STDERR_FILENO)) {
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

Quiet::~Quiet() {
    std::fflush(stderr);
    dup2(kept_, STDERR_FILENO);
    close(kept_);
}

}  // namespace tqa_fuzz
