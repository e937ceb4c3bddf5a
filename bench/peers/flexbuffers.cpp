// FlexBuffers: a walk that visits every entry by position, the fastest way, and looks at each key
// and type. Elements are entries of maps, lists of one name are vectors.
#include "bench/measure.h"
#include "bench/workloads.h"

#include <cstddef>
#include <cstdint>
#include <flatbuffers/flexbuffers.h>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr char kPeer[] = "flexbuffers";

// A map or vector that is being written.
struct Open {
    std::size_t start;
    bool list;
};

void putStep(flexbuffers::Builder& builder, const Step& step, bool named) {
    if (named) builder.Key(wordOf(step.id));
    if (step.kind == Step::kText)
        builder.String(step.text);
    else
        builder.Int(step.number);
}

Open open(flexbuffers::Builder& builder, const Step& step, bool named) {
    if (named) builder.Key(wordOf(step.id));
    const bool list = step.kind == Step::kOpenList;
    return {list ? builder.StartVector() : builder.StartMap(), list};
}

void close(flexbuffers::Builder& builder, const Open& opened) {
    if (opened.list)
        builder.EndVector(opened.start, false, false);
    else
        builder.EndMap(opened.start);
}

std::vector<std::uint8_t> encode(const Workload& work) {
    flexbuffers::Builder builder;
    std::vector<Open> opened;
    for (const Step& step : work.steps) {
        const bool named = !opened.empty() && !opened.back().list;
        if (step.opens()) {
            opened.push_back(open(builder, step, named));
        } else if (step.kind == Step::kClose) {
            close(builder, opened.back());
            opened.pop_back();
        } else {
            putStep(builder, step, named);
        }
    }
    builder.Finish();
    return builder.GetBuffer();
}

// Recursive: it is used on messages of known depth only.
long long walk(const flexbuffers::Reference& value) {
    long long sum = 0;
    switch (value.GetType()) {
        case flexbuffers::FBT_MAP: {
            const flexbuffers::Map map = value.AsMap();
            const flexbuffers::TypedVector keys = map.Keys();
            const flexbuffers::Vector values = map.Values();
            const std::size_t size = map.size();
            for (std::size_t i = 0; i < size; ++i) {
                benchmark::DoNotOptimize(keys[i].AsKey());
                sum += walk(values[i]);
            }
            return sum;
        }
        case flexbuffers::FBT_VECTOR: {
            const flexbuffers::Vector values = value.AsVector();
            const std::size_t size = values.size();
            for (std::size_t i = 0; i < size; ++i) sum += walk(values[i]);
            return sum;
        }
        case flexbuffers::FBT_STRING:
            return static_cast<long long>(value.AsString().length());
        default:
            return value.AsInt64();
    }
}

void walkMessage(benchmark::State& state, const Workload& work) {
    const std::vector<std::uint8_t> bytes = encode(work);
    require(walk(flexbuffers::GetRoot(bytes)) == work.sum, "the walk reads other values");
    measure(state, [&] { benchmark::DoNotOptimize(walk(flexbuffers::GetRoot(bytes))); });
}

const bool added = [] {
    notePeer(kPeer, flatbuffers::FLATBUFFERS_VERSION());
    return add("walk/ve_status", kPeer, [](auto& state) { walkMessage(state, veStatus()); });
}();

}  // namespace

}  // namespace bench
