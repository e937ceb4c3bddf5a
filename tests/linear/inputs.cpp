#include "tests/linear/inputs.h"

namespace linear {

std::string repeated(std::string_view part, std::size_t n) {
    std::string all;
    all.reserve(part.size() * n);
    for (std::size_t i = 0; i < n; ++i) all += part;
    return all;
}

namespace {

std::string declarations(std::size_t n) {
    std::string text = "<vem";
    for (std::size_t i = 0; i < n; ++i) {
        const std::string number = std::to_string(i);
        text.append(" xmlns:n").append(number).append("=\"urn:").append(number).append("\"");
    }
    return text + "></vem>";
}

std::string nested(std::string_view name, std::size_t n) {
    const std::string start = "<" + std::string(name) + ">";
    const std::string end = "</" + std::string(name) + ">";
    return repeated(start, n) + repeated(end, n);
}

}  // namespace

std::string content(std::string_view shape, std::size_t n) {
    if (shape == "width") return repeated("<veid>5</veid>", n);
    if (shape == "depth") return nested("data", n);
    if (shape == "length") return "<message>" + std::string(n, 'x') + "</message>";
    if (shape == "attributes") return "<vem" + repeated(" id=\"1\"", n) + "></vem>";
    if (shape == "declarations") return declarations(n);
    if (shape == "raw") return repeated("<zz>5</zz>", n);
    if (shape == "raw-depth") return nested("zz", n);
    return {};
}

std::string packetText(std::string_view shape, std::size_t n) {
    return "<packet><data>" + content(shape, n) + "</data><veid>5</veid></packet>";
}

tqa::Message packet(std::string_view shape, std::size_t n) {
    return tqa::Message::parse(packetText(shape, n));
}

std::string soapRequest(std::string_view shape, std::size_t n) {
    return "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\">"
           "<soap:Header><packet_header id=\"1\"><session>s</session></packet_header></soap:Header>"
           "<soap:Body><m:get_info "
           "xmlns:m=\"http://www.tqagent.example/webservices/tqa/4.0.0/vem\">" +
           content(shape, n) + "</m:get_info></soap:Body></soap:Envelope>";
}

tqa::Message soapReply(std::string_view shape, std::size_t n) {
    return tqa::Message::parse("<packet id=\"1\"><cookie>get_info</cookie><data><vem>" +
                               content(shape, n) + "</vem></data></packet>");
}

tqa::Message rawPacket(std::string_view shape, std::size_t n) {
    tqa::Builder builder;
    builder.open("packet").open(kPlace);
    if (shape == "width") {
        for (std::size_t i = 0; i < n; ++i) builder.putRaw("<veid>5</veid>");
    } else {
        builder.putRaw("<vem>" + content(shape, n) + "</vem>");
    }
    return tqa::Message(builder.close().put("veid", 5).close());
}

tqa::Message packetWithMiddle(std::size_t n) {
    const std::string children = content("width", n);
    return tqa::Message::parse("<packet><vem>" + children + "</vem><data>" + children +
                               "</data><vem>" + children + "</vem></packet>");
}

tqa::Message packetWithRawPairs(std::size_t n) {
    tqa::Builder builder;
    builder.open("packet");
    for (std::size_t i = 0; i < n; ++i) builder.open("vem").putRaw("<veid>5</veid>").close();
    return tqa::Message(builder.closeAll());
}

tqa::Message packetWithNamespaces(std::string_view shape, std::size_t n) {
    tqa::Builder builder;
    builder.open("packet");
    for (std::size_t i = 0; i < n; ++i) {
        builder.open("vem", i % 2 == 0 ? "types" : "alerts");
        if (shape == "width") builder.close();
    }
    return tqa::Message(builder.closeAll());
}

std::unique_ptr<TQABinaryIterator> iteratorOn(const tqa::Message& message) {
    return std::make_unique<TQABinaryIterator>(static_cast<TQABinary*>(message.get()));
}

void seekFarthest(TQABinaryIterator& it) {
    it.seek(kPlace);
    while (it.firstChild() == 0) {
        while (it.nextSibling() == 0) {
        }
    }
}

}  // namespace linear
