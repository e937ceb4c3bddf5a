#include "tests/support/edit_script.h"

#include "tqamsg/util/base64.h"
#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <vector>

#include <gtest/gtest.h>

namespace tqa_test {

namespace {

using tqa::Kind;

// --- the plain tree -----------------------------------------------------------------------------

struct Node {
    Node(int itsId, int itsNs, Kind itsKind = Kind::Untyped, std::string itsPayload = {})
        : id(itsId), ns(itsNs), kind(itsKind), payload(std::move(itsPayload)) {}

    int id;
    int ns;
    Kind kind;
    std::string payload;
    std::size_t rest = 0;  // of blank text that gave way to children
    std::vector<Node> children;

    bool isContainer() const { return kind == Kind::Container; }
    bool isAttribute() const { return id < tqa::kFirstElementId && kind != Kind::Unparsed; }
    std::string text() const { return payload.substr(0, payload.find('\0')); }

    bool canHoldChildren() const {
        return isContainer() ||
               (kind == Kind::Untyped && text().find_first_not_of(" \t\n\r") == std::string::npos);
    }

    void append(Node child) {
        if (!isContainer()) rest = payload.size() <= 3 ? payload.size() : 0;
        kind = Kind::Container;
        payload.clear();
        children.push_back(std::move(child));
    }

    Node* child(int wanted) {
        if (!isContainer()) return nullptr;
        for (Node& each : children) {
            if (each.id == wanted) return &each;
        }
        return nullptr;
    }
};

std::string encoded(const Node& node) {
    if (!node.isContainer()) return element(node.id, node.kind, node.payload, node.ns);
    std::string children;
    for (const Node& child : node.children) children += encoded(child);
    return container(node.id, children, node.ns);
}

// --- the tree as text ---------------------------------------------------------------------------

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return out;
}

std::string valueText(const Node& node) {
    const char* payload = node.payload.data();
    if (node.payload.empty()) return "";
    switch (node.kind) {
        case Kind::Int:
            return std::to_string(tqa::load<std::int32_t>(payload));
        case Kind::LongLong:
            return std::to_string(tqa::load<std::int64_t>(payload));
        case Kind::Double:
            return std::to_string(tqa::load<double>(payload));
        case Kind::String:
            return escaped(node.text());
        case Kind::Base64:
            return Base64::encode(node.payload.substr(0, node.payload.size() - 1));
        default:
            return node.text();
    }
}

std::string print(const Node& node, bool namespaces, const std::string& prefix = "") {
    if (node.kind == Kind::Unparsed) return node.text() + '\n';
    const std::string tag = prefix + std::string(tqa::tagWord(node.id));
    const std::string ns(namespaces ? tqa::namespaceWord(node.ns) : std::string_view());
    std::string out = '<' + tag;
    if (!ns.empty()) out += " xmlns:" + ns + "=\"urn:" + ns + '"';
    const bool isEmpty = node.payload.empty() && node.children.empty() && node.rest == 0;
    if (isEmpty) return out + "/>\n";
    if (!node.isContainer()) return out + '>' + valueText(node) + "</" + tag + ">\n";
    for (std::size_t i = node.children.size(); i-- > 0;) {
        const Node& child = node.children[i];
        if (!child.isAttribute()) continue;
        out += ' ' + std::string(tqa::attributeWord(child.id)) + "=\"" + valueText(child) + '"';
    }
    out += ">\n";
    for (const Node& child : node.children) {
        if (!child.isAttribute()) out += print(child, namespaces, ns.empty() ? prefix : ns + ':');
    }
    return out + "</" + tag + ">\n";
}

// --- a message and its tree ---------------------------------------------------------------------

struct Value {
    Kind kind;
    std::string payload;
    int (*put)(TQABinaryIterator&, const std::string& payload, int id);
};

// Both, with an iterator each; every operation is done to both and must give the same status.
class Pair {
  public:
    Pair() : m_(create("packet")), at_(cursor(m_)), root_(tqa::Tag_packet, 0, Kind::Container) {}
    // Shares the content.
    Pair(const Pair& other)
        : m_(copyOf(other.m_)), at_(cursor(m_)), root_(other.root_), way_(other.way_) {
        for (const std::size_t position : way_) {
            at_->firstChild();
            for (std::size_t i = 0; i < position; ++i) at_->nextSibling();
        }
    }
    Pair& operator=(const Pair&) = delete;

    std::size_t size() const { return bytes(m_).size(); }
    bool onRoot() const { return way_.empty(); }
    bool onAttribute() { return node().isAttribute(); }

    void firstChild() {
        const bool there = node().isContainer() && !node().children.empty();
        ASSERT_EQ(at_->firstChild(), there ? 0 : -1);
        if (there) way_.push_back(0);
    }

    void nextSibling() {
        const bool there = !onRoot() && way_.back() + 1 < parent().children.size();
        ASSERT_EQ(at_->nextSibling(), there ? 0 : -1);
        if (there) ++way_.back();
    }

    void nextSibling(int id) {
        std::size_t found = onRoot() ? 0 : way_.back() + 1;
        while (!onRoot() && found < parent().children.size() && parent().children[found].id != id) {
            ++found;
        }
        const bool there = !onRoot() && found < parent().children.size();
        ASSERT_EQ(at_->nextSibling(id), there ? 0 : -1);
        if (there) way_.back() = found;
    }

    void seek(int id) {
        const Node* found = node().child(id);
        ASSERT_EQ(at_->seek(id), found != nullptr ? 0 : -1);
        if (found != nullptr) {
            way_.push_back(static_cast<std::size_t>(found - node().children.data()));
        }
    }

    void seekUp() {
        if (onRoot()) return;
        ASSERT_EQ(at_->seekUp(), 0);
        way_.pop_back();
    }

    void seekRoot() {
        ASSERT_EQ(at_->seekRoot(), 0);
        way_.clear();
    }

    void newChild(int id, int ns) {
        const bool can = node().canHoldChildren();
        ASSERT_EQ(at_->newChild(id, ns), can ? 0 : -1);
        if (!can) return;
        node().append(Node(id, ns));
        way_.push_back(node().children.size() - 1);
    }

    void put(const Value& value, int id) {
        Node* target = id == 0 ? &node() : node().child(id);
        const bool can = target != nullptr ? !target->isContainer() : node().canHoldChildren();
        ASSERT_EQ(value.put(*at_, value.payload, id), can ? 0 : -1);
        if (!can) return;
        const Node written(target != nullptr ? target->id : id, 0, value.kind, value.payload);
        if (target != nullptr) {
            *target = written;
        } else {
            node().append(written);
        }
    }

    void add(const Node& subtree) {
        const Block block(message(encoded(subtree)));
        const bool can = node().canHoldChildren();
        ASSERT_EQ(at_->encodeToChild(block.data(), block.size()), can ? 0 : -1);
        if (can) node().append(subtree);
    }

    // What the other stands on is exported there and added here.
    void graft(Pair& other) {
        const Block block(bytes(other.at_));
        const Node subtree = other.node();
        const bool can = node().canHoldChildren();
        ASSERT_EQ(at_->encodeToChild(block.data(), block.size()), can ? 0 : -1);
        if (can) node().append(subtree);
    }

    void addText(const char* xml, const Node& subtree) {
        const Block block(std::string(xml) + '\0');
        const bool can = node().canHoldChildren();
        ASSERT_EQ(at_->fromTextToChild(block.data()), can ? 0 : -1);
        if (can) node().append(subtree);
    }

    void remove() {
        if (onRoot()) return;
        ASSERT_EQ(at_->deleteFromChild(), 0);
        const std::size_t position = way_.back();
        way_.pop_back();
        node().children.erase(node().children.begin() + static_cast<std::ptrdiff_t>(position));
    }

    void checkPlace() {
        ASSERT_EQ(at_->curID(), node().id);
        ASSERT_EQ(at_->validateStamp(), 0);
        ASSERT_EQ(tree(at_), tree(message(encoded(node()))));
    }

    void checkAll() {
        const std::string expected = tree(message(encoded(root_)));
        ASSERT_EQ(tree(m_), expected);
        ASSERT_EQ(text(m_), print(root_, false));
        const tqa::CText qualified(m_->toText(nullptr, true, "urn:"));
        ASSERT_EQ(std::string(qualified.get()), print(root_, true));

        // Framed out of a stream and loaded again.
        const std::string exported = bytes(m_);
        const Block stream(exported + exported);
        const int size = TQABinary::isComplete(stream.data(), stream.size());
        ASSERT_EQ(size, static_cast<int>(exported.size()));
        const Message arrived = load({stream.data() + size, exported.size()});
        ASSERT_EQ(tree(arrived), expected);
        ASSERT_EQ(text(arrived), print(root_, false));
    }

  private:
    Node& nodeAt(std::size_t depth) {
        Node* node = &root_;
        for (std::size_t i = 0; i < depth; ++i) node = &node->children[way_[i]];
        return *node;
    }
    Node& node() { return nodeAt(way_.size()); }
    Node& parent() { return nodeAt(way_.size() - 1); }

    Message m_;
    Cursor at_;
    Node root_;
    std::vector<std::size_t> way_;  // positions among the siblings, from the root down
};

}  // namespace

// --- random scripts -----------------------------------------------------------------------------

class EditScript::Script {
  public:
    Script(std::function<std::uint32_t()> chance, int maxTextLength)
        : random_(std::move(chance)),
          maxText_(maxTextLength),
          mostBytes_(100 * static_cast<std::size_t>(maxTextLength)) {
        pairs_.push_back(std::make_unique<Pair>());
    }

    void step() {
        act(*pairs_[pick(pairs_.size())]);
        if (steps_++ % 8 == 0) pairs_[pick(pairs_.size())]->checkPlace();
    }

    void finish() {
        for (const auto& pair : pairs_) pair->checkAll();
    }

  private:
    std::size_t pick(std::size_t count) { return random_() % count; }
    template <std::size_t N>
    int pick(const int (&from)[N]) {
        return from[pick(N)];
    }

    int tagId() {
        return pick({tqa::Tag_data, tqa::Tag_veid, tqa::Tag_list, tqa::Tag_cookie, tqa::Tag_ve});
    }
    int attributeId() { return pick({tqa::Attr_id, tqa::Attr_log, tqa::Attr_timeout}); }
    int nsId() { return pick({0, 0, tqa::Ns_types, tqa::Ns_system, 200, 999}); }

    std::string someText(std::string_view alphabet) {
        std::string text(pick(static_cast<std::size_t>(maxText_)), '\0');
        for (char& c : text) c = alphabet[pick(alphabet.size())];
        return text;
    }

    Value value() {
        using It = TQABinaryIterator;
        using Bytes = const std::string&;
        switch (pick(7)) {
            case 0:
                return {Kind::Int, number(static_cast<std::int32_t>(random_())),
                        [](It& at, Bytes b, int id) {
                            return at.putValue(tqa::load<std::int32_t>(b.data()), id);
                        }};
            case 1:
                return {Kind::LongLong, number(static_cast<std::int64_t>(random_()) << 20),
                        [](It& at, Bytes b, int id) {
                            return at.putValueLongLong(tqa::load<std::int64_t>(b.data()), id);
                        }};
            case 2:
                return {Kind::Double, number(static_cast<double>(random_()) / 1024),
                        [](It& at, Bytes b, int id) {
                            return at.putValueDouble(tqa::load<double>(b.data()), id);
                        }};
            case 3:
                return {Kind::Base64, someText("\1\2\xFFxyz") + '\0', [](It& at, Bytes b, int id) {
                            return at.putValueBase64(b.data(), static_cast<int>(b.size()) - 1, id);
                        }};
            case 4:
                return {Kind::Time, std::string("1970-01-02T00:00:00+0000") + '\0',
                        [](It& at, Bytes, int id) { return at.putValueTime(86400, id); }};
            case 5:
                return {Kind::Unparsed, "<x>" + someText("xyz ") + "</x>" + '\0',
                        [](It& at, Bytes b, int id) { return at.putValueXML(b.c_str(), id); }};
            default:
                return {Kind::String, someText("abc <&>\"") + '\0', [](It& at, Bytes b, int id) {
                            return at.putValue(std::string(b.c_str()), id);
                        }};
        }
    }

    Node subtree(int depth) {
        Node node{tagId(), nsId()};
        if (depth == 0 || pick(3) == 0) {
            // Untyped text, blank now and then.
            if (pick(4) != 0) node.payload = someText(pick(2) == 0 ? " \n" : "x &lt;") + '\0';
            return node;
        }
        node.kind = Kind::Container;
        for (std::size_t i = pick(4); i > 0; --i) node.children.push_back(subtree(depth - 1));
        return node;
    }

    void act(Pair& pair) {
        // Attributes get values, but no children of their own.
        const std::size_t action = pick(pair.onAttribute() ? 10 : 19);
        switch (action) {
            case 0:
            case 1:
                return pair.firstChild();
            case 2:
            case 3:
                return pair.nextSibling();
            case 4:
                return pair.nextSibling(tagId());
            case 5:
                return pair.seekUp();
            case 6:
                return pick(4) == 0 ? pair.seekRoot() : pair.seekUp();
            case 7:
                return pair.onRoot() ? pair.seek(tagId()) : pair.put(value(), 0);
            case 8:
                return pick(2) == 0 ? pair.remove() : pair.nextSibling();
            case 9:
                return copy(pair);
            case 10:
            case 11:
                return pair.newChild(tagId(), nsId());
            case 12:
            case 13:
                return pair.put(value(), tagId());
            case 14:
                return putAttribute(pair);
            case 15:
                return pair.add(subtree(3));
            case 16:
                return addText(pair);
            case 17:
                return graft(pair, *pairs_[pick(pairs_.size())]);
            default:
                return pair.seek(tagId());
        }
    }

    // A message that is added to itself doubles.
    void graft(Pair& pair, Pair& from) {
        if (pair.size() + from.size() <= mostBytes_) pair.graft(from);
    }

    // A raw attribute would print as an element.
    void putAttribute(Pair& pair) {
        Value attribute = value();
        while (attribute.kind == Kind::Unparsed) attribute = value();
        pair.put(attribute, attributeId());
    }

    void addText(Pair& pair) {
        const std::string zero(1, '\0');
        Node data(tqa::Tag_data, 0, Kind::Container);
        data.children.push_back({tqa::Attr_id, 0, Kind::Untyped, "m1" + zero});
        data.children.push_back({tqa::Tag_veid, 0, Kind::Untyped, "7" + zero});
        data.children.push_back({tqa::Tag_list, 0, Kind::Untyped, "  " + zero});
        const struct {
            const char* xml;
            Node node;
        } texts[] = {
            {"<list/>", {tqa::Tag_list, 0}},
            {"<list></list>", {tqa::Tag_list, 0, Kind::Untyped, zero}},
            {"<veid>1&lt;5</veid>", {tqa::Tag_veid, 0, Kind::Untyped, "1&lt;5" + zero}},
            {"<data id=\"m1\"><veid>7</veid>\n<list>  </list> </data>", data},
        };
        const auto& chosen = texts[pick(std::size(texts))];
        pair.addText(chosen.xml, chosen.node);
    }

    // Copies share their content until one is written; some go again.
    void copy(const Pair& pair) {
        if (pairs_.size() < 4) {
            pairs_.push_back(std::make_unique<Pair>(pair));
        } else if (pick(2) == 0) {
            pairs_.erase(pairs_.begin() + static_cast<std::ptrdiff_t>(pick(pairs_.size())));
        }
    }

    std::function<std::uint32_t()> random_;
    int maxText_;
    std::size_t mostBytes_;
    int steps_ = 0;
    std::vector<std::unique_ptr<Pair>> pairs_;
};

EditScript::EditScript(std::function<std::uint32_t()> chance, int maxTextLength)
    : script_(std::make_unique<Script>(std::move(chance), maxTextLength)) {}

EditScript::~EditScript() = default;

void EditScript::step() {
    script_->step();
}

void EditScript::finish() {
    script_->finish();
}

}  // namespace tqa_test
