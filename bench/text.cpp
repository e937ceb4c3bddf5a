// XML to binary and binary to XML.
#include "tqamsg/util/c_text.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <string>

namespace bench {

namespace {

void readText(benchmark::State& state, const Workload& work) {
    state.counters["elements"] = work.elements;
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        parse(work, **message);
        benchmark::DoNotOptimize(*message);
    });
}

void writeText(benchmark::State& state, const Workload& work, Form form) {
    const Message message(TQAMsgFactory::createNew());
    make(work, form, **message);
    state.counters["elements"] = work.elements;
    // The reader reverses the order of the header attributes; nothing else may differ.
    const std::string printed = textOf(**message);
    require(printed.size() == work.xml.size(), "another text is printed");
    require(form == Form::kParsed || printed == work.xml, "another text is printed");
    measure(state, [&] {
        const tqa::CText text(message->toText(nullptr, false, ""));
        benchmark::DoNotOptimize(text.get());
    });
}

const bool added = [] {
    for (const Source& source : kWorkloads) {
        const std::string name = source.name;
        add("parse/" + name, kOurs, [source](auto& state) { readText(state, source.make()); });
        for (const Form form : kForms) {
            add("print/" + name + "/" + nameOf(form), kOurs,
                [source, form](auto& state) { writeText(state, source.make(), form); });
        }
    }
    for (const std::size_t size : kSizes) {
        const std::string name = std::to_string(size);
        add("size/parse/" + name, kOurs,
            [size](auto& state) { readText(state, processesOf(size)); });
        add("size/print/" + name, kOurs,
            [size](auto& state) { writeText(state, processesOf(size), Form::kParsed); });
    }
    add("shape/deep40000/parse", kOurs,
        [](auto& state) { readText(state, deepOf(kFourTimesDeep)); });
    return add("shape/deep40000/print", kOurs,
               [](auto& state) { writeText(state, deepOf(kFourTimesDeep), Form::kParsed); });
}();

}  // namespace

}  // namespace bench
