#include "tests/support/plain_text.h"

#include "tqamsg/binary/binary.h"
#include "tqamsg/util/base64.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/vocabulary/lookup.h"

#include "tests/support/messages.h"

namespace tqa_test {

namespace {

using tqa::ElementView;
using tqa::Kind;

// --- writing ------------------------------------------------------------------------------------

class Writer {
  public:
    Writer(bool namespaces, std::string base) : namespaces_(namespaces), base_(std::move(base)) {}

    std::string write(ElementView element, const std::string& prefix) const {
        if (isAttribute(element)) return attribute(element);
        if (element.kind() == Kind::Unparsed) {
            return element.length() == 0 ? "" : value(element) + '\n';
        }
        const std::string name = (prefix.empty() ? "" : prefix + ':') + word(element);
        const std::string ns = namespaceOf(element);
        std::string start = '<' + name;
        if (!ns.empty()) start += " xmlns:" + ns + "=\"" + base_ + ns + '"';
        if (element.length() == 0) return start + "/>\n";
        const std::string end = "</" + name + ">\n";
        if (!element.isContainer()) return start + '>' + value(element) + end;

        std::string attributes;
        std::string children;
        for (auto child = element.firstChild(); child; child = child.next(element.end())) {
            if (isAttribute(child)) {
                attributes.insert(0, attribute(child));
            } else {
                children += write(child, ns.empty() ? prefix : ns);
            }
        }
        return start + attributes + ">\n" + children + end;
    }

  private:
    static bool isAttribute(ElementView element) {
        return element.id() < 201 && element.kind() != Kind::Unparsed;
    }

    std::string attribute(ElementView element) const {
        return ' ' + word(element) + "=\"" + value(element) + '"';
    }

    std::string namespaceOf(ElementView element) const {
        return std::string(namespaces_ ? tqa::namespaceWord(element.ns()) : std::string_view());
    }

    std::string word(ElementView element) const {
        const int id = element.id();
        const std::string known(id < 201 ? tqa::attributeWord(id) : tqa::tagWord(id));
        return known.empty() && namespaceOf(element).empty() ? "INVALID_TAG" : known;
    }

    static std::string escaped(std::string_view text) {
        std::string out;
        for (const char c : text) {
            out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
        }
        return out;
    }

    static std::string value(ElementView element) {
        if (element.length() == 0) return "";
        std::int32_t small = 0;
        std::int64_t wide = 0;
        double real = 0;
        switch (element.kind()) {
            case Kind::Untyped:
            case Kind::Time:
            case Kind::Unparsed:
                return std::string(element.text());
            case Kind::String:
                return escaped(element.text());
            case Kind::Base64:
                return Base64::encode(
                    std::string(element.bytes().substr(0, element.bytes().size() - 1)));
            case Kind::Int:
                return element.number(&small) ? intToStr(small) : "";
            case Kind::LongLong:
                return element.number(&wide) ? longlongToStr(wide) : "";
            case Kind::Double:
                return element.number(&real) ? doubleToStr(real) : "";
            default:
                return "";
        }
    }

    bool namespaces_;
    std::string base_;
};

// --- reading ------------------------------------------------------------------------------------

constexpr std::string_view kBlank = " \t\r\n";

class Reader {
  public:
    Reader(std::string_view text, std::uint32_t policy) : text_(text), policy_(policy) {}

    // The bytes of the first element; empty when nothing was stored.
    std::optional<std::string> read() {
        std::string root = element(false);
        if (failed_ || root.empty()) return {};
        return message(root);
    }

  private:
    char here(std::size_t ahead = 0) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }
    bool atEnd() const { return at_ >= text_.size(); }
    bool follows(std::string_view what) const { return text_.substr(at_).starts_with(what); }
    void skipBlank() { at_ = std::min(text_.find_first_not_of(kBlank, at_), text_.size()); }

    std::string fail() {
        failed_ = true;
        at_ = text_.size();
        return {};
    }

    // Moves behind the next such character; false, and failed, when there is none.
    bool skipPast(char c, std::string_view* skipped = nullptr) {
        const std::size_t found = text_.find(c, at_);
        if (found == std::string_view::npos) {
            fail();
            return false;
        }
        if (skipped != nullptr) *skipped = text_.substr(at_, found - at_);
        at_ = found + 1;
        return true;
    }

    // What is stored for the element that comes next; nothing before an end tag.
    std::string element(bool skip) {
        const std::size_t start = at_;
        for (;;) {
            skipBlank();
            if (here() != '<') return fail();
            if (here(1) == '/') return {};
            if (here(1) != '!' && here(1) != '?') break;
            if (!skipPast('>')) return {};
        }
        const std::size_t nameEnd = text_.find_first_of(" \t\r\n>/", ++at_);
        const std::string_view name = text_.substr(at_, nameEnd - at_);
        if (nameEnd == std::string_view::npos || name.empty() || name.size() > 250) return fail();
        at_ = nameEnd;

        const int id = skip ? 0 : tagId(name);
        const bool isUnknown = !skip && id == 0;
        if (isUnknown && (policy_ & TQABinary::kRefuseUnknown) != 0) return fail();
        bool isEmptyTag = false;
        std::string stored = content(std::string(name), id, &isEmptyTag);
        if (failed_ || !isUnknown) return stored;
        if (!isEmptyTag && (policy_ & TQABinary::kDropUnknown) != 0) return {};
        return tqa_test::element(0, Kind::Unparsed,
                                 std::string(text_.substr(start, at_ - start)) + '\0');
    }

    static int tagId(std::string_view name) {
        const int id = tqa::tagId(name);
        const std::size_t colon = name.find(':');
        return id != 0 || colon == std::string_view::npos ? id : tqa::tagId(name.substr(colon + 1));
    }

    // What follows the name. With id 0 nothing is looked up or stored.
    std::string content(const std::string& name, int id, bool* isEmptyTag) {
        skipBlank();
        if (here() == '/') {
            *isEmptyTag = true;
            if (here(1) != '>') return fail();
            at_ += 2;
            return known(id, Kind::Untyped, {});
        }
        const std::string attributes = attributesOf(id);
        const std::string endTag = "</" + name + '>';
        const std::size_t start = at_;
        skipBlank();
        if (failed_) return {};
        if (here() == '<' && !follows(endTag)) {
            at_ = start;
            const std::string children = attributes + childrenOf(id, endTag);
            return known(id, children.empty() ? Kind::Untyped : Kind::Container, children);
        }
        const std::size_t end = text_.find(endTag, at_);
        if (end == std::string_view::npos) return fail();
        const std::string text(text_.substr(start, end - start));
        at_ = end + endTag.size();
        if (attributes.empty()) return known(id, Kind::Untyped, text + '\0');
        // Beside attributes there is room for blanks only.
        if (text.find_first_not_of(kBlank) != std::string::npos) return fail();
        return known(id, Kind::Container, attributes);
    }

    static std::string known(int id, Kind kind, const std::string& payload) {
        return id == 0 ? std::string() : tqa_test::element(id, kind, payload);
    }

    // Up to and with the ">" of the start tag.
    std::string attributesOf(int id) {
        std::string stored;
        for (skipBlank(); here() != '>'; skipBlank()) {
            std::string_view name;
            std::string_view value;
            if (!skipPast('=', &name)) return {};
            if (here() != '"') return fail();
            ++at_;
            if (!skipPast('"', &value)) return {};
            if (id == 0) continue;
            const int attribute = tqa::attributeId(name);
            if (attribute != 0) {
                stored += tqa_test::element(attribute, Kind::Untyped, std::string(value) + '\0');
            } else if (name.find(':') == std::string_view::npos) {
                return fail();
            }
        }
        ++at_;
        return stored;
    }

    std::string childrenOf(int id, const std::string& endTag) {
        std::string stored;
        for (;;) {
            const std::size_t before = at_;
            skipBlank();
            if (atEnd() || follows(endTag)) break;
            if (here() != '<' || here(1) == '/') return fail();
            // White space in front of a raw element belongs to it.
            at_ = before;
            stored += element(id == 0);
        }
        // At the very end of the text the end tags of known elements may be missing.
        if (atEnd() && id == 0) return fail();
        at_ = std::min(at_ + endTag.size(), text_.size());
        return stored;
    }

    std::string_view text_;
    std::uint32_t policy_;
    std::size_t at_ = 0;
    bool failed_ = false;
};

}  // namespace

std::string plainText(std::string_view encoded, bool namespaces, const std::string& base) {
    const char* end = encoded.data() + encoded.size();
    const ElementView root = ElementView::find(encoded.data() + tqa::kRootOffset, end);
    return Writer(namespaces, base).write(root, "");
}

std::optional<std::string> plainRead(std::string_view xml, std::uint32_t policy) {
    return Reader(xml.substr(0, xml.find('\0')), policy).read();
}

}  // namespace tqa_test
