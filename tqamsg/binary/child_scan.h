// How far an iterator has looked through the children of one element, and which ids it met there.
// Fields are read and written in order more often than not, so a look-up goes on where the last one
// ended, unless the id may be one of those passed by.
#pragma once

#include "tqamsg/binary/internals.h"
#include "tqamsg/binary/layout.h"

#include <cstdint>
#include <memory>
#include <unordered_set>

namespace tqa {

class ChildScan {
  public:
    // Whether the next search below the element at this offset goes on, as nothing has changed.
    bool isAt(std::int32_t parent, const TQABinaryInternals& record) const {
        return parent_ == parent && version_ == record.version && serial_ == record.serial;
    }

    // The first child with this id below the element that isAt() holds for; empty when there is
    // none.
    [[gnu::always_inline]] ElementView find(int id, const TQABinaryInternals& record) {
        if (mayHavePassed(id)) rewind();
        return findFrom(id, record);
    }

    // The same below `parent`, an element of `record`.
    [[gnu::always_inline]] ElementView find(ElementView parent, int id,
                                            const TQABinaryInternals& record) {
        // An empty element has no children yet. An appended one must not be taken for the next
        // child of another element, which was looked through before.
        if (!parent || (parent.length() != 0 && !parent.isContainer())) {
            forget();
            return {};
        }
        start(parent, record);
        return find(id, record);
    }

    // The first raw child; for a scan that is used for nothing else.
    ElementView findRaw(ElementView parent, const TQABinaryInternals& record) {
        start(parent, record);
        return findFrom(0, record);
    }

    // Whether the element at `parent` has a few children, none of them with this id, and ends where
    // the message ends. When it says no, that may be so nevertheless.
    bool isThrough(std::int32_t parent, int id, const TQABinaryInternals& record) const {
        return isAt(parent, record) && next_ == record.used && end_ == next_ && count_ > 0 &&
               count_ < kFew && (passed_ & bitOf(id)) == 0;
    }

    // A child was appended to the element for which isThrough() said yes.
    void passLast(int id, const TQABinaryInternals& record) {
        passed_ |= bitOf(id);
        ++count_;
        next_ = end_ = record.used;
        version_ = record.version;
    }

    // After find() found nothing: a child was appended at `offset`, where the children ended.
    void passAppended(int id, std::int32_t offset, const TQABinaryInternals& record) {
        if (serial_ != record.serial || next_ != offset) return;
        pass(id, record.used - offset);
        end_ = record.used;
        version_ = record.version;
        if (count_ > kFew && ids_ == nullptr) rememberMany();
    }

    // The next search begins anew.
    void forget() { serial_ = 0; }

  private:
    using Ids = std::unordered_set<std::int32_t>;

    // Up to here looking at all children is quicker than remembering their ids.
    static constexpr std::int32_t kFew = 64;

    void start(ElementView parent, const TQABinaryInternals& record) {
        const auto offset = static_cast<std::int32_t>(parent.begin() - record.buf);
        if (isAt(offset, record)) return;
        parent_ = offset;
        end_ = static_cast<std::int32_t>(parent.end() - record.buf);
        version_ = record.version;
        serial_ = record.serial;
        if (ids_ != nullptr) ids_.reset();
        rewind();
    }

    void rewind() {
        next_ = parent_ + kEmptyElementSize;
        count_ = 0;
        passed_ = 0;
    }

    [[gnu::always_inline]] ElementView findFrom(int id, const TQABinaryInternals& record) {
        const char* const end = record.buf + end_;
        ElementView child = ElementView::find(record.buf + next_, end);
        while (child && child.id() != id) {
            pass(child.id(), child.size());
            child = child.next(end);
        }
        return child;
    }

    void pass(int id, std::int32_t size) {
        passed_ |= bitOf(id);
        next_ += size;
        ++count_;
        if (ids_ != nullptr) remember(id);
    }

    bool mayHavePassed(int id) const {
        return (passed_ & bitOf(id)) != 0 && (ids_ == nullptr || hasPassed(id));
    }
    bool hasPassed(int id) const;
    void rememberMany();
    void remember(int id);

    static std::uint64_t bitOf(int id) { return std::uint64_t{1} << (id & 63); }

    std::uint64_t serial_ = 0;   // of the record, 0 for none
    std::uint64_t version_ = 0;  // of the record
    std::int32_t parent_ = 0;    // offset
    std::int32_t end_ = 0;       // offset of the children's end
    std::int32_t next_ = 0;      // offset of the first child that was not passed
    std::int32_t count_ = 0;     // of children passed
    std::uint64_t passed_ = 0;   // a bit for each id passed; ids share bits
    std::unique_ptr<Ids> ids_;   // the ids passed, at least, once there are many
};

}  // namespace tqa
