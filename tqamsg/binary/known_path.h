// When the path of an iterator was last known to fit its record. It saves checking what no edit
// since can have moved.
#pragma once

#include "tqamsg/binary/internals.h"

#include <cstdint>

namespace tqa {

class KnownPath {
  public:
    // The path fits the record as it is now.
    void note(const TQABinaryInternals& record) {
        serial_ = record.serial;
        version_ = record.version;
        edits_ = record.edits.count();
    }
    // An element was appended behind all others, which moved none.
    void noteAppended(const TQABinaryInternals& record) { version_ = record.version; }
    void forget() { serial_ = 0; }

    // Whether no element has come, gone or moved since.
    bool isCurrent(const TQABinaryInternals& record) const {
        return version_ == record.version && serial_ == record.serial;
    }
    // Whether no edit since can have moved the element at `offset`, the path's last, or one around
    // it. When it says no, the path may fit nevertheless.
    bool fitsUpTo(int offset, const TQABinaryInternals& record) const {
        return serial_ == record.serial && offset < record.edits.movedFrom(edits_);
    }

  private:
    std::uint64_t serial_ = 0;  // of the record, 0 for none
    std::uint64_t version_ = 0;
    std::uint64_t edits_ = 0;
};

}  // namespace tqa
