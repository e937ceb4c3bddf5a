// RapidXML, for comparison: the fastest mode works on the text itself and leaves values unread, so
// it parses a copy.
#include "bench/measure.h"
#include "bench/workloads.h"

#include <rapidxml/rapidxml.hpp>
#include <string>

namespace bench {

namespace {

constexpr char kPeer[] = "rapidxml";

void readText(benchmark::State& state, const std::string& xml) {
    measure(state, [&] {
        std::string text = xml;
        rapidxml::xml_document<> document;
        document.parse<rapidxml::parse_fastest>(text.data());
        benchmark::DoNotOptimize(document.first_node());
    });
}

const bool added = [] {
    notePeer(kPeer, "1.13");
    for (const Source& source : kWorkloads) {
        if (source.make == deep) continue;  // it descends as deep as the input
        add(std::string("parse/") + source.name, kPeer,
            [source](auto& state) { readText(state, source.make().xml); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
