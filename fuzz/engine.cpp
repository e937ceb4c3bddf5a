// What the fuzzer calls. Each fuzzing program holds one target.

#include "fuzz/target.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

// A failed expectation ends the process, after it was printed.
class Ending : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed()) std::abort();
    }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    testing::UnitTest::GetInstance()->listeners().Append(new Ending);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tqa_fuzz::targets().front().run({reinterpret_cast<const char*>(data), size});
    return 0;
}
