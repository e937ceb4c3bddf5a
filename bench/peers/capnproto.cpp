// Cap'n Proto: building ve_status into a segment that is reused from message to message, as its
// documentation advises.
//
// The yardstick is a tree of elements that carry their names, as the library's messages are. The
// structs, for comparison, know the one message from their schema: no names are stored, a field
// is one store at a constant offset.
#include "tqamsg/vocabulary/word_ids.h"

#include "bench/measure.h"
#include "bench/workloads.h"
#include "messages.capnp.h"

#include <capnp/message.h>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace bench {

namespace {

constexpr char kPeer[] = "capnproto";

// --- elements -----------------------------------------------------------------------------------

using Children = capnp::List<schema::Element>::Builder;

// Fills the children of one element one after another.
class Writer {
  public:
    explicit Writer(Children children) : children_(children) {}

    void number(int id, int value) { next(id).setInt(value); }
    void number(int id, long long value) { next(id).setLongLong(value); }
    void text(int id, const std::string& value) { next(id).setText(value.c_str()); }
    Writer open(int id, unsigned count) { return Writer(next(id).initChildren(count)); }

  private:
    schema::Element::Builder next(int id) {
        schema::Element::Builder element = children_[used_++];
        element.setId(static_cast<std::uint16_t>(id));
        return element;
    }

    Children children_;
    unsigned used_ = 0;
};

void putElements(Writer& vem, const VeRecord& ve) {
    Writer out = vem.open(tqa::Tag_ve, 5);
    out.number(tqa::Tag_veid, ve.veid);
    Writer status = out.open(tqa::Tag_status, 2);
    status.number(tqa::Tag_state, ve.state);
    status.number(tqa::Tag_transition, ve.transition);
    Writer cpu = out.open(tqa::Tag_cpu, 3);
    cpu.number(tqa::Tag_user, ve.user);
    cpu.number(tqa::Tag_system, ve.system);
    cpu.number(tqa::Tag_idle, ve.idle);
    Writer memory = out.open(tqa::Tag_memory, 2);
    memory.number(tqa::Tag_used, ve.memoryUsed);
    memory.number(tqa::Tag_total, ve.memoryTotal);
    Writer disk = out.open(tqa::Tag_disk, 2);
    disk.number(tqa::Tag_diskspace, ve.diskspace);
    disk.number(tqa::Tag_inodes, ve.inodes);
}

void fillElements(capnp::MessageBuilder& message, const VeReply& reply) {
    schema::Element::Builder root = message.initRoot<schema::Element>();
    root.setId(tqa::Tag_packet);
    Writer packet(root.initChildren(7));
    packet.text(tqa::Attr_version, reply.version);
    packet.text(tqa::Attr_id, reply.id);
    packet.number(tqa::Attr_priority, reply.priority);
    packet.text(tqa::Tag_origin, reply.origin);
    packet.text(tqa::Tag_target, reply.target);
    packet.text(tqa::Tag_cookie, reply.cookie);
    Writer data = packet.open(tqa::Tag_data, 1);
    Writer vem = data.open(tqa::Tag_vem, static_cast<unsigned>(reply.ves.size()));
    for (const VeRecord& ve : reply.ves) putElements(vem, ve);
}

long long sumOf(const schema::Element::Reader& element) {
    long long sum = 0;
    switch (element.which()) {
        case schema::Element::INT:
            return element.getInt();
        case schema::Element::LONG_LONG:
            return element.getLongLong();
        case schema::Element::TEXT:
            return static_cast<long long>(element.getText().size());
        case schema::Element::CHILDREN:
            for (const auto child : element.getChildren()) sum += sumOf(child);
    }
    return sum;
}

// --- structs ------------------------------------------------------------------------------------

void putVe(schema::Ve::Builder out, const VeRecord& ve) {
    out.setVeid(ve.veid);
    schema::Status::Builder status = out.initStatus();
    status.setState(ve.state);
    status.setTransition(ve.transition);
    schema::Cpu::Builder cpu = out.initCpu();
    cpu.setUser(ve.user);
    cpu.setSystem(ve.system);
    cpu.setIdle(ve.idle);
    schema::Memory::Builder memory = out.initMemory();
    memory.setUsed(ve.memoryUsed);
    memory.setTotal(ve.memoryTotal);
    schema::Disk::Builder disk = out.initDisk();
    disk.setDiskspace(ve.diskspace);
    disk.setInodes(ve.inodes);
}

void fill(capnp::MessageBuilder& message, const VeReply& reply) {
    schema::Packet::Builder packet = message.initRoot<schema::Packet>();
    packet.setVersion(reply.version.c_str());
    packet.setId(reply.id.c_str());
    packet.setPriority(reply.priority);
    packet.setOrigin(reply.origin.c_str());
    packet.setTarget(reply.target.c_str());
    packet.setCookie(reply.cookie.c_str());
    auto vem = packet.initData().initVem(static_cast<unsigned>(reply.ves.size()));
    for (unsigned i = 0; i < vem.size(); ++i) putVe(vem[i], reply.ves[i]);
}

// --- benchmarks ---------------------------------------------------------------------------------

using Fill = void (*)(capnp::MessageBuilder&, const VeReply&);

// A message from nothing, as ours is.
void build(benchmark::State& state, Fill fill) {
    const VeReply& reply = veReply();
    measure(state, [&] {
        capnp::MallocMessageBuilder message;
        fill(message, reply);
        benchmark::DoNotOptimize(message.getSegmentsForOutput());
    });
}

// In memory that is there already.
void buildInPlace(benchmark::State& state, Fill fill) {
    const VeReply& reply = veReply();
    constexpr std::size_t kWords = 64 << 10;
    kj::Array<capnp::word> segment = kj::heapArray<capnp::word>(kWords);
    std::memset(segment.begin(), 0, segment.asBytes().size());
    measure(state, [&] {
        capnp::MallocMessageBuilder message(segment.asPtr());
        fill(message, reply);
        benchmark::DoNotOptimize(segment.begin());
        benchmark::ClobberMemory();
    });
}

void buildElements(benchmark::State& state) {
    capnp::MallocMessageBuilder message;
    fillElements(message, veReply());
    require(sumOf(message.getRoot<schema::Element>().asReader()) == veStatus().sum,
            "another message is built");
    build(state, fillElements);
}

const bool added = [] {
    notePeer(kPeer, std::to_string(CAPNP_VERSION / 1000000) + "." +
                        std::to_string(CAPNP_VERSION / 1000 % 1000) + "." +
                        std::to_string(CAPNP_VERSION % 1000));
    add("build/id", "capnproto-structs", [](auto& state) { build(state, fill); });
    add("build/id", "capnproto-in-place", [](auto& state) { buildInPlace(state, fillElements); });
    return add("build/id", kPeer, buildElements);
}();

}  // namespace

}  // namespace bench
