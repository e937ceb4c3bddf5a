// How cost depends on the order of calls and the number of children. What depends on size and depth
// is measured where the operation is.
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

namespace {

// --- header attributes first or last ------------------------------------------------------------

void setHeader(TQAMessage& message) {
    message.setVersion(40000);
    message.setID("c4001");
    message.setPriority(1);
    message.setTime(1767225600);
    message.setType(2);
    message.setProgress(1);
    message.setLog(0);
    message.setTimeout(30);
    message.setTimeoutLimit(600);
    message.setUid(1000);
}

// Adds the "data" of `work`.
void addContent(const Workload& work, TQAMessage& message) {
    const Message content(TQAMsgFactory::createNew());
    build(work, **content);
    const Iterator from(content->newIterator());
    const Iterator to(message.newIterator());
    require(from->seek("data") == 0, "no data");
    char* bytes = nullptr;
    int length = 0;
    require(from->decodeFromChild(&bytes, &length) == 0, "no bytes");
    const tqa::CText owned(bytes);
    require(to->encodeToChild(bytes, length) == 0, "the data was refused");
}

void printAttributes(benchmark::State& state, const Workload& work, bool last) {
    const Message message(TQAMsgFactory::createNew());
    message->create("packet");
    if (!last) setHeader(**message);
    addContent(work, **message);
    if (last) setHeader(**message);
    measure(state, [&] {
        const tqa::CText text(message->toText(nullptr, false, ""));
        benchmark::DoNotOptimize(text.get());
    });
}

// --- many children ------------------------------------------------------------------------------

constexpr int kFewChildren = 2500;
constexpr int kManyChildren = 4 * kFewChildren;

void addChildren(TQAMessage& message, int count) {
    message.create("packet");
    const Iterator it(message.newIterator());
    for (int i = 0; i < count; ++i) {
        it->newChild(tqa::Tag_veid, 0);
        it->putValue(i, 0);
        it->seekUp();
    }
}

std::vector<Iterator> iteratorsOnChildren(TQAMessage& message) {
    std::vector<Iterator> children;
    const Iterator it(message.newIterator());
    for (int status = it->firstChild(); status == 0; status = it->nextSibling()) {
        children.emplace_back(it->newIterator());
    }
    return children;
}

// Deletes the children of the root from the last to the first, with one iterator on each.
void deleteBackwards(benchmark::State& state, int count) {
    for ([[maybe_unused]] const auto _ : state) {
        state.PauseTiming();
        {
            const Message message(TQAMsgFactory::createNew());
            addChildren(**message, count);
            const std::vector<Iterator> children = iteratorsOnChildren(**message);
            state.ResumeTiming();
            for (auto child = children.rbegin(); child != children.rend(); ++child) {
                require((*child)->deleteFromChild() == 0, "a child was not deleted");
            }
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

void addRawChildren(TQAMessage& message, int count) {
    message.create("packet");
    const Iterator it(message.newIterator());
    auto& binary = static_cast<TQABinaryIterator&>(*it);
    for (int i = 0; i < count; ++i) {
        require(binary.newChild(0, 0) == 0, "no raw child");
        binary.putValueXML("<veid>" + std::to_string(i) + "</veid>", 0);
        binary.seekUp();
    }
}

void expandRaw(benchmark::State& state, int count) {
    const Message filled(TQAMsgFactory::createNew());
    addRawChildren(**filled, count);
    std::string bytes = bytesOf(**filled);
    for ([[maybe_unused]] const auto _ : state) {
        state.PauseTiming();
        {
            const Message message(TQAMsgFactory::createNew());
            message->init(bytes.data(), static_cast<int>(bytes.size()));
            const Iterator it(message->newIterator());
            state.ResumeTiming();
            static_cast<TQABinaryIterator&>(*it).parseUnknown();
            state.PauseTiming();
            require(it->seekPresence(tqa::Tag_veid) == 0, "no raw child was expanded");
        }
        state.ResumeTiming();
    }
}

// Children whose ids all differ, so that each put looks at all that are there. Most of the ids
// stand for no word; the iterator does not look them up.
void putDistinct(benchmark::State& state, int count) {
    constexpr int kFirstId = 10000;
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        message->create("packet");
        const Iterator it(message->newIterator());
        for (int i = 0; i < count; ++i) it->putValue(i, kFirstId + i);
        benchmark::DoNotOptimize(*message);
    });
}

// --- benchmarks ---------------------------------------------------------------------------------

const bool added = [] {
    for (const Source& source : kWorkloads) {
        if (source.make != veStatus && source.make != processes) continue;
        for (const bool last : {false, true}) {
            add(std::string("shape/attributes/") + source.name + (last ? "/last" : "/first"), kOurs,
                [source, last](auto& state) { printAttributes(state, source.make(), last); });
        }
    }
    for (const int count : {kFewChildren, kManyChildren}) {
        const std::string name = std::to_string(count);
        add("shape/delete_backwards/" + name, kOurs,
            [count](auto& state) { deleteBackwards(state, count); });
        add("shape/expand_raw/" + name, kOurs, [count](auto& state) { expandRaw(state, count); });
        add("shape/put_distinct/" + name, kOurs,
            [count](auto& state) { putDistinct(state, count); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
