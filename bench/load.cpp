// Loading a message from received bytes and exporting it, against a copy of the same bytes.
#include "tqamsg/util/c_text.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace bench {

namespace {

void load(benchmark::State& state, const Workload& work) {
    std::string bytes = bytesOf(work, Form::kTyped);
    state.counters["bytes"] = static_cast<double>(bytes.size());
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        message->init(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(*message);
    });
}

void exportBytes(benchmark::State& state, const Workload& work) {
    const Message message(TQAMsgFactory::createNew());
    build(work, **message);
    measure(state, [&] {
        char* bytes = nullptr;
        int length = 0;
        message->decode(&bytes, &length, nullptr);
        const tqa::CText owned(bytes);
        benchmark::DoNotOptimize(bytes);
    });
}

void copyBytes(benchmark::State& state, const Workload& work) {
    const std::string bytes = bytesOf(work, Form::kTyped);
    measure(state, [&] {
        void* block = std::malloc(bytes.size());
        benchmark::DoNotOptimize(block);
        std::memcpy(block, bytes.data(), bytes.size());
        benchmark::ClobberMemory();
        std::free(block);
    });
}

constexpr char kCopy[] = "copy";

const bool added = [] {
    for (const Source& source : kWorkloads) {
        const std::string name = source.name;
        add("load/" + name, kOurs, [source](auto& state) { load(state, source.make()); });
        add("load/" + name, kCopy, [source](auto& state) { copyBytes(state, source.make()); });
        add("export/" + name, kOurs, [source](auto& state) { exportBytes(state, source.make()); });
        add("export/" + name, kCopy, [source](auto& state) { copyBytes(state, source.make()); });
    }
    for (const std::size_t size : kSizes) {
        const std::string name = "size/load/" + std::to_string(size);
        add(name, kOurs, [size](auto& state) { load(state, processesOf(size)); });
        add(name, kCopy, [size](auto& state) { copyBytes(state, processesOf(size)); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
