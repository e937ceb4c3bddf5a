// msgpack: unpacking into objects that own their data, as a loaded message does, and a walk of
// them. Elements are entries of maps, lists of one name are arrays.
#define MSGPACK_NO_BOOST
#include "bench/measure.h"
#include "bench/workloads.h"

#include <msgpack.hpp>
#include <string>
#include <string_view>

namespace bench {

namespace {

constexpr char kPeer[] = "msgpack";

using Packer = msgpack::packer<msgpack::sbuffer>;

void packText(Packer& packer, std::string_view text) {
    packer.pack_str(static_cast<std::uint32_t>(text.size()));
    packer.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
}

// `named`: the element is an entry of a map, not one of an array.
void packStep(Packer& packer, const Step& step, bool named) {
    if (named) packText(packer, wordOf(step.id));
    switch (step.kind) {
        case Step::kOpen:
            packer.pack_map(step.size);
            break;
        case Step::kOpenList:
            packer.pack_array(step.size);
            break;
        case Step::kText:
            packText(packer, step.text);
            break;
        default:
            packer.pack(step.number);
    }
}

std::string pack(const Workload& work) {
    msgpack::sbuffer buffer;
    Packer packer(buffer);
    std::vector<Step::Kind> open;
    for (const Step& step : work.steps) {
        if (step.kind == Step::kClose) {
            open.pop_back();
            continue;
        }
        packStep(packer, step, !open.empty() && open.back() == Step::kOpen);
        if (step.opens()) open.push_back(step.kind);
    }
    return {buffer.data(), buffer.size()};
}

// Recursive: it is used on messages of known depth only.
long long walk(const msgpack::object& object) {
    long long sum = 0;
    switch (object.type) {
        case msgpack::type::MAP:
            for (const msgpack::object_kv& entry : object.via.map) {
                benchmark::DoNotOptimize(entry.key.via.str.ptr);
                sum += walk(entry.val);
            }
            return sum;
        case msgpack::type::ARRAY:
            for (const msgpack::object& entry : object.via.array) sum += walk(entry);
            return sum;
        case msgpack::type::POSITIVE_INTEGER:
            return static_cast<long long>(object.via.u64);
        case msgpack::type::STR:
            return object.via.str.size;
        default:
            return 0;
    }
}

void load(benchmark::State& state, const Workload& work) {
    const std::string bytes = pack(work);
    measure(state, [&] {
        const msgpack::object_handle handle = msgpack::unpack(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(handle.get());
    });
}

void loadAndWalk(benchmark::State& state, const Workload& work) {
    const std::string bytes = pack(work);
    require(walk(msgpack::unpack(bytes.data(), bytes.size()).get()) == work.sum,
            "the walk reads other values");
    measure(state, [&] {
        const msgpack::object_handle handle = msgpack::unpack(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(walk(handle.get()));
    });
}

const bool added = [] {
    notePeer(kPeer, msgpack_version());
    add("load/small", kPeer, [](auto& state) { load(state, small()); });
    return add("load_and_walk/processes", kPeer,
               [](auto& state) { loadAndWalk(state, processes()); });
}();

}  // namespace

}  // namespace bench
