// Base64 both ways, of 1 KB and 1 MB of a binary message.
#include "tqamsg/util/base64.h"

#include "bench/base64_data.h"
#include "bench/measure.h"

#include <string>

namespace bench {

namespace {

void encode(benchmark::State& state, std::size_t size) {
    const std::string data = base64Data(size);
    measure(state, [&] {
        const std::string text = Base64::encode(data);
        benchmark::DoNotOptimize(text.data());
    });
}

void decode(benchmark::State& state, std::size_t size) {
    const std::string data = base64Data(size);
    const std::string text = Base64::encode(data);
    std::string check;
    require(Base64::decode(text, &check) == 0 && check == data, "other bytes come back");
    measure(state, [&] {
        std::string bytes;
        Base64::decode(text.data(), static_cast<int>(text.size()), &bytes);
        benchmark::DoNotOptimize(bytes.data());
    });
}

const bool added = [] {
    for (const Base64Size& size : kBase64Sizes) {
        const std::string name = size.name;
        add("base64/encode/" + name, kOurs, [size](auto& state) { encode(state, size.bytes); });
        add("base64/decode/" + name, kOurs, [size](auto& state) { decode(state, size.bytes); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
