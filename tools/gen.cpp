// `tqamsg gen`: random messages that are sound, for tests.

#include "tools/element.h"
#include "tools/message.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <bit>
#include <random>

namespace tool {

namespace {

using tqa::Kind;

// The same numbers on every machine: the generator is fixed by the standard, what is made of its
// numbers is done here. No expression draws two of them, because compilers choose the order.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }
    // From 0 up to, but without, `end`.
    int below(int end) { return static_cast<int>(bits() % static_cast<std::uint64_t>(end)); }
    bool oneIn(int n) { return below(n) == 0; }

  private:
    std::mt19937_64 engine_;
};

constexpr const char* kOperators[] = {"backm", "filem", "vem", "system", "alertm"};

class Generator {
  public:
    Generator(std::uint64_t seed, int size) : random_(seed), size_(size) {}

    // The next message.
    Message make() {
        Message message = newMessage();
        message_ = &binaryOf(*message);
        if (message_->create("packet") != 0) throw Failure(kInputOutput, "out of memory");
        addHeader();
        addRouting();
        if (random_.oneIn(3)) addAccessList();
        addData();
        return message;
    }

  private:
    void addHeader() {
        BinaryPath way = root();
        const int fields = random_.below(6);
        if (fields > 0) value(way, tqa::Attr_version, Kind::String, "4.0." + digits(10));
        value(way, tqa::Attr_id, Kind::String, "c" + digits(10000));
        if (fields > 1) value(way, tqa::Attr_priority, Kind::Int, digits(10));
        if (fields > 2) value(way, tqa::Attr_time, Kind::Time, digits(2000000000));
        if (fields > 3) value(way, tqa::Attr_timeout, Kind::Int, digits(3600));
        if (fields > 4) value(way, tqa::Attr_log, Kind::String, random_.oneIn(2) ? "on" : "off");
    }

    void addRouting() {
        BinaryPath way = root();
        value(way, tqa::Tag_origin, Kind::String, pickOperator());
        value(way, tqa::Tag_target, Kind::String, operator_ = pickOperator());
        if (random_.oneIn(2))
            value(way, tqa::Tag_session, Kind::String, "s" + digits(100) + ".40000.1");
        if (random_.oneIn(2)) {
            BinaryPath src = child(way, tqa::Tag_src, 0);
            value(src, tqa::Tag_target, Kind::String, pickOperator());
            value(src, tqa::Tag_director, Kind::String, "gend");
            value(src, tqa::Tag_index, Kind::Int, digits(100));
        }
        if (random_.oneIn(2)) value(way, tqa::Tag_cookie, Kind::Untyped, xmlText());
    }

    void addAccessList() {
        for (int i = random_.below(5) + 1; i > 0; --i)
            message_->auth.addVE(random_.below(1000) + 1);
        if (message_->saveChanges() != 0) throw Failure(kInputOutput, "out of memory");
    }

    // The operator's element with as many elements in it as the size says, as a tree.
    void addData() {
        BinaryPath data = child(root(), tqa::Tag_data, 0);
        const auto found = TextIDMap.find(operator_);
        BinaryPath way = child(data, found == TextIDMap.end() ? randomTag() : found->second, 0);
        const int top = way.size();
        for (int left = size_; left > 0; --left) {
            while (way.size() > top && random_.oneIn(3)) way.pop_back();
            if (way.size() < top + 12 && random_.oneIn(4)) {
                const int tag = randomTag();
                way = child(way, tag, randomNamespace());
            } else {
                randomValue(way);
            }
        }
    }

    void randomValue(const BinaryPath& way) {
        constexpr Kind kKinds[] = {Kind::Int,  Kind::LongLong, Kind::Double, Kind::Base64,
                                   Kind::Time, Kind::Untyped,  Kind::String};
        if (random_.oneIn(9)) return append(way, 0, Kind::Unparsed, 0, rawText() + '\0');
        const int tag = randomTag();
        const int ns = randomNamespace();
        if (random_.oneIn(9)) return append(way, tag, Kind::Untyped, ns, {});
        const Kind kind = kKinds[random_.below(std::size(kKinds))];
        append(way, tag, kind, ns, payloadOf(kind, textFor(kind)).value());
    }

    std::string textFor(Kind kind) {
        switch (kind) {
            case Kind::Int:
                return number<std::int32_t>();
            case Kind::LongLong:
                return number<std::int64_t>();
            case Kind::Double:
                return real();
            case Kind::Base64:
                return Base64::encode(bytes());
            case Kind::Time:
                return digits(2000000000);
            case Kind::Untyped:
                return xmlText();
            default:
                return text();
        }
    }

    std::string rawText() { return "<raw_text>" + xmlText() + "</raw_text>"; }

    static BinaryPath root() {
        BinaryPath way;
        way.push_back(tqa::Tag_packet, tqa::kRootOffset);
        return way;
    }

    BinaryPath child(BinaryPath way, int id, int ns) {
        insert(way, id, Kind::Untyped, ns, {});
        return way;
    }

    void value(const BinaryPath& way, int id, Kind kind, const std::string& text) {
        append(way, id, kind, 0, payloadOf(kind, text).value());
    }

    void append(BinaryPath way, int id, Kind kind, int ns, const std::string& payload) {
        insert(way, id, kind, ns, payload);
    }

    void insert(BinaryPath& way, int id, Kind kind, int ns, const std::string& payload) {
        if (message_->insertID(way, id, static_cast<int>(tqa::kindWord(kind, ns)), payload.data(),
                               static_cast<int>(payload.size())) != 0)
            throw Failure(kInputOutput, "out of memory");
    }

    int randomTag() { return tqa::kFirstTagId + random_.below(tqa::kTagCount); }

    int randomNamespace() {
        return random_.oneIn(4) ? tqa::kFirstNamespaceId + random_.below(tqa::kNamespaceCount) : 0;
    }

    std::string pickOperator() { return kOperators[random_.below(std::size(kOperators))]; }
    std::string digits(int end) { return std::to_string(random_.below(end)); }

    // Small numbers as often as large ones.
    template <class Integer>
    std::string number() {
        const auto all = std::bit_cast<std::int64_t>(random_.bits());
        return std::to_string(static_cast<Integer>(all >> random_.below(64)));
    }

    std::string real() {
        const std::string whole = number<std::int32_t>();
        return whole + "." + digits(1000);
    }

    std::string bytes() {
        std::string all;
        for (int i = random_.below(40); i > 0; --i) all += static_cast<char>(random_.bits() & 0xFF);
        return all;
    }

    // Printable characters, some beyond ASCII.
    std::string text() {
        std::string all;
        for (int i = random_.below(30); i > 0; --i) {
            const bool isUmlaut = random_.oneIn(20);
            all += isUmlaut ? std::string("\xC3\xA4")
                            : std::string(1, static_cast<char>(' ' + random_.below(95)));
        }
        return all;
    }

    std::string xmlText() { return TQABinary::escape(text().c_str()); }

    Random random_;
    const int size_;
    TQABinary* message_ = nullptr;
    std::string operator_;
};

Exit gen(const Arguments& arguments) {
    constexpr long kMostElements = 10000000;
    const long size = arguments.number("--size", 20);
    if (size > kMostElements) throw Failure(kUsage, "--size: no more than 10000000");
    const auto seed = static_cast<std::uint64_t>(arguments.number("--seed", 0));
    Generator generator(seed, static_cast<int>(size));
    const Form form = formNamed(arguments.text("--to", "bin")).value();
    for (long left = arguments.number("--count", 1); left > 0; --left)
        writeOutput(inForm(*generator.make(), form));
    return kOk;
}

}  // namespace

Verb genVerb() {
    return {
        "gen",
        "generate random messages",
        "Writes messages as agents send them, with random content: header attributes, routing, "
        "access lists, and below the operator's element random words, kinds, namespaces and "
        "values. All pass validate. The same seed gives the same messages on every machine.",
        {
            option("-s,--seed", "N", Takes::Number, "which messages (0)"),
            option("-n,--count", "N", Takes::Number, "how many messages (1)"),
            option("--size", "N", Takes::Number, "how many random elements each has (20)"),
            choice("--to", "FORM", {"bin", "xml", "json", "hex"}, "form of the output (bin)"),
        },
        {{"tqamsg gen --seed 7 --count 100 > stream.bin", "a hundred messages to test with"}},
        gen,
    };
}

}  // namespace tool
