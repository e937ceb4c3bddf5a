#include "tqamsg/soap/envelope.h"

#include "tqamsg/soap/ignore_case.h"
#include "tqamsg/soap/namespaces.h"
#include "tqamsg/util/c_text.h"

#include <memory>

namespace {

using tqa::findIgnoreCase;

constexpr std::size_t npos = std::string_view::npos;

std::string tagOf(std::string_view open, std::string_view prefix, std::string_view name) {
    return std::string(open).append(prefix).append(name);
}

// The header element, tags included; empty when there is none or it does not end. `at` moves to
// its start tag in either case.
std::string_view findHeader(std::string_view text, std::string_view prefix, std::size_t& at) {
    const std::size_t start = findIgnoreCase(text, tagOf("<", prefix, ":Header"), at);
    if (start == npos) return {};
    at = start;
    const std::string endTag = tagOf("</", prefix, ":Header>");
    const std::size_t end = findIgnoreCase(text, endTag, start);
    return end == npos ? std::string_view() : text.substr(start, end + endTag.size() - start);
}

// The body element, tags included; empty when there is none or it does not end.
std::string_view findBody(std::string_view text, std::string_view prefix, std::size_t at) {
    const std::size_t start = findIgnoreCase(text, tagOf("<", prefix, ":Body"), at);
    if (start == npos) return {};
    const std::string endTag = tagOf("</", prefix, ":Body");
    const std::size_t end = findIgnoreCase(text, endTag, start);
    // The one character more is the ">".
    return end == npos ? std::string_view() : text.substr(start, end + endTag.size() + 1 - start);
}

}  // namespace

std::optional<tqa::EnvelopeParts> tqa::findEnvelope(std::string_view text) {
    const std::size_t word = findIgnoreCase(text, ":envelope ");
    const std::size_t tag = word == npos ? npos : text.rfind('<', word);
    if (tag == npos) return std::nullopt;
    const std::string_view prefix = text.substr(tag + 1, word - tag - 1);

    // Kept: an attribute whose name merely starts like the declaration is taken for it.
    const std::size_t declaration = findIgnoreCase(text, tagOf("xmlns:", prefix, ""), tag + 1);
    const auto uri = findQuoted(text, declaration);
    if (!uri) return std::nullopt;

    std::size_t at = uri->begin;
    const std::string_view header = findHeader(text, prefix, at);
    const std::string_view body = findBody(text, prefix, at);
    if (body.empty()) return std::nullopt;
    return EnvelopeParts{uri->of(text), header, body};
}

TQASoapEnvelope::TQASoapEnvelope(const std::string& namespaceUri) : uri(namespaceUri) {}

TQASoapEnvelope::~TQASoapEnvelope() = default;

TQASoapEnvelope* TQASoapEnvelope::fromText(const char* text) {
    const auto parts = text == nullptr ? std::nullopt : tqa::findEnvelope(text);
    if (!parts) return nullptr;
    auto envelope = std::make_unique<TQASoapEnvelope>(std::string(parts->uri));
    envelope->header = parts->header;
    envelope->body = parts->body;
    return envelope.release();
}

char* TQASoapEnvelope::toText() {
    return assembly();
}

char* TQASoapEnvelope::assembly() {
    constexpr std::size_t kMarkup = 320;  // tags, line breaks and the two schema URIs
    tqa::TextBuffer text(uri.size() + header.size() + body.size() + kMarkup);
    text.append("<soap:Envelope xmlns:soap=\"");
    text.append(uri);
    text.append("\" xmlns:xsd=\"");
    text.append(tqa::kSchemaUri);
    text.append("\" xmlns:xsi=\"");
    text.append(tqa::kSchemaInstanceUri);
    text.append("\">\n");
    if (!header.empty()) {
        text.append("<soap:Header>\n");
        text.append(header);
        text.append("</soap:Header>\n");
    }
    text.append("<soap:Body>\n");
    text.append(body);
    text.append("</soap:Body>\n</soap:Envelope>");
    return text.release();
}
