#include "bench/soap_data.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "bench/values.h"
#include "bench/workloads.h"

#include <string_view>

namespace bench {

namespace {

constexpr std::string_view kBase = "http://www.tqagent.example/webservices/tqa/4.0.0/";

SoapContent makeSoapContent() {
    constexpr std::uint64_t kSoap = 6;  // workloads.cpp has the numbers before it
    Values values(kSoap);
    SoapContent content{"c4001", "panel", "s1.40000.7", "gend", values.words(150), 1, 17, {}, {}};
    for (int veid = 101; veid < 125; ++veid) content.veids.push_back(veid);
    for (int veid = 101; veid < 106; ++veid) {
        content.ves.push_back({veid, "ve" + std::to_string(veid) + ".node7.example",
                               values.integer(1, 9), values.between(1 << 20, 1LL << 34)});
    }
    return content;
}

void tag(std::string& out, std::string_view name, const std::string& value) {
    out.append("<").append(name).append(">").append(value);
    out.append("</").append(name).append(">");
}

std::string soapHeader(const SoapContent& content) {
    std::string out = "<packet_header xmlns=\"" + std::string(kBase) + "protocol\" id=\"" +
                      content.id + "\" version=\"4.0.0\" priority=\"" +
                      std::to_string(content.priority) + "\">";
    tag(out, "origin", content.origin);
    tag(out, "session", content.session);
    out += "<src>";
    tag(out, "director", content.director);
    tag(out, "index", std::to_string(content.index));
    return out + "</src></packet_header>";
}

std::string soapEnvelope(int version, std::string_view operation, std::string_view operatorName,
                         const std::string& content) {
    const std::string uri = version == 1 ? "http://schemas.xmlsoap.org/soap/envelope/"
                                         : "http://www.w3.org/2003/05/soap-envelope";
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<soap:Envelope xmlns:soap=\"" +
                      uri +
                      "\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
                      " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
                      "<soap:Header>" +
                      soapHeader(soapContent()) + "</soap:Header><soap:Body>";
    out.append("<").append(operation).append(" xmlns=\"").append(kBase).append(operatorName);
    out.append("\">").append(content).append("</").append(operation).append(">");
    return out + "</soap:Body></soap:Envelope>";
}

std::string makeSoapSmall(int version) {
    std::string operation = "<ve_list>";
    for (const int veid : soapContent().veids) tag(operation, "veid", std::to_string(veid));
    operation += "</ve_list>";
    tag(operation, "options", soapContent().options);
    return soapEnvelope(version, "get_info", "vem", operation);
}

// The operation takes a list of processes.
std::string makeSoapLarge(int version, std::size_t kilobytes) {
    const std::string& xml = processesOf(kilobytes).xml;
    const std::size_t start = xml.find("<processes>");
    return soapEnvelope(version, "set_conf", "proc",
                        xml.substr(start, xml.find("</data>") - start));
}

Workload makeSoapReply() {
    const SoapContent& content = soapContent();
    Script script;
    script.open(tqa::Tag_packet)
        .text(tqa::Attr_version, "4.0.0")
        .text(tqa::Attr_id, content.id)
        .number(tqa::Attr_priority, content.priority)
        .text(tqa::Tag_origin, "vem")
        .text(tqa::Tag_target, content.origin)
        .text(tqa::Tag_session, content.session)
        .open(tqa::Tag_dst)
        .text(tqa::Tag_director, content.director)
        .number(tqa::Tag_index, content.index)
        .close()
        .text(tqa::Tag_cookie, "get_info");
    script.open(tqa::Tag_data).openList(tqa::Tag_vem);
    for (const SoapVe& ve : content.ves) {
        script.open(tqa::Tag_ve)
            .number(tqa::Tag_veid, ve.veid)
            .text(tqa::Tag_hostname, ve.hostname)
            .number(tqa::Tag_state, ve.state)
            .longNumber(tqa::Tag_diskspace, ve.diskspace)
            .close();
    }
    return script.finish();
}

// One text for each SOAP version.
struct Requests {
    explicit Requests(const auto& make) : texts{make(1), make(2)} {}
    const std::string& of(int version) const {
        return texts[static_cast<std::size_t>(version - 1)];
    }
    std::string texts[2];
};

}  // namespace

std::string soapVersionName(int version) {
    return version == 1 ? "soap11" : "soap12";
}

const SoapContent& soapContent() {
    static const SoapContent made = makeSoapContent();
    return made;
}

const std::string& soapSmall(int version) {
    static const Requests made(makeSoapSmall);
    return made.of(version);
}

const std::string& soapLarge(int version) {
    static const Requests made([](int v) { return makeSoapLarge(v, 1024); });
    return made.of(version);
}

const std::string& soapFourLarge(int version) {
    static const Requests made([](int v) { return makeSoapLarge(v, 4096); });
    return made.of(version);
}

const Workload& soapReply() {
    static const Workload made = makeSoapReply();
    return made;
}

}  // namespace bench
