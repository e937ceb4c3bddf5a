// The SOAP gateway.
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/c_text.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/soap_data.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

namespace {

void readRequest(benchmark::State& state, const std::string& request) {
    TQASoapConverter converter;
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        require(converter.soapToTqamsg(request.c_str(), **message) == 0, "a fault");
        benchmark::DoNotOptimize(*message);
    });
}

void respond(TQASoapConverter& converter, TQAMessage& reply, SoapVersion version) {
    TQASoapEnvelope* made = nullptr;
    require(converter.tqamsgToSoap(reply, version, made) == 0, "a fault");
    const std::unique_ptr<TQASoapEnvelope> envelope(made);
    const tqa::CText text(envelope->toText());
    benchmark::DoNotOptimize(text.get());
}

// A conversion uses the reply up, and making and ending replies is not what is measured: so many
// are made at a time while the clock stands still.
void writeResponse(benchmark::State& state, SoapVersion version) {
    constexpr int kBatch = 64;
    TQASoapConverter converter;
    const Message reply(TQAMsgFactory::createNew());
    build(soapReply(), **reply);
    std::string bytes = bytesOf(**reply);

    std::vector<std::unique_ptr<Message>> replies;
    while (state.KeepRunningBatch(kBatch)) {
        state.PauseTiming();
        replies.clear();
        for (int i = 0; i < kBatch; ++i) {
            replies.push_back(std::make_unique<Message>(TQAMsgFactory::createNew()));
            (**replies.back())->init(bytes.data(), static_cast<int>(bytes.size()));
        }
        state.ResumeTiming();
        for (const auto& one : replies) respond(converter, ***one, version);
    }
    countAllocations(state, [&] { respond(converter, **reply, version); });
}

const bool added = [] {
    for (const int version : kSoapVersions) {
        const std::string name = soapVersionName(version);
        add("soap/request/small/" + name, kOurs,
            [version](auto& state) { readRequest(state, soapSmall(version)); });
        add("soap/request/1MB/" + name, kOurs,
            [version](auto& state) { readRequest(state, soapLarge(version)); });
        add("soap/response/small/" + name, kOurs,
            [version](auto& state) { writeResponse(state, static_cast<SoapVersion>(version)); });
    }
    return add("soap/request/4MB/soap11", kOurs,
               [](auto& state) { readRequest(state, soapFourLarge(1)); });
}();

}  // namespace

}  // namespace bench
