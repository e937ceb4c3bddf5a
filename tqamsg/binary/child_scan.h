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
    // The first child of `parent`, an element of `record`, with this id; empty when there is none.
    // `content` tells the records of a message apart.
    [[gnu::always_inline]] ElementView find(ElementView parent, int id,
                                            const TQABinaryInternals& record,
                                            std::uint64_t content) {
        if (!parent || !parent.isContainer()) return {};
        if (!goesOn(parent, record, content)) {
            start(parent, record, content);
        } else if (mayHavePassed(id)) {
            rewind();
        }
        return findFrom(id, record);
    }

    // The first raw child; for a scan that is used for nothing else.
    ElementView findRaw(ElementView parent, const TQABinaryInternals& record,
                        std::uint64_t content) {
        if (!goesOn(parent, record, content)) start(parent, record, content);
        return findFrom(0, record);
    }

    // After find() found nothing: a child was appended at `offset`, where the children ended.
    void passAppended(int id, std::int32_t offset, std::int32_t end) {
        if (next_ != offset) return;
        pass(id, end - offset);
        end_ = end;
        if (count_ > kFew && ids_ == nullptr) rememberMany();
    }

  private:
    using Ids = std::unordered_set<std::int32_t>;

    // Up to here looking at all children is quicker than remembering their ids.
    static constexpr std::int32_t kFew = 64;

    // Whether this is the element that was looked through, and none of its children has moved. One
    // that grew where the message ends is no edit of the log, but moves the end.
    bool goesOn(ElementView parent, const TQABinaryInternals& record, std::uint64_t content) const {
        return parent_ == parent.begin() - record.buf && end_ == parent.end() - record.buf &&
               edits_ == record.edits.count() && content_ == content;
    }

    void start(ElementView parent, const TQABinaryInternals& record, std::uint64_t content) {
        content_ = content;
        edits_ = record.edits.count();
        parent_ = static_cast<std::int32_t>(parent.begin() - record.buf);
        end_ = static_cast<std::int32_t>(parent.end() - record.buf);
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

    std::uint64_t content_ = 0;
    std::uint64_t edits_ = 0;   // of the record
    std::int32_t parent_ = 0;   // offset
    std::int32_t end_ = 0;      // offset of the children's end
    std::int32_t next_ = 0;     // offset of the first child that was not passed
    std::int32_t count_ = 0;    // of children passed
    std::uint64_t passed_ = 0;  // a bit for each id passed; ids share bits
    std::unique_ptr<Ids> ids_;  // the ids passed, at least, once there are many
};

}  // namespace tqa
