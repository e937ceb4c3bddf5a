// The buffer record of a binary message: who owns the bytes and how they grow.
#pragma once

#include "tqamsg/binary/edit_log.h"
#include "tqamsg/export.h"

#include <cstdint>
#include <utility>

// One message content. Messages that share their content point at one record.
class TQA_API TQABinaryInternals {
  public:
    TQABinaryInternals() = default;
    // A deep copy of the used bytes. It has no buffer when memory runs out or when there was
    // nothing to copy.
    TQABinaryInternals(const TQABinaryInternals& other);
    TQABinaryInternals& operator=(const TQABinaryInternals&) = delete;
    ~TQABinaryInternals();

    // Makes room for `n` more bytes and gives the buffer; null, with everything unchanged, when
    // memory runs out or the buffer would pass 2 GiB.
    char* expand(std::int64_t n) { return n <= 0 || capacity > used + n ? buf : grow(n); }

    // Says how many bytes the message will have in all, as far as is known. Growing then takes the
    // room at once; the capacity goes up in its steps all the same.
    void expect(std::int64_t n) { expected = n; }

    // Appends the binary message at `message`, which lies there whole, to an empty record, and
    // gives the buffer, or null when it could not grow. Kept: the size comes from the message
    // itself, the count is not used.
    char* copy(const char* message, int len);

    // Forgets the content but keeps the buffer. The bytes are wiped, so that nothing of an
    // earlier message can reach a later one through the padding.
    void clear();

    // The message gets `n` bytes longer at its end, or shorter for a negative `n`; the buffer has
    // the room. Bytes that no message has used yet are zero.
    void resize(int n);

    // Takes out the `n` bytes at `from`. What follows them moves down, unless that is long and
    // there is less before them: then that moves up, and so does `buf`. Offsets are the same either
    // way.
    TQA_LOCAL void remove(int from, int n);

    // resize() for a caller who writes all of the new bytes.
    char* append(int n) {
        char* at = buf + used;
        used += n;
        if (used > touched) touched = used;
        return at;
    }

    // Whether no message has used the bytes behind this one yet.
    bool isFreshBehind() const { return used == touched; }

    // Tells iterators that elements may have moved.
    void changeStamp() {
        stamp = nextStamp(stamp);
        ++version;
    }

    // This record takes the place of another in a message. Iterators must see that even if its
    // buffer comes to lie where one of the message's former buffers was.
    void replace(const TQABinaryInternals& other) { stamp = nextStamp(other.stamp); }

    // Hands out the block of a message from which nothing was deleted; the record can only end.
    char* release() { return std::exchange(block, nullptr); }

    bool isShared() const { return holders > 1; }
    void hold() { ++holders; }
    // Ends one message's use of the record; the last one deletes it. Null is fine.
    static void drop(TQABinaryInternals* record);

    // Frozen order.
    char* buf = nullptr;        // in a block from realloc, null until the first growth
    std::int32_t stamp = 0;     // counts reallocations, clearings and deletions
    std::int32_t capacity = 0;  // bytes allocated, from `buf` on
    std::int32_t used = 0;      // bytes of the message

    // The block of memory that `buf` lies in. It moves only when the stamp changes.
    char* block = nullptr;

    // Where elements have moved. Elements appended behind all others move none.
    tqa::EditLog edits;

    // No other record of the process has or had this number.
    const std::uint64_t serial = nextSerial();
    // Changes when elements come, go or move, and with the stamp; not while a text is read, which
    // begins with clear().
    std::uint64_t version = 0;

    // The next record of a list; for whoever keeps one.
    TQABinaryInternals* next = nullptr;

  private:
    static std::uint64_t nextSerial();
    static std::int32_t nextStamp(std::int32_t stamp) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(stamp) + 1);
    }

    char* grow(std::int64_t n);
    std::int32_t front() const { return static_cast<std::int32_t>(buf - block); }
    TQA_LOCAL void takeFront();
    TQA_LOCAL bool allocate(std::int64_t target);

    std::int64_t allocated = 0;  // bytes of the block, front() and capacity or more
    std::int64_t expected = 0;
    std::int32_t touched = 0;  // the most bytes used since the buffer was last wiped
    std::int32_t holders = 1;  // messages that point here
};
