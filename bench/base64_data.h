// The bytes that every Base64 benchmark codes.
#pragma once

#include "bench/messages.h"
#include "bench/workloads.h"

#include <cstddef>
#include <string>

namespace bench {

struct Base64Size {
    const char* name;
    std::size_t bytes;
};

inline constexpr Base64Size kBase64Sizes[] = {{"1KB", 1 << 10}, {"1MB", 1 << 20}};

inline std::string base64Data(std::size_t size) {
    return bytesOf(processes(), Form::kTyped).substr(0, size);
}

}  // namespace bench
