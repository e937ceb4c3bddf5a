// Building ve_status with an iterator and with the builder, and messages of any shape step by step.
#include "tqamsg/binary/builder.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <string>

namespace bench {

namespace {

// --- by id --------------------------------------------------------------------------------------

void putText(TQAMessageIterator& it, const std::string& text, int id) {
    it.putValue(text.data(), static_cast<int>(text.size()), id);
}

void putVe(TQAMessageIterator& it, const VeRecord& ve) {
    it.newChild(tqa::Tag_ve, 0);
    it.putValue(ve.veid, tqa::Tag_veid);
    it.newChild(tqa::Tag_status, 0);
    it.putValue(ve.state, tqa::Tag_state);
    it.putValue(ve.transition, tqa::Tag_transition);
    it.seekUp();
    it.newChild(tqa::Tag_cpu, 0);
    it.putValue(ve.user, tqa::Tag_user);
    it.putValue(ve.system, tqa::Tag_system);
    it.putValue(ve.idle, tqa::Tag_idle);
    it.seekUp();
    it.newChild(tqa::Tag_memory, 0);
    it.putValueLongLong(ve.memoryUsed, tqa::Tag_used);
    it.putValueLongLong(ve.memoryTotal, tqa::Tag_total);
    it.seekUp();
    it.newChild(tqa::Tag_disk, 0);
    it.putValue(ve.diskspace, tqa::Tag_diskspace);
    it.putValue(ve.inodes, tqa::Tag_inodes);
    it.seekUp();
    it.seekUp();
}

void buildById(const VeReply& reply, TQAMessage& message) {
    message.create("packet");
    const Iterator it(message.newIterator());
    putText(*it, reply.version, tqa::Attr_version);
    it->putValue(reply.priority, tqa::Attr_priority);
    putText(*it, reply.id, tqa::Attr_id);
    putText(*it, reply.origin, tqa::Tag_origin);
    putText(*it, reply.target, tqa::Tag_target);
    putText(*it, reply.cookie, tqa::Tag_cookie);
    it->newChild(tqa::Tag_data, 0);
    it->newChild(tqa::Tag_vem, 0);
    for (const VeRecord& ve : reply.ves) putVe(*it, ve);
}

// --- by name ------------------------------------------------------------------------------------

void putVeByName(TQAMessageIterator& it, const VeRecord& ve) {
    it.newChild("ve", "");
    it.putValue(ve.veid, "veid");
    it.newChild("status", "");
    it.putValue(ve.state, "state");
    it.putValue(ve.transition, "transition");
    it.seekUp();
    it.newChild("cpu", "");
    it.putValue(ve.user, "user");
    it.putValue(ve.system, "system");
    it.putValue(ve.idle, "idle");
    it.seekUp();
    it.newChild("memory", "");
    it.putValueLongLong(ve.memoryUsed, "used");
    it.putValueLongLong(ve.memoryTotal, "total");
    it.seekUp();
    it.newChild("disk", "");
    it.putValue(ve.diskspace, "diskspace");
    it.putValue(ve.inodes, "inodes");
    it.seekUp();
    it.seekUp();
}

void buildByName(const VeReply& reply, TQAMessage& message) {
    message.create("packet");
    const Iterator it(message.newIterator());
    // Header attributes have ids only.
    putText(*it, reply.version, tqa::Attr_version);
    it->putValue(reply.priority, tqa::Attr_priority);
    putText(*it, reply.id, tqa::Attr_id);
    it->putValue(reply.origin, "origin");
    it->putValue(reply.target, "target");
    it->putValue(reply.cookie, "cookie");
    it->newChild("data", "");
    it->newChild("vem", "");
    for (const VeRecord& ve : reply.ves) putVeByName(*it, ve);
}

// --- with the builder ---------------------------------------------------------------------------

constexpr char kBuilder[] = "builder";

void putVe(tqa::Builder& to, const VeRecord& ve) {
    to.open(tqa::Tag_ve).put(tqa::Tag_veid, ve.veid);
    to.open(tqa::Tag_status).put(tqa::Tag_state, ve.state);
    to.put(tqa::Tag_transition, ve.transition).close();
    to.open(tqa::Tag_cpu).put(tqa::Tag_user, ve.user);
    to.put(tqa::Tag_system, ve.system).put(tqa::Tag_idle, ve.idle).close();
    to.open(tqa::Tag_memory).put(tqa::Tag_used, ve.memoryUsed);
    to.put(tqa::Tag_total, ve.memoryTotal).close();
    to.open(tqa::Tag_disk).put(tqa::Tag_diskspace, ve.diskspace);
    to.put(tqa::Tag_inodes, ve.inodes).close();
    to.close();
}

TQAMessage* buildAtOnce(const VeReply& reply) {
    tqa::Builder to;
    to.open(tqa::Tag_packet).put(tqa::Attr_version, reply.version).priority(reply.priority);
    to.id(reply.id).put(tqa::Tag_origin, reply.origin).put(tqa::Tag_target, reply.target);
    to.put(tqa::Tag_cookie, reply.cookie).open(tqa::Tag_data).open(tqa::Tag_vem);
    for (const VeRecord& ve : reply.ves) putVe(to, ve);
    return to.closeAll().finish();
}

void put(tqa::Builder& to, const Step& step) {
    switch (step.kind) {
        case Step::kOpen:
        case Step::kOpenList:
            to.open(step.id);
            break;
        case Step::kClose:
            to.close();
            break;
        case Step::kInt:
            to.put(step.id, static_cast<int>(step.number));
            break;
        case Step::kLongLong:
            to.put(step.id, step.number);
            break;
        case Step::kText:
            to.put(step.id, step.text);
    }
}

TQAMessage* buildAtOnce(const Workload& work) {
    tqa::Builder to;
    for (const Step& step : work.steps) put(to, step);
    return to.finish();
}

// --- benchmarks ---------------------------------------------------------------------------------

// The builder makes what the iterator makes, to the byte.
template <class Source>
void buildWithBuilder(benchmark::State& state, const Source& source, const Workload& work) {
    const Message built(buildAtOnce(source));
    require(*built != nullptr, "nothing is built");
    require(bytesOf(**built) == bytesOf(work, Form::kTyped), "other bytes are built");
    state.counters["elements"] = work.elements;
    measure(state, [&] {
        const Message message(buildAtOnce(source));
        benchmark::DoNotOptimize(*message);
    });
}

void buildVeStatus(benchmark::State& state, void (*put)(const VeReply&, TQAMessage&)) {
    const VeReply& reply = veReply();
    const Message built(TQAMsgFactory::createNew());
    put(reply, **built);
    require(textOf(**built) == veStatus().xml, "another message is built");
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        put(reply, **message);
        benchmark::DoNotOptimize(*message);
    });
}

void buildSteps(benchmark::State& state, const Workload& work) {
    state.counters["elements"] = work.elements;
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        build(work, **message);
        benchmark::DoNotOptimize(*message);
    });
}

const bool added = [] {
    add("build/id", kOurs, [](auto& state) { buildVeStatus(state, buildById); });
    add("build/name", kOurs, [](auto& state) { buildVeStatus(state, buildByName); });
    add("build/id", kBuilder, [](auto& state) { buildWithBuilder(state, veReply(), veStatus()); });
    for (const Source& source : kWorkloads) {
        add(std::string("build/steps/") + source.name, kBuilder,
            [source](auto& state) { buildWithBuilder(state, source.make(), source.make()); });
        add(std::string("build/steps/") + source.name, kOurs,
            [source](auto& state) { buildSteps(state, source.make()); });
    }
    return add("shape/deep40000/builder", kOurs, [](auto& state) {
        const Workload& work = deepOf(kFourTimesDeep);
        buildWithBuilder(state, work, work);
    });
}();

}  // namespace

}  // namespace bench
