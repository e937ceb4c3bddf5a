// The record itself is the stack of the open elements: as long as an element is open its length
// field says which one is around it.

#include "tqamsg/binary/builder.h"

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/binary/text_reader.h"
#include "tqamsg/util/time_text.h"
#include "tqamsg/util/version_text.h"

#include <limits>
#include <new>
#include <utility>

namespace tqa {

namespace {

constexpr std::int32_t kNowhere = 0;  // no element lies in the header of a message
constexpr std::size_t kTimeTextSize = 25;

template <class T>
constexpr auto kMost = std::numeric_limits<T>::max();

std::int64_t textElementSize(std::string_view text) {
    return elementSize(static_cast<std::int64_t>(text.size()) + 1);
}

}  // namespace

Builder::Builder(Builder&& other) noexcept
    : message_(std::exchange(other.message_, nullptr)),
      record_(std::exchange(other.record_, nullptr)),
      open_(std::exchange(other.open_, kNowhere)),
      fault_(std::exchange(other.fault_, Fault::None)) {}

Builder& Builder::operator=(Builder&& other) noexcept {
    Builder moved(std::move(other));
    std::swap(message_, moved.message_);
    std::swap(record_, moved.record_);
    std::swap(open_, moved.open_);
    std::swap(fault_, moved.fault_);
    return *this;
}

Builder::~Builder() {
    clear();
}

void Builder::clear() noexcept {
    if (message_ != nullptr) message_->destroy();
    message_ = nullptr;
    record_ = nullptr;
    open_ = kNowhere;
    fault_ = Fault::None;
}

// --- faults -------------------------------------------------------------------------------------

bool Builder::fail(Fault fault) noexcept {
    if (fault_ == Fault::None) fault_ = fault;
    return false;
}

Builder& Builder::failing(Fault fault) noexcept {
    fail(fault);
    return *this;
}

bool Builder::hasRoot() const noexcept {
    return record_ != nullptr && record_->used > kMessageHeaderSize;
}

Builder::Fault Builder::fault() const noexcept {
    if (fault_ != Fault::None) return fault_;
    return open_ == kNowhere && hasRoot() ? Fault::None : Fault::Unfinished;
}

// --- room ---------------------------------------------------------------------------------------

// Makes the message, without a root.
bool Builder::begin() {
    if (message_ == nullptr) message_ = new (std::nothrow) TQABinary;
    record_ = message_ == nullptr ? nullptr : message_->internals;
    return (record_ != nullptr && beginMessage(*record_)) || fail(Fault::NoMemory);
}

// Room for an element, every byte of which is then written; null and a fault when there is none.
char* Builder::append(std::int64_t size) {
    if (record_->expand(size) != nullptr) return record_->append(static_cast<int>(size));
    fail(Fault::NoMemory);
    return nullptr;
}

// append() inside the innermost open element.
char* Builder::appendInside(std::int64_t size) {
    if (open_ == kNowhere) fail(Fault::NothingOpen);
    return fault_ == Fault::None ? append(size) : nullptr;
}

// The same for an element that must have a name.
char* Builder::appendNamed(Name name, std::int64_t size) {
    if (name.id() == 0) fail(Fault::UnknownWord);
    return appendInside(size);
}

// --- elements -----------------------------------------------------------------------------------

Builder& Builder::open(Name name, int ns) {
    if (fault_ != Fault::None) return *this;
    if (name.id() == 0 || ns < 0 || ns > kMost<std::uint16_t>) return failing(Fault::UnknownWord);
    if (open_ == kNowhere && hasRoot()) return failing(Fault::SecondRoot);
    if (record_ == nullptr && !begin()) return *this;
    if (char* element = append(kEmptyElementSize)) {
        writeEmptyElement(element, name.id(), kindWord(Kind::Untyped, ns));
        writeLength(element, open_);
        open_ = static_cast<std::int32_t>(element - record_->buf);
    }
    return *this;
}

Builder& Builder::open(Name name, std::string_view ns) {
    const int id = namespaceId(ns);
    return open(name, id == 0 && !ns.empty() ? -1 : id);
}

Builder& Builder::close() {
    if (fault_ != Fault::None) return *this;
    if (open_ == kNowhere) return failing(Fault::NothingOpen);
    char* element = record_->buf + open_;
    const int length = record_->used - open_ - kEmptyElementSize;
    // The root is a container from its start.
    writeKind(element, open_ == kRootOffset ? Kind::Container : closedKind(length));
    open_ = readOpenElement(element).around;
    writeLength(element, length);
    return *this;
}

Builder& Builder::closeAll() {
    while (open_ != kNowhere && fault_ == Fault::None) close();
    return *this;
}

// --- values -------------------------------------------------------------------------------------

template <class T>
Builder& Builder::putNumber(Name name, Kind kind, T value) {
    if (char* element = appendNamed(name, elementSize(sizeof value))) {
        writeElement(element, name.id(), kindWord(kind), &value, sizeof value);
    }
    return *this;
}

Builder& Builder::put(Name name, int value) {
    return putNumber(name, Kind::Int, value);
}

Builder& Builder::put(Name name, long long value) {
    return putNumber(name, Kind::LongLong, value);
}

Builder& Builder::put(Name name, unsigned long long value) {
    if (value <= kMost<int>) return put(name, static_cast<int>(value));
    if (value <= kMost<long long>) return put(name, static_cast<long long>(value));
    return failing(Fault::BadValue);
}

Builder& Builder::put(Name name, double value) {
    return putNumber(name, Kind::Double, value);
}

Builder& Builder::putText(Name name, Kind kind, std::string_view text) {
    if (char* element = appendNamed(name, textElementSize(text))) {
        writeTextElement(element, name.id(), kind, text);
    }
    return *this;
}

Builder& Builder::put(Name name, std::string_view text) {
    return putText(name, Kind::String, text);
}

Builder& Builder::putBase64(Name name, std::string_view bytes) {
    return putText(name, Kind::Base64, bytes);
}

Builder& Builder::putTime(Name name, std::time_t time) {
    char text[kTimeTextSize];
    time2str(time, text);
    if (*text != '\0') return putText(name, Kind::Time, text);
    return failing(Fault::BadValue);
}

Builder& Builder::putFlag(Name name, bool on) {
    return put(name, std::string_view(on ? "on" : "off"));
}

Builder& Builder::putVersion(Name name, int version) {
    char text[kVersionTextMax];
    return put(name, versionToText(version, text));
}

Builder& Builder::putRaw(std::string_view xml) {
    if (char* element = appendInside(textElementSize(xml))) {
        writeTextElement(element, 0, Kind::Unparsed, xml);
    }
    return *this;
}

Builder& Builder::put(ElementView element) {
    if (!element) return failing(Fault::BadValue);
    const int length = element.wholeLength();
    if (char* copy = appendInside(elementSize(length))) {
        writeElement(copy, element.id(), element.word(), element.payload(), length);
    }
    return *this;
}

// --- the end ------------------------------------------------------------------------------------

TQAMessage* Builder::finish() {
    if (fault() != Fault::None) return nullptr;
    TQAMessage* message = std::exchange(message_, nullptr);
    clear();
    return message;
}

int Builder::finish(char** buf, int* len) {
    if (fault() != Fault::None) return -1;
    *len = record_->used;
    *buf = record_->release();
    clear();
    return 0;
}

}  // namespace tqa
