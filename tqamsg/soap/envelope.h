// A SOAP envelope, taken apart or to be put together.
//
//     std::unique_ptr<TQASoapEnvelope> request(TQASoapEnvelope::fromText(text));
//     if (request) use(request->uri, request->header, request->body);
//
//     TQASoapEnvelope answer(TQASoapConverter::getSoapURIByVersion(SOAP_12));
//     answer.body = "<get_infoResponse/>\n";
//     char* text = answer.toText();  // freed by the caller
//
// There is no XML parser here: an envelope is found in flat text by searching for its tags.
#pragma once

#include "tqamsg/export.h"

#include <optional>
#include <string>
#include <string_view>

class TQA_API TQASoapEnvelope {
  public:
    explicit TQASoapEnvelope(const std::string& namespaceUri);

    // Frozen order: the virtual operations are called by slot from programs that were compiled
    // against an earlier release.

    virtual ~TQASoapEnvelope();

    // The whole envelope as zero-terminated text that the caller frees; null when memory runs out.
    virtual char* toText();

    // The same, from the three texts as they stand. The prefix is always "soap"; there is no
    // header element when `header` is empty.
    virtual char* assembly();

    // Takes a request apart; the caller deletes the result. Null when it is no envelope: it needs
    // a prefixed start tag with a blank behind the word "Envelope", a declaration of that prefix
    // in double quotes there or further on, and a body. Only the first envelope, header and body
    // count. Names match in any letter case. std::bad_alloc may leave it.
    static TQASoapEnvelope* fromText(const char* text);

    // Frozen order as well. Kept: fromText() fills header and body with the whole elements, tags
    // included; assembly() puts such tags around them.
    std::string uri;
    std::string header;
    std::string body;
};

namespace tqa {

// What TQASoapEnvelope::fromText() takes from a text, where it stands in the text.
struct EnvelopeParts {
    std::string_view uri;
    std::string_view header;
    std::string_view body;
};

// Nothing when the text is no envelope.
std::optional<EnvelopeParts> findEnvelope(std::string_view text);

}  // namespace tqa
