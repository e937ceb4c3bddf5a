// The gateway's way through a request. It searches flat text, in any letter case; so does this.

#include "tools/element.h"
#include "tools/explain.h"

#include <algorithm>
#include <functional>
#include <memory>

namespace tool {

namespace {

constexpr std::size_t npos = std::string::npos;

std::string lowered(const std::string& text) {
    const tqa::IgnoreCaseString lower = toLower(tqa::IgnoreCaseString(text.data(), text.size()));
    return {lower.data(), lower.size()};
}

// The first place of the needle; both are in lower case.
std::size_t findIn(const std::string& text, const std::string& needle, std::size_t from) {
    if (from > text.size()) return npos;
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found =
        std::search(start, text.end(), std::boyer_moore_searcher(needle.begin(), needle.end()));
    return found == text.end() ? npos : static_cast<std::size_t>(found - text.begin());
}

// A text in double quotes.
struct Quotes {
    std::size_t begin = npos;
    std::size_t end = npos;
};

Quotes quotesFrom(const std::string& text, std::size_t from) {
    const std::size_t open = from == npos ? npos : text.find('"', from);
    const std::size_t close = open == npos ? npos : text.find('"', open + 1);
    return close == npos ? Quotes{} : Quotes{open + 1, close};
}

class RequestStory {
  public:
    explicit RequestStory(const std::string& soap)
        : soap_(soap, 0, soap.find('\0')),  // where the gateway stops
          lower_(lowered(soap_)),
          envelope_(TQASoapEnvelope::fromText(soap_.data())) {}

    std::string tell() {
        static_cast<void>(tellEnvelope() && tellHeader() && tellOperation() && tellNamespace());
        return std::move(story_);
    }

  private:
    // A step: what, where (npos for nowhere) and how it was found.
    bool say(const char* what, std::size_t at, const std::string& how) {
        story_ += std::string(what) + ": " + how;
        if (at != npos) story_ += " (offset " + std::to_string(at) + ")";
        story_ += '\n';
        return true;
    }
    bool miss(const char* what, const std::string& why) {
        say(what, npos, "not found: " + why);
        return false;
    }

    bool tellEnvelope() {
        const std::size_t word = findIn(lower_, ":envelope ", 0);
        const std::size_t tag = word == npos ? npos : soap_.rfind('<', word);
        if (tag == npos)
            return miss("envelope", "no start tag with a prefix, \":Envelope\" and a blank");
        prefix_ = lower_.substr(tag + 1, word - tag - 1);
        say("envelope", tag, "the first \":Envelope \", with the prefix " + inQuotes(prefix_));
        if (!envelope_) return miss("envelope", "its prefix is not declared, or there is no body");
        const std::size_t declaration = findIn(lower_, "xmlns:" + prefix_, tag);
        say("SOAP namespace", declaration,
            inQuotes(envelope_->uri) + ", the first declaration that begins with " +
                inQuotes("xmlns:" + prefix_));
        const auto version = SoapVersionMap.find(envelope_->uri);
        if (version == SoapVersionMap.end())
            return miss("SOAP version", "this namespace belongs to none");
        at_ = quotesFrom(soap_, declaration).begin;
        return say("SOAP version", npos, version->second == SOAP_11 ? "1.1" : "1.2");
    }

    bool tellHeader() {
        const std::string& header = envelope_->header;
        if (header.empty()) return say("SOAP header", npos, "none: the packet starts empty");
        const std::size_t start = findIn(lower_, "<" + prefix_ + ":header", at_);
        say("SOAP header", start, std::to_string(header.size()) + " bytes");
        const std::size_t block = findIn(lowered(header), "<packet_header", 0);
        if (block == npos)
            return say("header block", npos, "no \"<packet_header\": the packet starts empty");
        at_ = start;
        return say("header block", start + block,
                   "the first \"<packet_header\" becomes the packet, with a cookie added");
    }

    // Over comments and their like, which stand before the operation.
    std::size_t findTag(std::size_t from) const {
        std::size_t at = soap_.find('<', from);
        while (at != npos && soap_.compare(at, 2, "<!") == 0) {
            const bool isComment = soap_.compare(at, 4, "<!--") == 0;
            const bool isData = soap_.compare(at, 9, "<![CDATA[") == 0;
            const char* const end = isComment ? "-->" : isData ? "]]>" : ">";
            const std::size_t behind = soap_.find(end, at + (isComment ? 4 : 2));
            at = behind == npos ? npos : soap_.find('<', behind);
        }
        return at;
    }

    bool tellOperation() {
        const std::size_t body = findIn(lower_, "<" + prefix_ + ":body", at_);
        say("body", body, std::to_string(envelope_->body.size()) + " bytes");
        operation_ = findTag(body + 1);
        bodyEnd_ = soap_.rfind("</", body + envelope_->body.size() - 1);
        tagEnd_ = soap_.find('>', operation_);
        if (operation_ == npos || operation_ >= bodyEnd_ || tagEnd_ >= bodyEnd_)
            return miss("operation", "no element in the body");
        const std::size_t nameEnd = std::min(soap_.find(' ', operation_), tagEnd_);
        name_ = lower_.substr(operation_ + 1, nameEnd - operation_ - 1);
        const std::size_t colon = name_.find(':');
        if (colon != npos) operationPrefix_ = name_.substr(0, colon);
        name_.erase(0, colon == npos ? 0 : colon + 1);
        say("operation", operation_, "the body's first element");
        return say(
            "operation's name", npos,
            inQuotes(name_) + ", in lower case, without its prefix; it goes into \"cookie\"");
    }

    // The value behind the declaration that counts, and what to call that declaration.
    Quotes findDeclaration(std::string* how, std::size_t* at) const {
        if (!operationPrefix_.empty()) {
            *how = "the request's first declaration that begins with " +
                   inQuotes("xmlns:" + operationPrefix_);
            *at = findIn(lower_, "xmlns:" + operationPrefix_, 0);
            return quotesFrom(soap_, *at);
        }
        *how = "the default declaration in the operation's start tag";
        std::size_t word = std::min(soap_.find(' ', operation_), tagEnd_);
        while ((word = findIn(lower_, "xmlns", word)) < tagEnd_ && soap_[word + 5] == ':')
            word += 5;
        *at = word;
        const Quotes uri = word < tagEnd_ ? quotesFrom(soap_, soap_.find('=', word)) : Quotes{};
        return uri.end < tagEnd_ ? uri : Quotes{};
    }

    bool tellNamespace() {
        std::string how;
        std::size_t at = npos;
        const Quotes value = findDeclaration(&how, &at);
        if (value.end == npos) return miss("namespace", how);
        const std::string uri = soap_.substr(value.begin, value.end - value.begin);
        say("namespace", at, inQuotes(uri) + ", " + how);
        const std::size_t slash = uri.rfind('/');
        if (slash == npos) return miss("operator", "the namespace holds no \"/\"");
        tellOperator(lowered(uri.substr(slash + 1)));
        tellVersion(uri.substr(0, slash));
        return true;
    }

    void tellOperator(const std::string& name) {
        const std::string found = inQuotes(name) + ", the namespace's last segment in lower case; ";
        const bool isWord = TextIDMap.contains(name);
        const std::string where = isWord ? "the operation stands in its element"
                                         : "no word, so the operation stands in \"data\" itself";
        say("operator", npos,
            found + (name == "system" ? "it gets no \"target\"" : "it goes into \"target\"") +
                "; " + where);
    }

    void tellVersion(const std::string& base) {
        const std::size_t slash = base.rfind('/');
        const std::string text = slash == npos ? "" : base.substr(slash + 1);
        say("version", npos,
            text.empty() ? "none before the operator: that of the header block stays"
                         : inQuotes(text) + ", the segment before the operator");
    }

    const std::string soap_;
    const std::string lower_;
    const std::unique_ptr<TQASoapEnvelope> envelope_;
    std::string story_;
    std::string prefix_;
    std::size_t at_ = 0;  // where the search for what comes next begins
    std::size_t operation_ = npos;
    std::size_t tagEnd_ = npos;
    std::size_t bodyEnd_ = npos;
    std::string operationPrefix_;
    std::string name_;
};

}  // namespace

std::string explainRequest(const std::string& soap) {
    return RequestStory(soap).tell();
}

}  // namespace tool
