// pugixml: the text rows, building by name, reading texts as numbers, attributes, copies, and what
// a SOAP gateway on it would do.
//
// Texts are parsed with the default options from a copy that it makes (load_buffer), as the library
// leaves its input alone too. What is printed goes through the buffered writer of the
// manual into a std::string.

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/soap_data.h"
#include "bench/workloads.h"

#include <cstddef>
#include <cstring>
#include <pugixml.hpp>
#include <string>

namespace bench {

namespace {

constexpr char kPeer[] = "pugixml";

void load(pugi::xml_document& document, const std::string& xml,
          unsigned options = pugi::parse_default) {
    require(document.load_buffer(xml.data(), xml.size(), options), "the text was not read");
}

// --- text ---------------------------------------------------------------------------------------

class StringWriter : public pugi::xml_writer {
  public:
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
    std::string text;
};

template <class Node>
std::string print(const Node& node) {
    StringWriter writer;
    node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    return std::move(writer.text);
}

void readText(benchmark::State& state, const std::string& xml, unsigned options) {
    measure(state, [&] {
        pugi::xml_document document;
        load(document, xml, options);
        benchmark::DoNotOptimize(document);
    });
}

void writeText(benchmark::State& state, const std::string& xml) {
    pugi::xml_document document;
    load(document, xml);
    measure(state, [&] {
        const std::string text = print(document.first_child());
        benchmark::DoNotOptimize(text.data());
    });
}

// --- building -----------------------------------------------------------------------------------

template <class Value>
void put(pugi::xml_node node, const char* name, const Value& value) {
    node.append_child(name).text().set(value);
}

void putVe(pugi::xml_node vem, const VeRecord& ve) {
    pugi::xml_node node = vem.append_child("ve");
    put(node, "veid", ve.veid);
    const pugi::xml_node status = node.append_child("status");
    put(status, "state", ve.state);
    put(status, "transition", ve.transition);
    const pugi::xml_node cpu = node.append_child("cpu");
    put(cpu, "user", ve.user);
    put(cpu, "system", ve.system);
    put(cpu, "idle", ve.idle);
    const pugi::xml_node memory = node.append_child("memory");
    put(memory, "used", ve.memoryUsed);
    put(memory, "total", ve.memoryTotal);
    const pugi::xml_node disk = node.append_child("disk");
    put(disk, "diskspace", ve.diskspace);
    put(disk, "inodes", ve.inodes);
}

void fill(pugi::xml_document& document, const VeReply& reply) {
    pugi::xml_node packet = document.append_child("packet");
    packet.append_attribute("version").set_value(reply.version.c_str());
    packet.append_attribute("priority").set_value(reply.priority);
    packet.append_attribute("id").set_value(reply.id.c_str());
    put(packet, "origin", reply.origin.c_str());
    put(packet, "target", reply.target.c_str());
    put(packet, "cookie", reply.cookie.c_str());
    const pugi::xml_node vem = packet.append_child("data").append_child("vem");
    for (const VeRecord& ve : reply.ves) putVe(vem, ve);
}

void buildVeStatus(benchmark::State& state) {
    const VeReply& reply = veReply();
    pugi::xml_document built, read;
    fill(built, reply);
    load(read, veStatus().xml);
    require(print(built).size() == print(read).size(), "another document is built");
    measure(state, [&] {
        pugi::xml_document document;
        fill(document, reply);
        benchmark::DoNotOptimize(document);
    });
}

// --- walking ------------------------------------------------------------------------------------

// A value that starts with a digit is read as a number: looking its name up would cost more.
long long read(const pugi::xml_node& leaf) {
    const char* value = leaf.child_value();
    const bool number = *value >= '0' && *value <= '9';
    return number ? leaf.text().as_llong() : static_cast<long long>(std::strlen(value));
}

// Depth first; the nodes are the stack.
long long walk(const pugi::xml_node& root) {
    long long sum = 0;
    pugi::xml_node node = root.first_child();
    while (node) {
        const pugi::xml_node child = node.first_child();
        benchmark::DoNotOptimize(node.name());
        if (child.type() == pugi::node_element) {
            node = child;
            continue;
        }
        sum += read(node);
        while (!node.next_sibling()) {
            node = node.parent();
            if (node == root) return sum;
        }
        node = node.next_sibling();
    }
    return sum;
}

void walkTexts(benchmark::State& state, const Workload& work) {
    pugi::xml_document document;
    load(document, work.xml);
    const pugi::xml_node root = document.first_child();
    require(walk(root) > 0, "nothing is read");
    measure(state, [&] { benchmark::DoNotOptimize(walk(root)); });
}

// --- header and replies -------------------------------------------------------------------------

void getAttribute(benchmark::State& state) {
    pugi::xml_document document;
    load(document, small().xml);
    const pugi::xml_node root = document.first_child();
    measure(state, [&] { benchmark::DoNotOptimize(root.attribute("priority").as_int()); });
}

void setAttribute(benchmark::State& state) {
    pugi::xml_document document;
    load(document, small().xml);
    pugi::xml_node root = document.first_child();
    int priority = 0;
    measure(state, [&] {
        priority ^= 1;
        root.attribute("priority").set_value(priority);
        benchmark::ClobberMemory();
    });
}

// The reply that the library makes of the small request, copied.
void copyReply(benchmark::State& state) {
    const Message request(TQAMsgFactory::createNew());
    parse(small(), **request);
    const Message reply(request->genReply("vem"));
    pugi::xml_document original;
    load(original, textOf(**reply));
    measure(state, [&] {
        pugi::xml_document copy;
        copy.reset(original);
        benchmark::DoNotOptimize(copy);
    });
}

// --- SOAP ---------------------------------------------------------------------------------------

// Finds the packet's header and the operation, and prints both.
void readRequest(benchmark::State& state, const std::string& request) {
    measure(state, [&] {
        pugi::xml_document document;
        load(document, request);
        const pugi::xml_node envelope = document.child("soap:Envelope");
        const pugi::xml_node header = envelope.child("soap:Header").child("packet_header");
        const pugi::xml_node operation = envelope.child("soap:Body").first_child();
        const std::string headerText = print(header);
        const std::string text = print(operation);
        require(!headerText.empty() && !text.empty(), "not found");
        benchmark::DoNotOptimize(text.data());
    });
}

// --- benchmarks ---------------------------------------------------------------------------------

void addText() {
    for (const Source& source : kWorkloads) {
        const std::string name = source.name;
        add("parse/" + name, kPeer,
            [source](auto& state) { readText(state, source.make().xml, pugi::parse_default); });
        // As little as it can be asked to do: no entities, no line ends.
        add("parse/" + name, "pugixml-minimal",
            [source](auto& state) { readText(state, source.make().xml, pugi::parse_minimal); });
        add("print/" + name, kPeer, [source](auto& state) { writeText(state, source.make().xml); });
    }
    for (const std::size_t size : kSizes) {
        const std::string name = std::to_string(size);
        add("size/parse/" + name, kPeer,
            [size](auto& state) { readText(state, processesOf(size).xml, pugi::parse_default); });
        add("size/print/" + name, kPeer,
            [size](auto& state) { writeText(state, processesOf(size).xml); });
    }
}

const bool added = [] {
    notePeer(kPeer, std::to_string(PUGIXML_VERSION / 1000) + "." +
                        std::to_string(PUGIXML_VERSION / 10 % 100));
    addText();
    add("build/name", kPeer, buildVeStatus);
    add("walk/ve_status", kPeer, [](auto& state) { walkTexts(state, veStatus()); });
    add("header/get", kPeer, getAttribute);
    add("header/set", kPeer, setAttribute);
    add("reply/small", kPeer, copyReply);
    for (const int version : kSoapVersions) {
        add("soap/request/1MB/" + soapVersionName(version), kPeer,
            [version](auto& state) { readRequest(state, soapLarge(version)); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
