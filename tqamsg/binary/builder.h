// Builder: makes a binary message from its start to its end.
//
//     tqa::Builder packet;
//     packet.open("packet").version(40000).id("c4001").put("target", "vem");
//     packet.open("data").open("vem").put("veid", 101).closeAll();
//     TQAMessage* request = packet.finish();   // null: packet.fault() says why
//
// The bytes are those that an iterator makes with newChild(), putValue() and seekUp(). But an
// iterator keeps the lengths of all elements around a change right at every step, which costs as
// many steps as the element is deep; here each length is set once, when its element is closed.
// Nothing is looked for: a name that is put twice is there twice.
//
// The first fault stays: nothing is done any more, and one look at the end is enough. A builder is
// used by one thread at a time. Nothing throws.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/vocabulary/name.h"
#include "tqamsg/vocabulary/word_ids.h"

#include <cstdint>
#include <ctime>
#include <string_view>

class TQABinary;
class TQABinaryInternals;
class TQAMessage;

namespace tqa {

class ElementView;
enum class Kind : std::uint16_t;

class TQA_API Builder {
  public:
    // What stands in the way of finish().
    enum class Fault {
        None,
        Unfinished,   // an element is open, or there is none yet
        UnknownWord,  // no such tag, attribute or namespace; id 0
        NothingOpen,  // a value, or an end, outside the root
        SecondRoot,   // an element behind the end of the root
        BadValue,     // a time without a text, an integer beyond 64 bits with a sign
        NoMemory,     // or more than 2 GiB
    };

    Builder() noexcept = default;
    // A builder that was moved from is a new one.
    Builder(Builder&& other) noexcept;
    Builder& operator=(Builder&& other) noexcept;
    ~Builder();

    // Begins an element inside the innermost open one; the first one is the root. `ns` is a
    // namespace id or word.
    Builder& open(Name name, int ns = 0);
    Builder& open(Name name, std::string_view ns);
    // Ends the innermost open element; ends all.
    Builder& close();
    Builder& closeAll();

    // Appends an element with a value to the innermost open one. An unsigned integer becomes an
    // Int if it fits and else a LongLong, so that whoever reads an int finds it; a bool becomes
    // an Int, 0 or 1.
    Builder& put(Name name, int value);
    Builder& put(Name name, long long value);
    Builder& put(Name name, unsigned long long value);
    Builder& put(Name name, double value);
    Builder& put(Name name, std::string_view text);
    Builder& put(Name name, long value) { return put(name, static_cast<long long>(value)); }
    Builder& put(Name name, unsigned value) {
        return put(name, static_cast<unsigned long long>(value));
    }
    Builder& put(Name name, unsigned long value) {
        return put(name, static_cast<unsigned long long>(value));
    }
    // A time in seconds since 1970.
    Builder& putTime(Name name, std::time_t time);
    // Bytes that text shows in Base64.
    Builder& putBase64(Name name, std::string_view bytes);
    // The texts "on" and "off".
    Builder& putFlag(Name name, bool on);
    // "4.0.0" for 40000.
    Builder& putVersion(Name name, int version);
    // An element in XML, which stays a text until somebody expands it.
    Builder& putRaw(std::string_view xml);
    // A copy of an element of a message, with all in it (tqa::elementOf() gives one). An empty
    // view is a BadValue.
    Builder& put(ElementView element);

    // The header fields, as the message's setters write them.
    Builder& version(int version) { return putVersion(Attr_version, version); }
    Builder& id(std::string_view id) { return put(Attr_id, id); }
    Builder& priority(int priority) { return put(Attr_priority, priority); }
    Builder& time(std::time_t time) { return putTime(Attr_time, time); }
    Builder& type(int type) { return put(Attr_type, type); }
    Builder& progress(bool on) { return putFlag(Attr_progress, on); }
    Builder& log(bool on) { return putFlag(Attr_log, on); }
    Builder& timeout(int seconds) { return put(Attr_timeout, seconds); }
    Builder& timeoutLimit(int seconds) { return put(Attr_timeout_limit, seconds); }
    Builder& uid(int uid) { return put(Attr_uid, uid); }

    // The message, whose bytes are handed over and not copied; the caller ends it with destroy().
    // Null on any fault, and nothing is lost: an unfinished message may still be finished. After
    // a success the builder is a new one.
    TQAMessage* finish();
    // The same for its bytes alone: 0 and a malloc'ed block of *len bytes, which the caller
    // frees, or -1.
    int finish(char** buf, int* len);

    // What finish() would fail for now.
    Fault fault() const noexcept;

    // Forgets all of it.
    void clear() noexcept;

  private:
    TQA_LOCAL bool begin();
    TQA_LOCAL bool hasRoot() const noexcept;
    TQA_LOCAL bool fail(Fault fault) noexcept;
    TQA_LOCAL Builder& failing(Fault fault) noexcept;
    TQA_LOCAL char* append(std::int64_t size);
    TQA_LOCAL char* appendInside(std::int64_t size);
    TQA_LOCAL char* appendNamed(Name name, std::int64_t size);
    TQA_LOCAL Builder& putText(Name name, Kind kind, std::string_view text);
    template <class T>
    TQA_LOCAL Builder& putNumber(Name name, Kind kind, T value);

    TQABinary* message_ = nullptr;
    TQABinaryInternals* record_ = nullptr;  // the message's
    std::int32_t open_ = 0;                 // the offset of the innermost open element, 0 for none
    Fault fault_ = Fault::None;
};

}  // namespace tqa
