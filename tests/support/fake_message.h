// A message kind for tests: a plain tree of named nodes behind the abstract message and iterator.
// It tests msg/ without binary/, and fails where a test wants it to.
//
//     const auto message = tqa_test::fake("(packet (origin \"vem\") (data))");
//     EXPECT_EQ(message->getOrigin(), "vem");
//     EXPECT_EQ(tqa_test::text(*message), "(packet (origin \"vem\") (data))");
//
// The text form is also the encoded form: (name:namespace "text" child child). Every value is kept
// as text; a node has text or children. Header fields are children with an "@" before their names.
#pragma once

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tqa_test {

struct FakeNode {
    std::string name;
    std::string ns;
    std::string text;
    FakeNode* parent = nullptr;
    std::vector<FakeNode*> children;

    FakeNode* child(std::string_view wanted) const {
        for (FakeNode* each : children) {
            if (each->name == wanted) return each;
        }
        return nullptr;
    }

    std::size_t position() const {
        std::size_t i = 0;
        while (parent->children[i] != this) ++i;
        return i;
    }
};

// The content that messages share. Deleted nodes stay in memory until it ends.
class FakeTree {
  public:
    FakeNode* root() { return nodes_.empty() ? nullptr : &nodes_.front(); }

    FakeNode* add(FakeNode* parent, std::string name, std::string ns = "") {
        FakeNode& node = nodes_.emplace_back();
        node.name = std::move(name);
        node.ns = std::move(ns);
        node.parent = parent;
        if (parent != nullptr) parent->children.push_back(&node);
        return &node;
    }

    // Adds what the text holds below `parent`. False for text that is not whole.
    bool parse(std::string_view text, FakeNode* parent) {
        FakeNode* at = parent;
        for (std::size_t i = 0; i < text.size();) {
            const char c = text[i++];
            if (c == '(') {
                at = addNamed(at, text.substr(i, text.find_first_of(" ()", i) - i));
                i = text.find_first_of(" ()", i);
            } else if (c == '"') {
                for (; i < text.size() && text[i] != '"'; ++i) {
                    if (text[i] == '\\') ++i;
                    at->text += text[i];
                }
                ++i;
            } else if (c == ')') {
                at = at->parent;
                if (at == parent) return true;
            } else if (c != ' ') {
                return false;
            }
        }
        return false;
    }

    static std::string print(const FakeNode* top) {
        std::string out;
        const FakeNode* node = top;
        std::vector<std::size_t> next;  // of each open node, the child that comes next
        for (;;) {
            out += '(' + node->name + (node->ns.empty() ? "" : ":" + node->ns);
            if (!node->text.empty()) out += ' ' + quoted(node->text);
            next.push_back(0);
            while (next.back() == node->children.size()) {
                out += ')';
                next.pop_back();
                if (next.empty()) return out;
                node = node->parent;
            }
            node = node->children[next.back()++];
            out += ' ';
        }
    }

    // The bytes of the first element in the text, 0 while it is not whole.
    static std::size_t wholeSize(std::string_view text) {
        int depth = 0;
        bool quotes = false;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (quotes && c == '\\') {
                ++i;
            } else if (c == '"') {
                quotes = !quotes;
            } else if (!quotes && c == '(') {
                ++depth;
            } else if (!quotes && (c != ')' || --depth == 0)) {
                if (depth == 0) return c == ')' ? i + 1 : 0;
            }
        }
        return 0;
    }

  private:
    FakeNode* addNamed(FakeNode* parent, std::string_view tag) {
        const std::size_t colon = tag.find(':');
        const bool hasNs = colon != std::string_view::npos;
        return add(parent, std::string(tag.substr(0, colon)),
                   std::string(hasNs ? tag.substr(colon + 1) : std::string_view()));
    }

    static std::string quoted(const std::string& text) {
        std::string out = "\"";
        for (const char c : text) {
            if (c == '"' || c == '\\') out += '\\';
            out += c;
        }
        return out + '"';
    }

    std::deque<FakeNode> nodes_;
};

class FakeMessage;

// Gives -1 for every operation by id but those on id 0: the fake knows names only.
class FakeIterator : public TQAMessageIterator {
  public:
    explicit FakeIterator(FakeMessage* walked);

    // The way from the root, with the place among the siblings: "/packet/ve_list[0]/veid[2]".
    std::string where() {
        std::string path;
        for (const FakeNode* at = node(); at != nullptr; at = at->parent) {
            std::string step = '/' + at->name;
            if (at->parent != nullptr) step += '[' + std::to_string(at->position()) + ']';
            path.insert(0, step);
        }
        return path;
    }
    int invalidations() const { return invalidations_; }

    TQAMessageIterator* newIterator() override;

    using TQAMessageIterator::seek;
    int seekUp() override {
        if (FakeNode* at = node()) node_ = at->parent;
        return 0;
    }
    int seek(const std::string& path) override {
        FakeNode* at = node();
        std::string_view rest = path;
        if (!rest.empty() && rest.front() == '/') {
            at = tree_->root();
            rest.remove_prefix(1);
        }
        while (at != nullptr && !rest.empty()) {
            const std::string_view word = rest.substr(0, rest.find('/'));
            at = at->child(word);
            rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        }
        return moveTo(at);
    }

    using TQAMessageIterator::newChild;
    int newChild(const std::string& name, const std::string& ns) override {
        if (!mayWrite() || !node()->text.empty()) return -1;
        node_ = tree_->add(node_, name, ns);
        return 0;
    }

    using TQAMessageIterator::firstChild;
    int firstChild(const std::string& name) override {
        const FakeNode* at = node();
        return moveTo(at == nullptr ? nullptr : at->child(name));
    }
    int firstChild() override {
        const FakeNode* at = node();
        return moveTo(at == nullptr || at->children.empty() ? nullptr : at->children.front());
    }

    using TQAMessageIterator::nextSibling;
    int nextSibling() override { return moveTo(siblingAfter(node())); }
    int nextSibling(const std::string& name) override {
        FakeNode* next = siblingAfter(node());
        while (next != nullptr && next->name != name) next = siblingAfter(next);
        return moveTo(next);
    }

    std::string curName() override { return node() == nullptr ? "" : node()->name; }

    int decodeFromChild(char** buf, int* len) override { return message->decode(buf, len, this); }
    int encodeToChild(char* buf, int len) override { return message->encode(buf, len, this); }
    char* toTextFromChild() override { return message->toText(this, false, ""); }
    int fromTextToChild(char* text) override { return message->fromText(text, this); }
    int deleteFromChild() override {
        if (!mayWrite() || node_->parent == nullptr) return -1;
        FakeNode* parent = node_->parent;
        parent->children.erase(parent->children.begin() +
                               static_cast<std::ptrdiff_t>(node_->position()));
        node_ = parent;
        return 0;
    }

    using TQAMessageIterator::getValue;
    using TQAMessageIterator::getValueBase64;
    using TQAMessageIterator::getValueDouble;
    using TQAMessageIterator::getValueLongLong;
    using TQAMessageIterator::getValueTime;
    int getValueBase64(std::string* value, const std::string& name) override {
        return getValue(value, name);
    }
    int getValue(std::string* value, const std::string& name) override {
        FakeNode* start = node();
        if (seek(name) != 0) return -1;
        const FakeNode* at = node_;
        node_ = start;
        if (!at->children.empty()) return -1;
        *value = at->text;
        return 0;
    }
    int getValue(int* value, const std::string& name) override { return getNumber(value, name); }
    int getValueLongLong(long long* value, const std::string& name) override {
        return getNumber(value, name);
    }
    int getValueDouble(double* value, const std::string& name) override {
        return getNumber(value, name);
    }
    int getValueTime(long* value, const std::string& name) override {
        return getNumber(value, name);
    }

    using TQAMessageIterator::putValue;
    using TQAMessageIterator::putValueBase64;
    using TQAMessageIterator::putValueDouble;
    using TQAMessageIterator::putValueLongLong;
    using TQAMessageIterator::putValueTime;
    int putValueBase64(const std::string& value, const std::string& name) override {
        return putValue(value, name);
    }
    int putValue(const std::string& value, const std::string& name) override {
        FakeNode* start = node();
        const bool found = seek(name) == 0;
        if (found ? !mayWrite() || !node()->children.empty() : newChild(name, "") != 0) {
            node_ = start;
            return -1;
        }
        node_->text = value;
        if (!name.empty()) seekUp();
        return 0;
    }
    int putValueLongLong(long long value, const std::string& name) override {
        return putValue(std::to_string(value), name);
    }
    int putValueDouble(double value, const std::string& name) override {
        return putValue(std::to_string(value), name);
    }
    int putValue(int value, const std::string& name) override {
        return putValue(std::to_string(value), name);
    }
    int putValueTime(long value, const std::string& name) override {
        return putValue(std::to_string(value), name);
    }

    int invalidate() override {
        ++invalidations_;
        return 0;
    }

    // The node it stands on, in the message's present content; null when it stands nowhere.
    FakeNode* node();

  private:
    bool mayWrite();

    int moveTo(FakeNode* to) {
        if (to == nullptr) return -1;
        node_ = to;
        return 0;
    }
    static FakeNode* siblingAfter(const FakeNode* of) {
        if (of == nullptr || of->parent == nullptr) return nullptr;
        const std::size_t next = of->position() + 1;
        return next == of->parent->children.size() ? nullptr : of->parent->children[next];
    }
    template <class Number>
    int getNumber(Number* value, const std::string& name) {
        std::string text;
        if (getValue(&text, name) != 0 || text.empty()) return -1;
        *value = static_cast<Number>(std::strtod(text.c_str(), nullptr));
        return 0;
    }

    std::shared_ptr<FakeTree> tree_;
    FakeNode* node_ = nullptr;
    int invalidations_ = 0;
};

class FakeMessage : public TQAMessage {
  public:
    FakeMessage() { ++alive; }
    ~FakeMessage() override { --alive; }

    inline static const char* MessageType = "FakeMessage";
    inline static int alive = 0;
    inline static int releases = 0;  // calls of releaseInternals()

    // What fails from now on.
    bool failCopyInternals = false;
    bool failAssignInternals = false;
    bool failNewMessage = false;
    bool failNewIterator = false;
    int writesLeft = writesOfNew;  // changes until they fail; -1 for never

    // The same for messages that the code under test makes.
    inline static int writesOfNew = -1;
    inline static bool failCreate = false;

    // The value of the shared counter.
    int counter() const { return *refcount; }
    // As though memory had run out when the message was made. The counter is plain memory.
    void loseCounter() { ::operator delete(std::exchange(refcount, nullptr)); }

    std::shared_ptr<FakeTree> tree;

    static int isComplete(const char* buf, int len) {
        return static_cast<int>(FakeTree::wholeSize({buf, static_cast<std::size_t>(len)}));
    }
    static int isOfTheKind(const char* buf) { return *buf == '(' ? 1 : 0; }

    int init(char* buf, int len) override { return encode(buf, len, nullptr); }
    int create(const char* name) override {
        if (failCreate) return -1;
        auth.reset();
        tree = std::make_shared<FakeTree>();
        tree->add(nullptr, name);
        return 0;
    }
    int decode(char** buf, int* len, TQAMessageIterator* from) override {
        if (saveChanges() != 0 || tree == nullptr) return -1;
        const FakeNode* top =
            from == nullptr ? tree->root() : static_cast<FakeIterator*>(from)->node();
        const std::string text = FakeTree::print(top);
        *buf = strdup(text.c_str());
        *len = static_cast<int>(text.size());
        return 0;
    }
    int encode(char* buf, int len, TQAMessageIterator* at) override {
        const int size = isComplete(buf, len);
        if (size == 0) return -1;
        if (at == nullptr) tree = std::make_shared<FakeTree>();
        FakeNode* parent = at == nullptr ? nullptr : static_cast<FakeIterator*>(at)->node();
        return tree->parse({buf, static_cast<std::size_t>(size)}, parent) ? 0 : -1;
    }
    TQAMessage* newMessage() override { return failNewMessage ? nullptr : new FakeMessage; }
    TQAMessageIterator* newIterator() override {
        return failNewIterator ? nullptr : new FakeIterator(this);
    }

    int getVersion(int* version) override { return getField(version, "@version"); }
    int setVersion(int version) override { return setField(version, "@version"); }
    int getTime(long* time) override { return FakeIterator(this).getValueTime(time, "@time"); }
    int setTime(long time) override { return FakeIterator(this).putValueTime(time, "@time"); }
    int getProgress(int* on) override { return getField(on, "@progress"); }
    int setProgress(int on) override { return setField(on, "@progress"); }
    int getLog(int* on) override { return getField(on, "@log"); }
    int setLog(int on) override { return setField(on, "@log"); }
    int getType(int* type) override { return getField(type, "@type"); }
    int setType(int type) override { return setField(type, "@type"); }
    int getID(std::string* id) override { return getField(id, "@id"); }
    int setID(const std::string& id) override { return setField(id, "@id"); }
    int getPriority(int* priority) override { return getField(priority, "@priority"); }
    int setPriority(int priority) override { return setField(priority, "@priority"); }
    int getUid(int* uid) override { return getField(uid, "@uid"); }
    int setUid(int uid) override { return setField(uid, "@uid"); }
    int getTimeout(int* seconds) override { return getField(seconds, "@timeout"); }
    int setTimeout(int seconds) override { return setField(seconds, "@timeout"); }
    int getTimeoutLimit(int* seconds) override { return getField(seconds, "@timeout_limit"); }
    int setTimeoutLimit(int seconds) override { return setField(seconds, "@timeout_limit"); }

    const char* messageType() override { return MessageType; }

    int assignInternals(TQAMessage* from) override {
        if (failAssignInternals) return -1;
        tree = static_cast<FakeMessage*>(from)->tree;
        return 0;
    }
    int copyInternals() override {
        if (failCopyInternals || tree == nullptr) return -1;
        const std::string text = FakeTree::print(tree->root());
        tree = std::make_shared<FakeTree>();
        return tree->parse(text, nullptr) ? 0 : -1;
    }
    int releaseInternals() override {
        ++releases;
        tree.reset();
        return 0;
    }

  private:
    template <class Value>
    int getField(Value* value, const char* name) {
        return FakeIterator(this).getValue(value, name);
    }
    template <class Value>
    int setField(const Value& value, const char* name) {
        return FakeIterator(this).putValue(value, name);
    }
};

inline FakeIterator::FakeIterator(FakeMessage* walked)
    : TQAMessageIterator(walked), tree_(walked->tree) {
    node_ = tree_ == nullptr ? nullptr : tree_->root();
}

inline TQAMessageIterator* FakeIterator::newIterator() {
    auto* other = new FakeIterator(static_cast<FakeMessage*>(message));
    other->node_ = node();
    return other;
}

inline FakeNode* FakeIterator::node() {
    const std::shared_ptr<FakeTree>& now = static_cast<FakeMessage*>(message)->tree;
    if (now == tree_) return node_;
    // The message has a private copy since: the same way in the new tree.
    std::vector<std::size_t> way;
    for (const FakeNode* at = node_; at != nullptr && at->parent != nullptr; at = at->parent) {
        way.push_back(at->position());
    }
    node_ = now == nullptr ? nullptr : now->root();
    for (; node_ != nullptr && !way.empty(); way.pop_back()) node_ = node_->children[way.back()];
    tree_ = now;
    return node_;
}

inline bool FakeIterator::mayWrite() {
    int& left = static_cast<FakeMessage*>(message)->writesLeft;
    if (left == 0 || validateInternals() != 0 || node() == nullptr) return false;
    if (left > 0) --left;
    return true;
}

struct Destroy {
    void operator()(TQAMessage* message) const { message->destroy(); }
};
using FakePtr = std::unique_ptr<FakeMessage, Destroy>;

inline FakePtr fake(const std::string& text) {
    FakePtr message(new FakeMessage);
    std::string copy = text;
    if (message->init(copy.data(), static_cast<int>(copy.size())) != 0) std::abort();
    return message;
}

inline FakePtr copyOf(FakeMessage& message) {
    return FakePtr(static_cast<FakeMessage*>(message.copy(false)));
}

inline std::string text(FakeMessage& message) {
    return message.tree == nullptr ? "" : FakeTree::print(message.tree->root());
}

// While it lives the fake is registered, and the default kind; when it ends new messages fail
// nothing any more.
class FakeKind {
  public:
    FakeKind() : before_(TQAMessage::Factory) {}
    FakeKind(const FakeKind&) = delete;
    FakeKind& operator=(const FakeKind&) = delete;
    ~FakeKind() {
        MsgVocabulary->erase(FakeMessage::MessageType);
        TQAMessage::Factory = before_;
        FakeMessage::writesOfNew = -1;
        FakeMessage::failCreate = false;
    }

  private:
    TQAMsgFactory* before_;  // set before the factory makes itself the default
    TQAMessageFactory<FakeMessage> factory_;
};

}  // namespace tqa_test
