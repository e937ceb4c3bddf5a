// Elements as people write them: names, kinds and values.
#pragma once

#include "tqamsg/tqamsg.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The word of an element, "@" and the word of a header attribute, or "#" and the number of an
// identifier that is no word.
std::string nameOf(int id);
std::optional<int> idNamed(std::string_view name);

// "Int"; the number of a kind that has no name.
std::string nameOf(tqa::Kind kind);
std::optional<tqa::Kind> kindNamed(std::string_view name);

// The word of a namespace, or its number.
std::string namespaceOf(int ns);

// The text in double quotes, with everything written out that would move a terminal's cursor.
std::string inQuotes(std::string_view text);

// The text with everything written out that would move a terminal's cursor, but for line breaks and
// tabulators.
std::string forTerminal(std::string_view text);

// The value for people: texts in quotes, bytes in Base64, numbers in decimal. Empty for an element
// that has no value.
std::string shownValue(tqa::ElementView element);

// The value as it is: the text, the bytes, the digits.
std::string rawValue(tqa::ElementView element);

// The value as XML text has it, without what stands around raw elements; empty for a container.
std::string xmlValue(tqa::ElementView element);

// The payload that a value of this kind has, given as text: Base64 for Base64, a time in the
// message's form or in seconds for Time. Nothing when the text is no such value or the kind has no
// values.
std::optional<std::string> payloadOf(tqa::Kind kind, const std::string& text);

// Each element of a message in document order, without recursion.
class Walk {
  public:
    explicit Walk(tqa::ElementView root) : element_(root) {}

    explicit operator bool() const { return static_cast<bool>(element_); }
    tqa::ElementView element() const { return element_; }
    // How many elements stand around this one.
    int depth() const { return static_cast<int>(around_.size()); }

    // To the next element; with `below` false to the next that is not inside this one.
    void next(bool below = true);

  private:
    tqa::ElementView element_;
    std::vector<tqa::ElementView> around_;
};

}  // namespace tool
