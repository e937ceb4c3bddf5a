// The cursor on a binary message.
//
// It remembers the way from the root to its element as offsets. When the bytes may have moved (the
// buffer was reallocated or replaced, or an element was deleted) it checks that way before it goes
// on, and answers -1 when its element is no longer where it was. Insertions and value changes that
// fit into the buffer are not noticed: after a structural edit through one iterator, seek with the
// others again.
#pragma once

#include "tqamsg/binary/child_scan.h"
#include "tqamsg/binary/known_path.h"
#include "tqamsg/binary/path.h"
#include "tqamsg/export.h"
#include "tqamsg/msg/message_iterator.h"

#include <cstdint>
#include <string>

class TQABinary;
class TQABinaryInternals;
class TQABinaryIterator;

namespace tqa {

enum class Kind : std::uint16_t;
class ElementView;

// A look at the bytes of the element on which the iterator stands (tqamsg/binary/layout.h): its
// kind, namespace and payload without a copy. Empty when the iterator's element is lost; valid
// until the message changes or ends.
TQA_API ElementView elementOf(TQABinaryIterator& it);

}  // namespace tqa

class TQA_API TQABinaryIterator : public TQAMessageIterator {
  public:
    // Stands on the root, or nowhere while the message has no content.
    explicit TQABinaryIterator(TQABinary* walked);
    // Stands where `other` stands.
    explicit TQABinaryIterator(TQABinaryIterator* other);
    ~TQABinaryIterator() override;

    // Whether raw (Unparsed) children are expanded on navigation. An iterator takes the flags
    // over from here when it is constructed.
    enum PolicyFlag : std::uint32_t {
        kExpandRaw = 1,     // before seek() by id and firstChild()
        kRawMustParse = 2,  // a raw child that does not parse is an error
    };
    static std::uint32_t Policy;  // initially 0

    TQAMessageIterator* newIterator() override;

    int seekRoot() override;
    // Kept: always 0. Called on the root it leaves the iterator standing nowhere.
    int seekUp() override;
    // Kept: an empty component ends the walk where it stands, so "a//b" stops at a.
    int seek(const std::string& path) override;
    int newChild(const std::string& name, const std::string& ns) override;
    int firstChild(const std::string& name) override;
    int nextSibling() override;
    int nextSibling(const std::string& name) override;
    std::string curName() override;
    int firstChild() override;

    int decodeFromChild(char** buf, int* len) override;
    int encodeToChild(char* buf, int len) override;
    char* toTextFromChild() override;
    int fromTextToChild(char* text) override;
    int deleteFromChild() override;
    int decode(char** buf, int* len) override;

    using TQAMessageIterator::getValue;
    using TQAMessageIterator::toText;

    // The readers convert between kinds: numbers are read from texts too, and texts from numbers.
    // Kept: on an element without payload the number, time, XML and String readers by id stay on
    // the child when they fail; all others come back.
    int getValueBase64(std::string* value, const std::string& name) override;
    int getValue(std::string* value, const std::string& name) override;
    int getValue(int* value, const std::string& name) override;
    int getValueLongLong(long long* value, const std::string& name) override;
    int getValueDouble(double* value, const std::string& name) override;
    int getValueTime(long* value, const std::string& name) override;

    // Kept: the writers by name move up exactly once, so after a path of several words the
    // iterator stands one level above the element written.
    int putValueBase64(const std::string& value, const std::string& name) override;
    int putValue(const std::string& value, const std::string& name) override;
    int putValueLongLong(long long value, const std::string& name) override;
    int putValueDouble(double value, const std::string& name) override;
    int putValue(int value, const std::string& name) override;
    int putValueTime(long value, const std::string& name) override;

    int seek(int id) override;
    int newChild(int id, int ns) override;
    int firstChild(int id) override;
    int nextSibling(int id) override;

    // `data` must not lie in the message.
    int putValueBase64(const char* data, int len, int id) override;
    int putValue(const char* data, int len, int id) override;

    int getValueBase64(std::string* value, int id) override;
    int getValue(std::string* value, int id) override;
    int getValue(int* value, int id) override;
    // -2 instead of -1 for an empty text.
    int getValueLongLong(long long* value, int id) override;
    int getValueDouble(double* value, int id) override;
    int getValueTime(long* value, int id) override;

    int putValueBase64(const std::string& value, int id) override;
    int putValue(const std::string& value, int id) override;
    int putValueLongLong(long long value, int id) override;
    int putValueDouble(double value, int id) override;
    int putValue(int value, int id) override;
    int putValueTime(long value, int id) override;

    int invalidate() override;

    // Frozen order: operations that only binary messages have.

    // The current element's id, 0 when the iterator stands nowhere.
    virtual int curID();
    // Header attributes are children with attribute ids. The text reader fills `value` from a
    // payload of any kind and then fails for all but texts.
    virtual int getAttr(int* value, int id);
    virtual int getAttr(std::string* value, int id);
    virtual int getAttrTime(long* value, int id);
    virtual int putAttr(const std::string& value, int id);
    virtual int putAttr(int value, int id);
    virtual int putAttrTime(long value, int id);
    // Raw XML, stored as it is until parseUnknown() turns it into elements.
    virtual int getValueXML(std::string* value, int id);
    virtual int putValueXML(const std::string& value, int id);
    virtual TQABinary* getBinaryMessage();

    // Checks the way to the current element if the bytes may have moved; -1 when it is lost.
    int validateStamp();
    // Both of that and the private content that every change needs.
    int validateInternals();
    // Replaces the raw children of the current element by the elements they hold, which become
    // its last children. It stops at the first that does not parse: -1 with kRawMustParse, else
    // 0. Kept: a content shared with other messages changes for all of them.
    int parseUnknown();
    // The first element with this id that starts at or after `from`, an element's start, and
    // lies before `to`; null when there is none.
    char* findID(int id, char* from, char* to);

  private:
    friend class TQABinary;
    friend tqa::ElementView tqa::elementOf(TQABinaryIterator& it);

    // What every operation does, inline in tqamsg/binary/iterator_steps.h.
    TQA_LOCAL TQABinary& binary() const;
    TQA_LOCAL TQABinaryInternals* record() const;
    TQA_LOCAL tqa::ElementView current() const;
    TQA_LOCAL tqa::ElementView childWithId(int id);
    TQA_LOCAL tqa::ElementView reach(int id);
    TQA_LOCAL tqa::ElementView reachOn(int id);
    TQA_LOCAL bool isNoted() const;
    TQA_LOCAL bool isPathKnown() const;
    TQA_LOCAL bool canWriteQuickly();
    TQA_LOCAL bool append(int id, std::uint32_t word, const void* data, int length);
    TQA_LOCAL bool appendLast(tqa::ElementView parent, int id, std::uint32_t word, const void* data,
                              int length);
    TQA_LOCAL bool putQuickly(int id, tqa::Kind kind, const void* data, std::size_t length);

    TQA_LOCAL int recheck();
    TQA_LOCAL void noteContent();
    TQA_LOCAL void notePath();
    TQA_LOCAL void noteEdit(bool wasKnown);
    TQA_LOCAL bool pushRoot();
    TQA_LOCAL bool checkPath() const;

    TQA_LOCAL int enter(tqa::ElementView child);
    TQA_LOCAL tqa::ElementView sibling(const char** end) const;
    TQA_LOCAL int moveAcross(tqa::ElementView sibling);
    TQA_LOCAL void keepRoot();
    TQA_LOCAL void follow(int from, int distance);

    TQA_LOCAL static tqa::ElementView expandFrom(tqa::ElementView raw, const char* end,
                                                 TQABinaryInternals& expanded, int* taken);

    TQA_LOCAL int put(int id, tqa::Kind kind, const void* data, std::size_t length);
    TQA_LOCAL int putTerminated(int id, tqa::Kind kind, const char* data, int len);
    TQA_LOCAL int putByName(const std::string& name, tqa::Kind kind, const void* data,
                            std::size_t length);
    TQA_LOCAL int putTheLongWay(int id, tqa::Kind kind, const void* data, std::size_t length);
    TQA_LOCAL int putByPath(const std::string& name, tqa::Kind kind, const void* data,
                            std::size_t length);
    template <auto read, class Value>
    TQA_LOCAL int get(int id, Value* value);
    template <auto read, class Value>
    TQA_LOCAL int getTheLongWay(int id, Value* value);
    template <auto read, class Value>
    TQA_LOCAL int getByName(const std::string& name, Value* value);
    template <auto read, class Value>
    TQA_LOCAL int getByPath(const std::string& name, Value* value);

    // Frozen order.
    std::uint32_t policy;
    char* buf;           // the message's buffer when last checked
    std::int32_t stamp;  // the record's stamp when last checked
    BinaryPath path;

    tqa::KnownPath known;
    tqa::ChildScan scan;
    tqa::ChildScan raws;  // looks for raw children only
};
