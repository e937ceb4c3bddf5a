#include "bench/measure.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace bench {

bool add(const std::string& row, const std::string& who, Body body) {
    const auto guarded = [run = std::move(body)](benchmark::State& state) {
        try {
            run(state);
        } catch (const std::exception& failure) {
            state.SkipWithError(failure.what());
        }
    };
    benchmark::RegisterBenchmark((row + "/" + who).c_str(), guarded);
    return true;
}

bool notePeer(const std::string& peer, const std::string& version) {
    benchmark::AddCustomContext("peer " + peer, version);
    return true;
}

void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

}  // namespace bench
