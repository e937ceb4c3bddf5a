// gSOAP: the small request into structs and its response out of them, memory to memory, without
// HTTP. The context is reused and the generated code has no multi-reference pass, as its manual
// advises where speed counts.
#include "bench/measure.h"
#include "bench/soap_data.h"
#include "soapH.h"
#include "vem.nsmap"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

namespace {

constexpr char kPeer[] = "gsoap";

// The generated function has the same name.
using Operation = struct vem__get_USCOREinfo;

// A gSOAP context whose input and output are texts.
class Context {
  public:
    Context() : soap_(soap_new1(SOAP_XML_TREE | SOAP_C_UTFSTRING)) {
        soap_->user = this;
        soap_->frecv = receive;
        soap_->fsend = send;
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context() {
        release();
        soap_free(soap_);
    }

    soap* get() { return soap_; }
    void setInput(std::string_view text) { input_ = text; }
    std::string takeOutput() { return std::move(output_); }

    // Frees what the last operation read.
    void release() {
        soap_destroy(soap_);
        soap_end(soap_);
    }

  private:
    static std::size_t receive(soap* context, char* buffer, std::size_t size) {
        std::string_view& input = static_cast<Context*>(context->user)->input_;
        const std::size_t taken = std::min(size, input.size());
        std::memcpy(buffer, input.data(), taken);
        input.remove_prefix(taken);
        return taken;
    }

    static int send(soap* context, const char* bytes, std::size_t size) {
        static_cast<Context*>(context->user)->output_.append(bytes, size);
        return SOAP_OK;
    }

    soap* soap_;
    std::string_view input_;
    std::string output_;
};

// --- request ------------------------------------------------------------------------------------

bool read(soap* context, Operation& operation) {
    soap_default_vem__get_USCOREinfo(context, &operation);
    return soap_begin_recv(context) == SOAP_OK && soap_envelope_begin_in(context) == SOAP_OK &&
           soap_recv_header(context) == SOAP_OK && soap_body_begin_in(context) == SOAP_OK &&
           soap_get_vem__get_USCOREinfo(context, &operation, "vem:get_info", nullptr) != nullptr &&
           soap_body_end_in(context) == SOAP_OK && soap_envelope_end_in(context) == SOAP_OK &&
           soap_end_recv(context) == SOAP_OK;
}

void requireContent(const soap* context, const Operation& operation) {
    const SoapContent& content = soapContent();
    require(operation.options == content.options, "other options");
    require(operation.ve_USCORElist->__size == static_cast<int>(content.veids.size()), "other VEs");
    require(operation.ve_USCORElist->veid[0] == content.veids[0], "another VE");
    const proto__Packet* packet = context->header->proto__packet_USCOREheader;
    require(packet->id == content.id && packet->priority == content.priority, "another header");
    require(packet->src->index == content.index, "another index");
}

void readRequest(benchmark::State& state, int version) {
    const std::string& request = soapSmall(version);
    Context context;
    Operation operation;
    context.setInput(request);
    require(read(context.get(), operation), "the request was not read");
    requireContent(context.get(), operation);
    measure(state, [&] {
        context.setInput(request);
        require(read(context.get(), operation), "the request was not read");
        benchmark::DoNotOptimize(operation.ve_USCORElist);
        context.release();
    });
}

// --- response -----------------------------------------------------------------------------------

// The reply in gSOAP's structs, which only point to the texts.
class Reply {
  public:
    explicit Reply(const SoapContent& content) {
        route_.director = text(content.director);
        route_.index = content.index;
        packet_.version = text(version_);
        packet_.id = text(content.id);
        packet_.priority = content.priority;
        packet_.origin = text(origin_);
        packet_.target = text(content.origin);
        packet_.session = text(content.session);
        packet_.dst = &route_;
        packet_.cookie = text(cookie_);
        header_.proto__packet_USCOREheader = &packet_;
        for (const SoapVe& ve : content.ves) {
            vem__Ve& added = ves_.emplace_back();
            added.veid = ve.veid;
            added.hostname = text(ve.hostname);
            added.state = ve.state;
            added.diskspace = ve.diskspace;
        }
        response_.__size = static_cast<int>(ves_.size());
        response_.ve = ves_.data();
    }

    bool write(soap* context) {
        context->header = &header_;
        return soap_begin_send(context) == SOAP_OK && soap_envelope_begin_out(context) == SOAP_OK &&
               soap_putheader(context) == SOAP_OK && soap_body_begin_out(context) == SOAP_OK &&
               soap_put_vem__get_USCOREinfoResponse(context, &response_, "vem:get_infoResponse",
                                                    "") == SOAP_OK &&
               soap_body_end_out(context) == SOAP_OK && soap_envelope_end_out(context) == SOAP_OK &&
               soap_end_send(context) == SOAP_OK;
    }

  private:
    static char* text(const std::string& value) { return const_cast<char*>(value.c_str()); }

    const std::string version_ = "4.0.0", origin_ = "vem", cookie_ = "get_info";
    proto__Source route_;
    proto__Packet packet_;
    SOAP_ENV__Header header_;
    std::vector<vem__Ve> ves_;
    vem__get_USCOREinfoResponse response_;
};

void writeResponse(benchmark::State& state, int version) {
    Context context;
    Reply reply(soapContent());
    const auto write = [&] {
        // A server has it from the request; the end of an operation forgets it.
        if (context.get()->version != version)
            soap_set_version(context.get(), static_cast<short>(version));
        return reply.write(context.get());
    };
    require(write(), "the response was not written");
    require(context.takeOutput().find(soapContent().ves.back().hostname) != std::string::npos,
            "the response is not whole");
    measure(state, [&] {
        write();
        const std::string text = context.takeOutput();
        benchmark::DoNotOptimize(text.data());
        context.release();
    });
    context.get()->header = nullptr;
}

const bool added = [] {
    notePeer(kPeer, std::to_string(GSOAP_VERSION / 100000) + "." +
                        std::to_string(GSOAP_VERSION / 1000 % 100) + "." +
                        std::to_string(GSOAP_VERSION % 1000));
    for (const int version : kSoapVersions) {
        const std::string name = soapVersionName(version);
        add("soap/request/small/" + name, kPeer,
            [version](auto& state) { readRequest(state, version); });
        add("soap/response/small/" + name, kPeer,
            [version](auto& state) { writeResponse(state, version); });
    }
    return true;
}();

}  // namespace

}  // namespace bench
