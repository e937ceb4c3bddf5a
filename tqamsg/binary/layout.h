// The bytes of a binary message. No other file knows an offset, a width or the size rule; all ask
// here. docs/format.md draws the same and shows a whole message.
//
//     message   0  magic, u32          98 BA DC FE
//               4  reserved, u32       written 0, never read
//               8  the root element; nothing follows it
//
//     element   0  id, i32             vocabulary id; 0 for a raw element
//               4  kind, u16           what the payload is
//               6  namespace, u16      vocabulary id; 0 for none
//               8  length, i32         payload bytes; for a container, its children's total size
//              12  payload             at 16 when the length is exactly 8 or the kind is Container
//                  padding             to the next multiple of 8, at least one byte
//
// All integers are in the host's byte order. The padding is not cleared: readers rely on the
// length, and on the zero byte that texts carry inside their length.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace tqa {

// Frozen values: they travel in messages.
enum class Kind : std::uint16_t {
    Untyped = 0,     // text in XML form with its zero byte, or nothing at all
    Int = 1,         // i32
    String = 2,      // plain text with its zero byte
    LongLong = 3,    // i64
    Double = 4,      // IEEE 754 binary64
    Base64 = 5,      // the bytes and one more; Base64 in text
    Time = 6,        // the time as text with its zero byte
    Container = 50,  // child elements, one after another
    Unparsed = 51,   // a whole message in raw form: XML text with its zero byte, or binary
};

inline constexpr std::uint32_t kMagic = 0xFEDCBA98;
inline constexpr int kMessageHeaderSize = 8;
inline constexpr int kRootOffset = kMessageHeaderSize;

// Ids below this are header attributes (and raw elements, which have none).
inline constexpr int kFirstElementId = 201;

// Bytes of an element without payload; also where a container's children start.
inline constexpr int kEmptyElementSize = 16;

// No buffer grows beyond this, so every offset and length fits an i32.
inline constexpr std::int64_t kMaxCapacity = 0x7FFFF000;

// The bytes that an element with a payload of `length` >= 0 bytes takes.
constexpr std::int64_t elementSize(std::int64_t length) {
    return ((length + 12) & ~std::int64_t{7}) + 8;
}

// Where the payload starts. The length test holds for every kind, so a text of seven characters
// lies at 16 just like a 64-bit number.
constexpr int payloadOffset(std::int64_t length, Kind kind) {
    return length == 8 || kind == Kind::Container ? 16 : 12;
}

// The payload bytes that lie in the element. Blank text that gave way to children leaves its
// length, up to 3, in that of the container, which may then say more than the element holds.
constexpr std::int64_t payloadSize(std::int64_t length, Kind kind) {
    const std::int64_t room = elementSize(length) - payloadOffset(length, kind);
    return length < room ? length : room;
}

static_assert(elementSize(0) == 16 && elementSize(3) == 16 && elementSize(4) == 24);
static_assert(elementSize(8) == 24 && elementSize(11) == 24 && elementSize(12) == 32);
static_assert(elementSize(0) == kEmptyElementSize);

// The second field of an element: kind and namespace in one word.
constexpr std::uint32_t kindWord(Kind kind, int ns = 0) {
    return static_cast<std::uint32_t>(kind) | static_cast<std::uint32_t>(ns) << 16;
}

constexpr Kind kindOf(std::uint32_t word) {
    return static_cast<Kind>(word & 0xFFFF);
}

// Loads and stores of unaligned host-order values.
template <class T>
T load(const char* from) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void store(char* to, T value) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(to, &value, sizeof value);
}

// The place in memory of the first zero byte of a word; the word's size if it has none.
template <class Word>
std::size_t firstZeroByte(Word word) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        constexpr Word kOnes = static_cast<Word>(~Word{0}) / 0xFF;
        // The lowest of the bits that are set is exact; those above it may be carries.
        const Word zeros = (word - kOnes) & ~word & (kOnes << 7);
        return static_cast<std::size_t>(std::countr_zero(zeros)) / 8;
    } else {
        const auto* const bytes = reinterpret_cast<const char*>(&word);
        return static_cast<std::size_t>(std::find(bytes, bytes + sizeof word, '\0') - bytes);
    }
}

// --- reading ------------------------------------------------------------------------------------

// A look at one element whose header and whole size lie inside the range it was found in. All
// reading of message bytes, trusted or received, goes through this.
class ElementView {
  public:
    ElementView() = default;

    // The element at `at` if it fits before `end`, else an empty view.
    static ElementView find(const char* at, const char* end) noexcept {
        if (end - at < kEmptyElementSize) return {};
        const auto length = load<std::int32_t>(at + 8);
        if (length < 0 || elementSize(length) > end - at) return {};
        return ElementView(at, length);
    }

    explicit operator bool() const noexcept { return at_ != nullptr; }

    int id() const noexcept { return load<std::int32_t>(at_); }
    Kind kind() const noexcept { return static_cast<Kind>(load<std::uint16_t>(at_ + 4)); }
    int ns() const noexcept { return load<std::uint16_t>(at_ + 6); }
    std::uint32_t word() const noexcept { return load<std::uint32_t>(at_ + 4); }
    int length() const noexcept { return length_; }
    bool isContainer() const noexcept { return kind() == Kind::Container; }

    const char* begin() const noexcept { return at_; }
    const char* end() const noexcept { return at_ + elementSize(length_); }
    int size() const noexcept { return static_cast<int>(elementSize(length_)); }

    // The length, and for a container at least the room that its children have.
    int wholeLength() const noexcept {
        const int room = size() - kEmptyElementSize;
        return isContainer() && length_ < room ? room : length_;
    }

    const char* payload() const noexcept { return at_ + payloadOffset(length_, kind()); }
    std::string_view bytes() const noexcept {
        return {payload(), static_cast<std::size_t>(payloadSize(length_, kind()))};
    }

    // A text payload: it ends at its first zero byte, or at its length if it holds none.
    std::string_view text() const noexcept {
        const std::string_view all = bytes();
        return all.substr(0, all.size() <= kShortText ? shortTextSize() : all.find('\0'));
    }

    // A fixed-width payload; false when the element is too short to hold one.
    template <class T>
    bool number(T* value) const noexcept {
        if (length_ < static_cast<int>(sizeof(T))) return false;
        *value = load<T>(payload());
        return true;
    }

    // A container's children lie from childrenBegin() to end(). The size rule sets the end, so a
    // length that is no multiple of 8 (kept from blank text that gave way) does no harm.
    const char* childrenBegin() const noexcept { return at_ + kEmptyElementSize; }
    ElementView firstChild() const noexcept {
        return at_ != nullptr && isContainer() && length_ > 0 ? find(childrenBegin(), end())
                                                              : ElementView();
    }
    ElementView childWithId(int id) const noexcept {
        const ElementView first = firstChild();
        return first ? first.withId(id, end()) : ElementView();
    }

    // The first element with this id from here on among those before `end`; empty when none.
    ElementView withId(int id, const char* end) const noexcept {
        ElementView element = *this;
        while (element && element.id() != id) element = element.next(end);
        return element;
    }
    ElementView next(const char* end) const noexcept { return find(this->end(), end); }

  private:
    static constexpr std::size_t kShortText = 64;

    ElementView(const char* at, int length) noexcept : at_(at), length_(length) {}

    // The bytes of the payload before its first zero byte, or more than it has: the element's words
    // are searched to their end.
    [[gnu::always_inline]] std::size_t shortTextSize() const noexcept {
        const int first = payloadOffset(length_, kind());
        if (first == 12) {
            const std::size_t zero = firstZeroByte(load<std::uint32_t>(at_ + 12));
            if (zero < 4) return zero;
        }
        for (int word = 16; word < size(); word += 8) {
            const std::size_t zero = firstZeroByte(load<std::uint64_t>(at_ + word));
            if (zero < 8) return static_cast<std::size_t>(word - first) + zero;
        }
        return static_cast<std::size_t>(length_);
    }

    const char* at_ = nullptr;
    std::int32_t length_ = 0;
};

// Whether the `len` bytes start with the magic.
inline bool startsWithMagic(const char* bytes, std::int64_t len) noexcept {
    return len >= 4 && load<std::uint32_t>(bytes) == kMagic;
}

// The size that the head of a binary message announces: 0 while the head is not all there among the
// `len` bytes, which start with the magic, and -1 for a negative length.
inline std::int64_t announcedMessageSize(const char* bytes, std::int64_t len) noexcept {
    if (len < kRootOffset + 12) return 0;
    const auto length = load<std::int32_t>(bytes + kRootOffset + 8);
    return length < 0 ? -1 : kRootOffset + elementSize(length);
}

// The size of the binary message at the start of the `len` bytes, which start with the magic, or
// 0 while it is not all there or when its length field is negative.
inline int wholeMessageSize(const char* bytes, std::int64_t len) noexcept {
    if (len < kMessageHeaderSize) return 0;
    const ElementView root = ElementView::find(bytes + kRootOffset, bytes + len);
    return root ? kRootOffset + root.size() : 0;
}

// --- writing ------------------------------------------------------------------------------------

inline void writeMessageHeader(char* at) noexcept {
    store<std::uint32_t>(at, kMagic);
    store<std::uint32_t>(at + 4, 0);
}

inline void writeKindWord(char* element, std::uint32_t word) noexcept {
    store<std::uint32_t>(element + 4, word);
}

inline void writeKind(char* element, Kind kind) noexcept {
    store<std::uint16_t>(element + 4, static_cast<std::uint16_t>(kind));
}

inline std::int32_t lengthOf(const char* element) noexcept {
    return load<std::int32_t>(element + 8);
}

inline void writeLength(char* element, int length) noexcept {
    store<std::int32_t>(element + 8, length);
}

// A container's children grow by `delta` bytes in all. What counts is the room that the size rule
// gives them; a received length may say up to four bytes less, and one that blank text left behind
// up to three bytes more, which stay.
inline void addToChildren(char* container, int delta) noexcept {
    const std::int32_t length = lengthOf(container);
    const int room = static_cast<int>(elementSize(length)) - kEmptyElementSize;
    writeLength(container, room + delta + (length > room ? length - room : 0));
}

inline void writeElementHeader(char* at, int id, std::uint32_t word, int length) noexcept {
    store<std::int32_t>(at, id);
    writeKindWord(at, word);
    writeLength(at, length);
}

// Writes every byte of an element without payload.
inline void writeEmptyElement(char* at, int id, std::uint32_t word) noexcept {
    writeElementHeader(at, id, word, 0);
    store<std::uint32_t>(at + 12, 0);
}

// Zeroes what a header and a payload do not cover in an element of `size` bytes; both are written
// afterwards.
inline void clearPadding(char* element, std::int64_t size) noexcept {
    store<std::uint32_t>(element + 12, 0);
    store<std::uint64_t>(element + size - 8, 0);
}

// Writes every byte of an element that holds a text and its zero byte.
inline void writeTextElement(char* at, int id, Kind kind, std::string_view text) noexcept {
    const auto length = static_cast<std::int64_t>(text.size()) + 1;
    clearPadding(at, elementSize(length));
    writeElementHeader(at, id, kindWord(kind), static_cast<int>(length));
    char* payload = at + payloadOffset(length, kind);
    if (!text.empty()) std::memcpy(payload, text.data(), text.size());
    payload[text.size()] = '\0';
}

// What the reader notes in the fields of an element, which nobody reads yet, until its end tag has
// come: the element around it, and where its name stands in the text.
struct OpenElement {
    std::int32_t around;
    std::uint32_t nameAt;
    std::uint16_t nameLength;
};

inline void writeOpenElement(char* element, OpenElement open) noexcept {
    store<std::uint16_t>(element + 6, open.nameLength);
    store<std::int32_t>(element + 8, open.around);
    store<std::uint32_t>(element + 12, open.nameAt);
}

inline OpenElement readOpenElement(const char* element) noexcept {
    return {load<std::int32_t>(element + 8), load<std::uint32_t>(element + 12),
            load<std::uint16_t>(element + 6)};
}

// The kind of an element that has `length` bytes of children and no value.
constexpr Kind closedKind(int length) {
    return length > 0 ? Kind::Container : Kind::Untyped;
}

// The element gets the fields of one that has `length` bytes of children, or of an empty one.
inline void writeClosedElement(char* element, int length) noexcept {
    writeKindWord(element, kindWord(closedKind(length)));
    writeLength(element, length);
    store<std::uint32_t>(element + 12, 0);
}

// Copies a payload into an element of that length.
inline void writePayload(char* element, Kind kind, const void* data, int length) noexcept {
    if (length == 0) return;
    std::memcpy(element + payloadOffset(length, kind), data,
                static_cast<std::size_t>(payloadSize(length, kind)));
}

// Writes a value over another that takes as much room.
inline void writeValue(char* element, std::uint32_t word, const void* data, int length) noexcept {
    writeKindWord(element, word);
    writeLength(element, length);
    writePayload(element, kindOf(word), data, length);
}

// Writes every byte of an element that holds a payload of `length` bytes.
inline void writeElement(char* at, int id, std::uint32_t word, const void* data,
                         int length) noexcept {
    store<std::uint32_t>(at + 12, 0);
    store<std::uint64_t>(at + elementSize(length) - 8, 0);
    writeElementHeader(at, id, word, length);
    writePayload(at, kindOf(word), data, length);
}

}  // namespace tqa
