// The binary message: the whole tree in one flat buffer, which is also the form in which messages
// travel between processes (tqamsg/binary/layout.h has the bytes).
//
// Programs use it through TQAMessage and the registry; the members that TQABinary adds are for the
// iterator and for code that knows it holds a binary message.
#pragma once

#include "tqamsg/binary/internals.h"
#include "tqamsg/binary/path.h"
#include "tqamsg/export.h"
#include "tqamsg/msg/message.h"

#include <cstdint>
#include <string>
#include <string_view>

class TQABinary;
class TQABinaryIterator;

namespace tqa {
enum class Kind : std::uint16_t;
class Builder;
class ElementView;

// A look at the bytes of the message's root (tqamsg/binary/layout.h): empty while the message has
// no content; valid until the message changes or ends.
TQA_API ElementView elementOf(const TQABinary& message);

}  // namespace tqa

class TQA_API TQABinary : public TQAMessage {
  public:
    TQABinary();
    ~TQABinary() override;

    // What the XML reader does with elements whose names the vocabulary does not know. Without a
    // flag they are kept as raw text. A message takes the flags over when it is constructed.
    enum PolicyFlag : std::uint32_t {
        kDropUnknown = 1,    // drop them if they have content; unknown empty tags are kept
        kRefuseUnknown = 2,  // fail
    };
    static std::uint32_t Policy;     // initially 0
    static const char* MessageType;  // "TQABinary"

    // The framing test on a byte stream: the length of the whole message at the start of the
    // `len` bytes at `buf`, or 0 while it is not all there. Bytes that do not start with the
    // magic are text, which is whole with its zero byte.
    static int isComplete(const char* buf, int len);

    // 1 when `buf` starts with the magic, else 0. Reads up to the first byte that differs.
    static int isOfTheKind(const char* buf);

    // A copy of `text` with "<", ">" and "&" replaced by "&lt;", "&gt;" and "&amp;". May throw
    // std::bad_alloc.
    static std::string escape(const char* text);

    int init(char* buf, int len) override;
    int create(const char* name) override;
    int decode(char** buf, int* len, TQAMessageIterator* from) override;
    int encode(char* buf, int len, TQAMessageIterator* at) override;

    // Prints XML text, one element a line; -1 and null as everywhere when nothing is there or
    // memory runs out. With `namespaces` elements declare their namespaces as `base` plus their
    // word, and their descendants carry the prefix.
    char* toText(TQAMessageIterator* from, bool namespaces, const std::string& base) override;

    // Parses one XML element and what is in it; what follows it is not looked at. Without `at` a
    // failure leaves in the message what was read before the fault. Kept: with `at` a failed
    // parse leaves the message on that partial content, and what it held before is set aside
    // until the message ends or starts over.
    int fromText(char* text, TQAMessageIterator* at) override;

    TQAMessage* newMessage() override;
    TQAMessageIterator* newIterator() override;

    int getVersion(int* version) override;
    int setVersion(int version) override;
    int getTime(long* time) override;
    int setTime(long time) override;
    int getProgress(int* on) override;
    int setProgress(int on) override;
    int getLog(int* on) override;
    int setLog(int on) override;
    int getType(int* type) override;
    int setType(int type) override;
    int getID(std::string* id) override;
    int setID(const std::string& id) override;
    int getPriority(int* priority) override;
    int setPriority(int priority) override;
    int getUid(int* uid) override;
    int setUid(int uid) override;
    int getTimeout(int* seconds) override;
    int setTimeout(int seconds) override;
    int getTimeoutLimit(int* seconds) override;
    int setTimeoutLimit(int seconds) override;

    const char* messageType() override;

    // `from` must be a TQABinary.
    int assignInternals(TQAMessage* from) override;
    int copyInternals() override;
    int releaseInternals() override;

    // Makes an empty message whose root has the tag id `id`, which is not looked up.
    virtual int create(int id);

    // --- editing by path ------------------------------------------------------------------------
    // All changes of a message go through these three. `path` leads to an element of this
    // message; -1 and unchanged when it is empty or does not lie inside the message, when the
    // element can't take the change, or when the buffer can't grow.

    // Appends a child to the path's last element and pushes its entry. `word` is the child's
    // second field (kind in the low 16 bits, namespace in the high ones), `data` its payload, which
    // must not lie in this message. An
    // empty or blank Untyped parent becomes a container; one that holds other text stays. With
    // an empty path the element becomes the root of a message that has none.
    int insertID(BinaryPath& path, int id, int word, const void* data, int length);

    // Gives the path's last element, which must not be a container, a new kind and payload.
    // Kept: the whole second field is replaced, so the element's namespace goes.
    int insertValue(BinaryPath& path, int kind, const void* data, int length);

    // Removes the path's last element with all below it and pops its entry.
    int deleteID(BinaryPath& path);

    // --- single elements as text ----------------------------------------------------------------

    // Prints the element at `offset` with all below it, and moves `offset` past it: appends it to
    // `out`, or inserts it at `insertAt` when it is a header attribute. `prefix` goes on its own
    // tags; `depth` changes nothing. 1000 for an element, 100 for an attribute or a raw element,
    // -1 when no element lies there or memory runs out.
    int toText(std::string& out, int& offset, int depth, int insertAt, bool namespaces,
               const std::string& prefix, const std::string& base);

    // Reads one element from `text`, moves `text` past what was read, and appends the element
    // below the path's last one: whole, or nothing of it when the text is malformed. With `skip`
    // the text is only checked and stepped over. Each call looks for the end of the whole text.
    int fromText(char*& text, BinaryPath& path, bool skip);

  private:
    friend class TQABinaryIterator;
    friend class tqa::Builder;
    friend tqa::ElementView tqa::elementOf(const TQABinary& message);

    // Whether this message's content is its own.
    bool ownsContent() const {
        return internals != nullptr && !internals->isShared() &&
               (refcount == nullptr || *refcount <= 1);
    }
    TQA_LOCAL void takeContent(TQABinaryInternals* record);
    TQA_LOCAL bool startOver();
    TQA_LOCAL void setAside(TQABinaryInternals* record);
    TQA_LOCAL void dropAside();
    TQA_LOCAL TQABinaryIterator* iteratorOnThis(TQAMessageIterator* at);
    TQA_LOCAL int appendElement(BinaryPath& parent, tqa::ElementView element);
    TQA_LOCAL bool replaceRaw(const BinaryPath& parent, int stop, int taken,
                              const TQABinaryInternals& expanded);
    template <auto read, class Value>
    TQA_LOCAL int readField(int id, Value* value);
    TQA_LOCAL int readFlag(int id, int* on);
    TQA_LOCAL bool overwriteField(int id, tqa::Kind kind, const void* data, int length);
    TQA_LOCAL int setField(int id, int value);
    TQA_LOCAL int setField(int id, std::string_view text);
    TQA_LOCAL int saveAndFind(TQAMessageIterator* from, tqa::ElementView* element);
    TQA_LOCAL int saveAccessList(TQABinaryIterator* along);

    // Frozen order.
    std::uint32_t policy;
    TQABinaryInternals* internals;

    // Contents that failed parses left behind, newest first.
    TQABinaryInternals* aside = nullptr;
};
