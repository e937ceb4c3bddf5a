// The SOAP versions, and the namespace URIs that requests and responses name.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/util/hash_map.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Frozen numbers. Any other value is an unsupported version.
enum SoapVersion : int { SOAP_11 = 1, SOAP_12 = 2 };

// Envelope namespace URI to SOAP version; built at load, read-only afterwards.
extern TQA_API const HashMap<std::string, SoapVersion>::MapElem Map_SoapVersionMap_Array[2];
extern TQA_API HashMap<std::string, SoapVersion> SoapVersionMap;

namespace tqa {

// The agent's namespaces are `<base><version>/<operator>`, for example
// http://www.tqagent.example/webservices/tqa/4.0.0/vem. The bases are chosen when the library is
// built.
extern const char kNamespaceBase[];
extern const char kLegacyNamespaceBase[];

// The first protocol version (3.0.3) whose namespaces stand under the current base.
inline constexpr int kFirstCurrentVersion = 30003;

// XML Schema Part 1 (Structures), section 2.5.
inline constexpr char kSchemaUri[] = "http://www.w3.org/2001/XMLSchema";
inline constexpr char kSchemaInstanceUri[] = "http://www.w3.org/2001/XMLSchema-instance";

struct SoapVersionUri {
    const char* uri;
    SoapVersion version;
};

// SOAP 1.1 (W3C Note of 8 May 2000), section 1.2; SOAP 1.2 Part 1 (W3C Recommendation),
// section 1.1. SoapVersionMap is made from this list.
inline constexpr SoapVersionUri kSoapVersionUris[] = {
    {"http://schemas.xmlsoap.org/soap/envelope/", SOAP_11},
    {"http://www.w3.org/2003/05/soap-envelope", SOAP_12},
};

// The version whose envelope namespace is `uri`, letter case included.
std::optional<SoapVersion> soapVersionOf(std::string_view uri) noexcept;

// The envelope namespace of a version, "" for an unsupported one.
const char* soapUriOf(SoapVersion version) noexcept;

// A value in double quotes: its first character and its closing quote.
struct QuotedValue {
    std::size_t begin;
    std::size_t end;

    std::string_view of(std::string_view text) const { return text.substr(begin, end - begin); }
};

// The first value in double quotes whose opening quote stands at or after `from`, if it is closed.
std::optional<QuotedValue> findQuoted(std::string_view text, std::size_t from) noexcept;

// TQASoapConverter::removeNamespaces() from a text to a place with room for all of it, which may be
// the text's own. Returns the end of what was written.
char* copyWithoutNamespaces(std::string_view text, char* out);

}  // namespace tqa
