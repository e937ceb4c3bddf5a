// XML text into elements, in one forward pass and without recursion.
//
// The reader takes what the agent's services write, which is less than XML: element tags,
// attributes in double quotes, empty tags without attributes, text content, and declarations and
// comments that are stepped over up to their first ">". Text is stored as it stands, references
// included. docs/format.md lists the rules.
#pragma once

#include "tqamsg/binary/internals.h"
#include "tqamsg/binary/text_scanner.h"

#include <cstdint>
#include <string_view>

namespace tqa {

class TextReader {
  public:
    // Appends to `record`, which holds at least the message header. The text must be followed by
    // a zero byte. `policy` has TQABinary's flags.
    TextReader(std::string_view text, TQABinaryInternals& record, std::uint32_t policy)
        : text_(text), scan_(text), record_(record), policy_(policy) {}

    // Reads one element with all in it; with `skip` it is checked and stepped over. False for
    // malformed or refused text and when memory runs out: what was read before stays, and every
    // length around it is right.
    bool read(bool skip);

    // The end of what was read.
    const char* position() const { return scan_.position(); }

  private:
    class Stored;
    class Skipped;

    template <class Sink>
    bool readOpen(Sink& sink);
    template <class Sink>
    bool readTag(Sink& sink);
    bool begin(Stored& sink, std::string_view name, const char* start);
    bool begin(Skipped& sink, std::string_view name, const char* start);
    template <class Sink>
    bool readElement(Sink& sink, std::string_view name);

    std::string_view text_;
    TextScanner scan_;
    TQABinaryInternals& record_;
    std::uint32_t policy_;
};

// Makes the record an empty message: the header without a root. False when memory runs out.
bool beginMessage(TQABinaryInternals& record);

// Empties the record and reads one element from the text into it as a whole message. False as
// for TextReader::read(), and when the text holds nothing to store.
bool readMessage(std::string_view text, TQABinaryInternals& record, std::uint32_t policy);

}  // namespace tqa
