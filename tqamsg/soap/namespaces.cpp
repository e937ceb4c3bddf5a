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

constexpr std::size_t npos = std::string_view::npos;

constexpr std::string_view kDeclaration = " xmlns";

// The position behind the declaration at `at`: behind its value, or the end of the text when the
// value is not closed, or just behind the word when no quote follows, and then none ever will.
std::size_t endOfDeclaration(std::string_view text, std::size_t at, bool& quotesFollow) {
    quotesFollow = quotesFollow && text.find('"', at) != npos;
    if (!quotesFollow) return at + kDeclaration.size();
    const auto value = tqa::findQuoted(text, at);
    return value ? value->end + 1 : text.size();
}

}  // namespace

// A declaration that comes to stand where another one was erased was one before, so looking at the
// rest of the text only finds the same ones as starting over would. A long text is searched and
// copied piece by piece, so that the copy finds in the cache what was searched.
char* tqa::copyWithoutNamespaces(std::string_view text, char* out) {
    constexpr std::size_t kPiece = std::size_t{16} << 10;
    bool quotesFollow = true;
    for (std::size_t read = 0; read < text.size();) {
        const bool isLast = text.size() - read <= kPiece;
        const std::string_view piece = text.substr(0, isLast ? text.size() : read + kPiece);
        const std::size_t hit = findIgnoreCase(piece, kDeclaration, read);
        // A declaration may begin where a piece ends.
        const std::size_t end =
            hit != npos ? hit : piece.size() - (isLast ? 0 : kDeclaration.size());
        if (out != text.data() + read) std::memmove(out, text.data() + read, end - read);
        out += end - read;
        read = hit == npos ? end : endOfDeclaration(text, hit, quotesFollow);
    }
    return out;
}

int TQASoapConverter::removeNamespaces(tqa::IgnoreCaseString& text) {
    const char* const end = tqa::copyWithoutNamespaces({text.data(), text.size()}, text.data());
    text.resize(static_cast<std::size_t>(end - text.data()));
    return static_cast<int>(tqa::IgnoreCaseString::npos);
}
