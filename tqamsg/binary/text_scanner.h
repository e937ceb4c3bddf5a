// A position in XML text and the steps that the reader takes with it. Every step stops at the end
// of the text, so the reader holds no bounds.
#pragma once

#include "tqamsg/binary/text_search.h"

#include <cstring>
#include <string_view>

namespace tqa {

// What follows at a place inside an element.
enum class Inside { Bad, Text, Child, End };

class TextScanner {
  public:
    // The text must be followed by a zero byte.
    explicit TextScanner(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

    const char* position() const { return at_; }
    bool atEnd() const { return at_ == end_; }

    void skipSpace() {
        while (isSpace(*at_)) ++at_;
    }

    bool accept(char c) {
        if (*at_ != c || atEnd()) return false;
        ++at_;
        return true;
    }

    // Moves to the next tag. Kept: the first ">" ends a declaration, a processing instruction and
    // also a comment.
    bool skipProlog() {
        for (;;) {
            skipSpace();
            if (*at_ != '<') return false;
            if (at_[1] != '!' && at_[1] != '?') return true;
            if (!skipPast('>')) return false;
        }
    }

    // At a tag: whether it is an end tag.
    bool atAnyEndTag() const { return at_[1] == '/'; }

    // Takes "<" and the name behind it, which ends at ">", "/" or white space. An empty name is
    // a fault: of the syntax, of the length, or of a text that ends here.
    std::string_view takeName() {
        constexpr std::ptrdiff_t kMaxLength = 250;
        const char* start = at_ + 1;
        const char* stop = start;
        if (end_ - start >= TextBlock::kSize) {
            const TextBlock block(start);
            const unsigned ends = block.where('>') | block.where('/') | block.whereBlank();
            stop += std::countr_zero(ends | 1U << 15);
        }
        while (!endsName(*stop)) ++stop;
        at_ = stop;
        if (stop - start > kMaxLength || stop == end_) return {};
        return {start, static_cast<std::size_t>(stop - start)};
    }

    // The vocabulary's key of a name that was taken here.
    WordKey keyOfName(std::string_view name) const {
        const bool inBlock = name.size() <= kKeyLength && end_ - name.data() >= TextBlock::kSize;
        return inBlock ? TextBlock(name.data()).key(name.size()) : keyOf(name);
    }

    // Takes an attribute: name="value", where the name runs up to the "=".
    bool takeAttribute(std::string_view* name, std::string_view* value) {
        const char* start = at_;
        if (!skipPast('=')) return false;
        *name = {start, static_cast<std::size_t>(at_ - 1 - start)};
        if (!accept('"')) return false;
        start = at_;
        if (!skipPast('"')) return false;
        *value = {start, static_cast<std::size_t>(at_ - 1 - start)};
        return true;
    }

    // Behind the start tag of an element of this name: takes its content and end tag if that is
    // text; takes nothing if there are child elements.
    Inside takeText(std::string_view name, std::string_view* text) {
        const char* stop = at_;
        while (isSpace(*stop)) ++stop;
        if (*stop == '<' && !isEndTag(stop, name)) return Inside::Child;
        while (!isEndTag(stop, name)) {
            if (stop != end_) ++stop;
            stop = findByte(stop, end_, '<');
            if (stop == end_) return Inside::Bad;
        }
        *text = {at_, static_cast<std::size_t>(stop - at_)};
        at_ = stop + name.size() + kEndTagMarks;
        return Inside::Text;
    }

    // Among the children of an element of this name: takes its end tag if that is next; takes
    // nothing, not even white space, if another child is. Kept: at the end of the text the end
    // tag may be missing.
    Inside takeEnd(std::string_view name, bool mayBeMissing) {
        const char* stop = at_;
        while (isSpace(*stop)) ++stop;
        if (*stop != '<') {
            if (stop != end_ || !mayBeMissing) return Inside::Bad;
            at_ = stop;
            return Inside::End;
        }
        if (stop[1] != '/') return Inside::Child;
        if (!isEndTag(stop, name)) return Inside::Bad;
        at_ = stop + name.size() + kEndTagMarks;
        return Inside::End;
    }

  private:
    static constexpr std::size_t kEndTagMarks = 3;  // "</" and ">"

    static bool isSpace(char c) { return c == '\n' || c == ' ' || c == '\t' || c == '\r'; }
    static bool endsName(char c) { return c == '>' || c == '/' || isSpace(c) || c == '\0'; }

    bool skipPast(char c) {
        const char* found = findByte(at_, end_, c);
        if (found == end_) return false;
        at_ = found + 1;
        return true;
    }

    // `name` stands in the text before `place`.
    bool isEndTag(const char* place, std::string_view name) const {
        const std::size_t n = name.size();
        if (static_cast<std::size_t>(end_ - place) < n + kEndTagMarks || place[0] != '<' ||
            place[1] != '/' || place[n + 2] != '>') {
            return false;
        }
        if (n > kKeyLength || end_ - place < TextBlock::kSize + 2) {
            return std::memcmp(place + 2, name.data(), n) == 0;
        }
        const unsigned same = TextBlock(place + 2).whereSame(TextBlock(name.data()));
        return static_cast<std::size_t>(std::countr_one(same)) >= n;
    }

    const char* at_;
    const char* end_;
};

}  // namespace tqa
