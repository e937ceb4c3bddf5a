#include "tqamsg/soap/namespaces.h"

#include "tqamsg/soap/converter.h"
#include "tqamsg/util/version_text.h"

#include <algorithm>
#include <cstring>

// An agent's maker may build the library with bases of its own.
#ifndef TQAMSG_NAMESPACE_BASE
#define TQAMSG_NAMESPACE_BASE "http://www.tqagent.example/webservices/tqa/"
#endif
#ifndef TQAMSG_LEGACY_NAMESPACE_BASE
#define TQAMSG_LEGACY_NAMESPACE_BASE "http://legacy.tqagent.example/webservices/tqa/"
#endif

const char tqa::kNamespaceBase[] = TQAMSG_NAMESPACE_BASE;
const char tqa::kLegacyNamespaceBase[] = TQAMSG_LEGACY_NAMESPACE_BASE;

static_assert(std::string_view(TQAMSG_NAMESPACE_BASE).ends_with('/'));
static_assert(std::string_view(TQAMSG_LEGACY_NAMESPACE_BASE).ends_with('/'));

std::optional<SoapVersion> tqa::soapVersionOf(std::string_view uri) noexcept {
    for (const SoapVersionUri& known : kSoapVersionUris)
        if (uri == known.uri) return known.version;
    return std::nullopt;
}

const char* tqa::soapUriOf(SoapVersion version) noexcept {
    for (const SoapVersionUri& known : kSoapVersionUris)
        if (version == known.version) return known.uri;
    return "";
}

std::optional<tqa::QuotedValue> tqa::findQuoted(std::string_view text, std::size_t from) noexcept {
    const std::size_t open = text.find('"', from);
    if (open == std::string_view::npos) return std::nullopt;
    const std::size_t close = text.find('"', open + 1);
    if (close == std::string_view::npos) return std::nullopt;
    return QuotedValue{open + 1, close};
}

std::string TQASoapConverter::getSoapURIByVersion(SoapVersion version) {
    return tqa::soapUriOf(version);
}

std::string TQASoapConverter::getTQAWsdlURI(int version) {
    char text[tqa::kVersionTextMax];
    std::string uri =
        version < tqa::kFirstCurrentVersion ? tqa::kLegacyNamespaceBase : tqa::kNamespaceBase;
    return uri.append(tqa::versionToText(version, text)).append("/");
}

namespace {

constexpr std::string_view kDeclaration = " xmlns";

// The position behind the declaration at `at`: behind its value, or the end of the text when the
// value is not closed, or just behind the word when no quote follows.
std::size_t endOfDeclaration(std::string_view text, std::size_t at, std::size_t lastQuote) {
    if (lastQuote == std::string_view::npos || lastQuote < at) return at + kDeclaration.size();
    const auto value = tqa::findQuoted(text, at);
    return value ? value->end + 1 : text.size();
}

}  // namespace

// Works in place: what stays is moved down behind what stayed before it. A declaration that comes
// to stand where another one was erased was one before, so looking at the rest of the text only
// finds the same ones as starting over would.
int TQASoapConverter::removeNamespaces(tqa::IgnoreCaseString& text) {
    const std::string_view view(text.data(), text.size());
    const std::size_t lastQuote = view.rfind('"');
    std::size_t kept = 0;
    for (std::size_t read = 0; read < view.size();) {
        const std::size_t hit =
            std::min(tqa::findIgnoreCase(view, kDeclaration, read), view.size());
        std::memmove(text.data() + kept, text.data() + read, hit - read);
        kept += hit - read;
        read = hit == view.size() ? hit : endOfDeclaration(view, hit, lastQuote);
    }
    text.resize(kept);
    return static_cast<int>(tqa::IgnoreCaseString::npos);
}
