#include "bench/workloads.h"

#include "bench/values.h"

#include <map>

namespace bench {

namespace {

// Each workload has values of its own, whatever was made before it.
enum : std::uint64_t { kSmall = 1, kVeStatus, kProcesses, kTextHeavy, kDeep };

Script packet(const VeReply& header) {
    Script script;
    script.open(tqa::Tag_packet)
        .text(tqa::Attr_version, header.version)
        .number(tqa::Attr_priority, header.priority)
        .text(tqa::Attr_id, header.id)
        .text(tqa::Tag_origin, header.origin)
        .text(tqa::Tag_target, header.target)
        .text(tqa::Tag_cookie, header.cookie);
    return script;
}

Workload makeSmall() {
    Values values(kSmall);
    Script script(packet(veReply()));
    script.text(tqa::Tag_session, "s1.40000." + std::to_string(values.integer(1000, 9999)));
    script.open(tqa::Tag_src)
        .text(tqa::Tag_type, "panel")
        .text(tqa::Tag_director, "gend")
        .number(tqa::Tag_index, values.integer(10, 99))
        .close();
    script.open(tqa::Tag_data).open(tqa::Tag_vem).open(tqa::Tag_get_info);
    script.open(tqa::Tag_ve_list)
        .number(tqa::Tag_veid, values.integer(101, 199))
        .open(tqa::Tag_ve_range)
        .number(tqa::Tag_start_veid, values.integer(200, 299))
        .number(tqa::Tag_end_veid, values.integer(300, 399))
        .close()
        .close();
    script.number(tqa::Tag_limit, values.integer(100, 999))
        .text(tqa::Tag_options, values.words(40))
        .text(tqa::Tag_description, values.words(60));
    return script.finish();
}

VeReply makeVeReply() {
    Values values(kVeStatus);
    VeReply reply{"c4001", "4.0.0", "vem", "ve_status", "refresh-12", 1, {}};
    constexpr long long kGigabyte = 1LL << 30;
    for (int veid = 101; veid < 301; ++veid) {
        const int user = values.integer(0, 60);
        const int system = values.integer(0, 39);
        const long long total = values.integer(4, 64) * kGigabyte;
        reply.ves.push_back({veid, values.integer(1, 9), values.integer(0, 9), user, system,
                             100 - user - system, values.between(kGigabyte, total), total,
                             values.integer(1000000, 99999999), values.integer(1000, 999999)});
    }
    return reply;
}

Workload makeVeStatus() {
    Script script = packet(veReply());
    script.open(tqa::Tag_data).openList(tqa::Tag_vem);
    for (const VeRecord& ve : veReply().ves) {
        script.open(tqa::Tag_ve).number(tqa::Tag_veid, ve.veid);
        script.open(tqa::Tag_status)
            .number(tqa::Tag_state, ve.state)
            .number(tqa::Tag_transition, ve.transition)
            .close();
        script.open(tqa::Tag_cpu)
            .number(tqa::Tag_user, ve.user)
            .number(tqa::Tag_system, ve.system)
            .number(tqa::Tag_idle, ve.idle)
            .close();
        script.open(tqa::Tag_memory)
            .longNumber(tqa::Tag_used, ve.memoryUsed)
            .longNumber(tqa::Tag_total, ve.memoryTotal)
            .close();
        script.open(tqa::Tag_disk)
            .number(tqa::Tag_diskspace, ve.diskspace)
            .number(tqa::Tag_inodes, ve.inodes)
            .close();
        script.close();
    }
    return script.finish();
}

// About 390 bytes of XML, which it returns roughly.
std::size_t addProcess(Script& script, Values& values) {
    const std::string& name = values.word();
    const std::string arguments = "/usr/sbin/" + name + " " + values.words(180);
    script.open(tqa::Tag_process)
        .number(tqa::Tag_pid, values.integer(300, 32767))
        .text(tqa::Tag_user, values.word())
        .number(tqa::Tag_nice, values.integer(0, 19))
        .longNumber(tqa::Tag_memory, values.between(1 << 20, 1LL << 34))
        .number(tqa::Tag_time, values.integer(1, 9999999))
        .text(tqa::Tag_state, values.word())
        .text(tqa::Tag_name, name)
        .text(tqa::Tag_argv, arguments)
        .close();
    constexpr std::size_t kTagsAndNumbers = 158;
    return kTagsAndNumbers + arguments.size() + 2 * name.size() + 10;
}

void addProcesses(Script& script, Values& values, std::size_t bytes) {
    script.openList(tqa::Tag_processes);
    for (std::size_t made = 0; made < bytes;) made += addProcess(script, values);
    script.close();
}

Workload makeProcesses(std::size_t kilobytes) {
    Values values(kProcesses);
    Script script = packet(veReply());
    script.open(tqa::Tag_data);
    addProcesses(script, values, kilobytes << 10);
    return script.finish();
}

Workload makeTextHeavy() {
    Values values(kTextHeavy);
    constexpr std::size_t kBytes = std::size_t{4} << 20;
    Script script = packet(veReply());
    script.open(tqa::Tag_data).openList(tqa::Tag_files);
    for (std::size_t made = 0; made < kBytes;) {
        const std::string body =
            values.markedText(static_cast<std::size_t>(values.integer(2 << 10, 8 << 10)));
        script.open(tqa::Tag_file)
            .text(tqa::Tag_name, values.word())
            .number(tqa::Tag_size, static_cast<int>(body.size()))
            .text(tqa::Tag_body, body)
            .close();
        constexpr std::size_t kTags = 80;
        made += kTags + body.size() + body.size() / 30;
    }
    return script.finish();
}

Workload makeDeep(int levels) {
    Values values(kDeep);
    constexpr int kContainers[] = {tqa::Tag_group, tqa::Tag_node, tqa::Tag_list, tqa::Tag_template};
    Script script = packet(veReply());
    script.open(tqa::Tag_data);
    for (int level = 0; level < levels; ++level) script.open(kContainers[values.integer(0, 3)]);
    script.number(tqa::Tag_veid, values.integer(101, 999));
    return script.finish();
}

// A workload of each size that was asked for.
template <class Size>
const Workload& kept(Size size, Workload (*make)(Size)) {
    static std::map<Size, Workload> made;
    auto found = made.find(size);
    if (found == made.end()) found = made.emplace(size, make(size)).first;
    return found->second;
}

}  // namespace

const VeReply& veReply() {
    static const VeReply made = makeVeReply();
    return made;
}

const Workload& small() {
    static const Workload made = makeSmall();
    return made;
}

const Workload& veStatus() {
    static const Workload made = makeVeStatus();
    return made;
}

const Workload& textHeavy() {
    static const Workload made = makeTextHeavy();
    return made;
}

const Workload& processes() {
    return processesOf(4096);
}

const Workload& deep() {
    return deepOf(10000);
}

const Workload& processesOf(std::size_t kilobytes) {
    return kept(kilobytes, makeProcesses);
}

const Workload& deepOf(int levels) {
    return kept(levels, makeDeep);
}

}  // namespace bench
