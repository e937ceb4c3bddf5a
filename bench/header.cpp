// Header fields and replies.

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <string>

namespace bench {

namespace {

void getField(benchmark::State& state, Form form) {
    const Message message(TQAMsgFactory::createNew());
    make(small(), form, **message);
    int priority = 0;
    require(message->getPriority(&priority) == 0 && priority == veReply().priority,
            "another priority is read");
    measure(state, [&] {
        message->getPriority(&priority);
        benchmark::DoNotOptimize(priority);
    });
}

void setField(benchmark::State& state) {
    const Message message(TQAMsgFactory::createNew());
    build(small(), **message);
    int priority = 0;
    measure(state, [&] {
        priority ^= 1;
        message->setPriority(priority);
        benchmark::ClobberMemory();
    });
}

void reply(benchmark::State& state, Form form) {
    const Message request(TQAMsgFactory::createNew());
    make(small(), form, **request);
    const std::string replier = "vem";
    measure(state, [&] {
        const Message made(request->genReply(replier));
        benchmark::DoNotOptimize(*made);
    });
}

const bool added = [] {
    for (const Form form : kForms) {
        const std::string name = nameOf(form);
        add("header/get/" + name, kOurs, [form](auto& state) { getField(state, form); });
        add("reply/small/" + name, kOurs, [form](auto& state) { reply(state, form); });
    }
    return add("header/set", kOurs, setField);
}();

}  // namespace

}  // namespace bench
