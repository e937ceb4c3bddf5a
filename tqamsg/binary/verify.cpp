#include "tqamsg/binary/verify.h"

#include "tqamsg/binary/layout.h"
#include "tqamsg/util/small_stack.h"
#include "tqamsg/vocabulary/lookup.h"

#include <exception>

namespace tqa {

namespace {

const char* textOf(Fault fault) {
    switch (fault) {
        case Fault::None:
            return "";
        case Fault::NotBinary:
            return "no binary message";
        case Fault::Incomplete:
            return "the message is not all there";
        case Fault::TrailingBytes:
            return "bytes follow the message";
        case Fault::TooLarge:
            return "the message is too large";
        case Fault::DoesNotFit:
            return "an element does not fit into the one around it";
        case Fault::UnknownKind:
            return "an element of unknown kind";
        case Fault::WrongLength:
            return "the length does not suit the kind";
        case Fault::NoZeroByte:
            return "a text does not end in a zero byte";
        case Fault::Unnamed:
            return "an element without a name";
        case Fault::RawTooDeep:
            return "raw elements hold one another too deep";
        case Fault::NoMemory:
            break;
    }
    return "memory ran out";
}

// --- one element --------------------------------------------------------------------------------

Fault textFault(ElementView element) {
    const std::string_view text = element.bytes();
    return text.empty() || text.back() != '\0' ? Fault::NoZeroByte : Fault::None;
}

Fault lengthFault(bool suits) {
    return suits ? Fault::None : Fault::WrongLength;
}

bool holdsBinary(ElementView raw) {
    const std::string_view held = raw.bytes();
    return startsWithMagic(held.data(), static_cast<std::int64_t>(held.size()));
}

int heldSize(ElementView raw) {
    const std::string_view held = raw.bytes();
    return wholeMessageSize(held.data(), static_cast<std::int64_t>(held.size()));
}

// A raw element holds a text, or a binary message with or without a zero byte behind it.
Fault rawFault(ElementView raw) {
    if (!holdsBinary(raw)) return textFault(raw);
    const int size = heldSize(raw);
    if (size == 0) return Fault::Incomplete;
    const bool isWhole =
        size == raw.length() || (size + 1 == raw.length() && textFault(raw) == Fault::None);
    return isWhole ? Fault::None : Fault::TrailingBytes;
}

Fault kindFault(ElementView element) {
    switch (element.kind()) {
        case Kind::Untyped:
            return element.length() == 0 ? Fault::None : textFault(element);
        case Kind::Int:
            return lengthFault(element.length() == sizeof(std::int32_t));
        case Kind::LongLong:
            return lengthFault(element.length() == sizeof(std::int64_t));
        case Kind::Double:
            return lengthFault(element.length() == sizeof(double));
        case Kind::Base64:
            // The byte behind the caller's bytes is stored, whatever it was.
            return lengthFault(element.length() > 0);
        case Kind::String:
        case Kind::Time:
            return textFault(element);
        case Kind::Container:
            // Blank text that gave way may have left up to three bytes more, never less.
            return lengthFault(element.length() == element.wholeLength());
        case Kind::Unparsed:
            return rawFault(element);
    }
    return Fault::UnknownKind;
}

Fault faultOf(ElementView element) {
    const bool isUnnamed = element.id() == 0 && element.kind() != Kind::Unparsed;
    return isUnnamed ? Fault::Unnamed : kindFault(element);
}

bool isUnknown(ElementView element) {
    const int id = element.id();
    return (id != 0 && tagWord(id).empty() && attributeWord(id).empty()) ||
           (element.ns() != 0 && namespaceWord(element.ns()).empty());
}

// --- what lies in an element --------------------------------------------------------------------

struct Range {
    const char* begin;
    const char* end;
};

// A container's children, or the root of the message that a raw element holds. The element is
// sound.
Range inside(ElementView element) {
    if (element.isContainer()) return {element.childrenBegin(), element.end()};
    const char* held = element.payload();
    return {held + kRootOffset, held + heldSize(element)};
}

bool holdsElements(ElementView element) {
    return element.isContainer() || (element.kind() == Kind::Unparsed && holdsBinary(element));
}

// --- the walk -----------------------------------------------------------------------------------

class Check {
  public:
    Check(const char* message, int len, Report* report)
        : message_(message), len_(len), report_(report) {}

    int run() {
        const Fault fault = frameFault();
        if (fault != Fault::None) return fail(fault, message_, {});
        range_ = wholeRange();
        at_ = range_.begin;
        return walk();
    }

  private:
    Fault frameFault() const {
        if (message_ == nullptr || !startsWithMagic(message_, len_)) return Fault::NotBinary;
        const int size = wholeMessageSize(message_, len_);
        if (size == 0) return Fault::Incomplete;
        if (size > kMaxCapacity) return Fault::TooLarge;
        return size == len_ ? Fault::None : Fault::TrailingBytes;
    }

    // Looks at each element in the order of the bytes.
    int walk() {
        while (leaveEnded()) {
            const ElementView element = ElementView::find(at_, range_.end);
            Fault fault = element ? faultOf(element) : Fault::DoesNotFit;
            if (fault == Fault::None) fault = pass(element);
            if (fault != Fault::None) return fail(fault, at_, element);
        }
        return 0;
    }

    // Steps out of the elements that end here; false behind the root.
    bool leaveEnded() {
        while (at_ == range_.end) {
            if (open_.empty()) return false;
            const ElementView ended = open_.top();
            at_ = ended.end();
            if (!ended.isContainer()) --rawDepth_;
            open_.pop();
            range_ = open_.empty() ? wholeRange() : inside(open_.top());
        }
        return true;
    }

    // Steps over a sound element, or into it.
    Fault pass(ElementView element) {
        if (report_ != nullptr && isUnknown(element)) noteUnknown(element);
        if (!holdsElements(element)) {
            at_ = element.end();
            return Fault::None;
        }
        if (!element.isContainer() && ++rawDepth_ > kMaxRawDepth) return Fault::RawTooDeep;
        if (!open_.push(element)) return Fault::NoMemory;
        range_ = inside(element);
        at_ = range_.begin;
        return Fault::None;
    }

    Range wholeRange() const { return {message_ + kRootOffset, message_ + len_}; }

    int fail(Fault fault, const char* at, ElementView element) {
        if (report_ != nullptr) {
            report_->fault = fault;
            report_->text = textOf(fault);
            report_->offset = offsetOf(at);
            writePath(element, report_->path);
        }
        return fault == Fault::NoMemory ? -2 : -1;
    }

    void noteUnknown(ElementView element) {
        if (report_->unknownCount++ > 0) return;
        report_->unknownOffset = offsetOf(element.begin());
        writePath(element, report_->unknownPath);
    }

    int offsetOf(const char* at) const { return static_cast<int>(at - message_); }

    // The way through the open elements to the last one, which may be empty.
    void writePath(ElementView last, std::string& path) const {
        try {
            const char* siblings = message_ + kRootOffset;
            for (std::size_t i = 0; i < open_.size(); ++i) {
                appendStep(siblings, open_[i], path);
                siblings = inside(open_[i]).begin;
            }
            if (last) appendStep(siblings, last, path);
        } catch (const std::exception&) {
            path.clear();
        }
    }

    static void appendStep(const char* siblings, ElementView element, std::string& path) {
        if (!path.empty()) path += '/';
        appendName(element.id(), path);
        int place = 1;
        for (ElementView each = ElementView::find(siblings, element.end());
             each.begin() != element.begin(); each = each.next(element.end())) {
            if (each.id() == element.id()) ++place;
        }
        if (place > 1) path += '[' + std::to_string(place) + ']';
    }

    static void appendName(int id, std::string& path) {
        if (const std::string_view tag = tagWord(id); !tag.empty()) {
            path += tag;
        } else if (const std::string_view attribute = attributeWord(id); !attribute.empty()) {
            (path += '@') += attribute;
        } else {
            path += '#' + std::to_string(id);
        }
    }

    const char* message_;
    int len_;
    Report* report_;
    const char* at_ = nullptr;          // where the next element is to start
    Range range_ = {};                  // in which it lies
    SmallStack<ElementView, 32> open_;  // what is around it
    int rawDepth_ = 0;                  // raw elements among these
};

}  // namespace

int verify(const char* buf, int len, Report* report) noexcept {
    if (report != nullptr) *report = Report();
    return Check(buf, len, report).run();
}

}  // namespace tqa
