// OpenSSL: its Base64 routines for whole blocks.
#include "bench/base64_data.h"
#include "bench/measure.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <string>

namespace bench {

namespace {

constexpr char kPeer[] = "openssl";

unsigned char* bytesAt(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

const unsigned char* bytesAt(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string encoded(const std::string& data) {
    // One byte more for the terminator that it writes.
    std::string text((data.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(bytesAt(text), bytesAt(data), static_cast<int>(data.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string decoded(const std::string& text) {
    std::string data(text.size() / 4 * 3, '\0');
    const int length = EVP_DecodeBlock(bytesAt(data), bytesAt(text), static_cast<int>(text.size()));
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    data.resize(static_cast<std::size_t>(length) - padding);
    return data;
}

void encode(benchmark::State& state, std::size_t size) {
    const std::string data = base64Data(size);
    measure(state, [&] {
        const std::string text = encoded(data);
        benchmark::DoNotOptimize(text.data());
    });
}

void decode(benchmark::State& state, std::size_t size) {
    const std::string data = base64Data(size);
    const std::string text = encoded(data);
    require(decoded(text) == data, "other bytes come back");
    measure(state, [&] {
        const std::string bytes = decoded(text);
        benchmark::DoNotOptimize(bytes.data());
    });
}

const bool added = [] {
    notePeer(kPeer, OPENSSL_VERSION_STR);
    for (const Base64Size& size : kBase64Sizes) {
        const std::string name = size.name;
        add("base64/encode/" + name, kPeer, [size](auto& state) { encode(state, size.bytes); });
        add("base64/decode/" + name, kPeer, [size](auto& state) { decode(state, size.bytes); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
