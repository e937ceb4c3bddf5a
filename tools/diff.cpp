// `tqamsg diff`: what differs between two messages, by path.

#include "tools/colour.h"
#include "tools/element.h"
#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/path.h"
#include "tools/verbs.h"

#include <algorithm>
#include <map>
#include <set>

namespace tool {

namespace {

using tqa::ElementView;

// Two elements that stand at the same path; one of them may be missing.
struct Pair {
    ElementView a;
    ElementView b;
    int position;  // among the siblings of its name, from 1

    ElementView either() const { return a ? a : b; }
};

// Pairs the children of two elements: the n-th of a name with the n-th of that name. First those of
// `a` in their order, then those that only `b` has.
std::vector<Pair> pairChildren(ElementView a, ElementView b) {
    std::vector<Pair> pairs;
    std::map<std::pair<int, int>, std::size_t> places;
    std::map<int, int> counts;
    for (ElementView child = a.firstChild(); child; child = child.next(a.end())) {
        const int position = ++counts[child.id()];
        places[{child.id(), position}] = pairs.size();
        pairs.push_back({child, {}, position});
    }
    counts.clear();
    for (ElementView child = b.firstChild(); child; child = child.next(b.end())) {
        const int position = ++counts[child.id()];
        const auto place = places.find({child.id(), position});
        if (place != places.end()) {
            pairs[place->second].b = child;
        } else {
            pairs.push_back({{}, child, position});
        }
    }
    return pairs;
}

std::string describe(ElementView element) {
    std::string text = nameOf(element.kind());
    if (element.ns() != 0) text += " ns=" + namespaceOf(element.ns());
    std::size_t count = 0;
    for (ElementView child = element.firstChild(); child; child = child.next(element.end()))
        ++count;
    if (element.isContainer())
        return text + " of " + std::to_string(count) + (count == 1 ? " element" : " elements");
    const std::string value = shownValue(element);
    return value.empty() ? text : text + " " + value;
}

// Compares two messages without recursion.
class Comparison {
  public:
    Comparison(const std::vector<Path>& ignored, bool asText)
        : ignored_(ignored), asText_(asText) {}

    // The differences, one a line.
    std::string compare(ElementView a, ElementView b) {
        lines_.clear();
        skipped_.clear();
        for (const Path& path : ignored_) {
            for (const ElementView root : {a, b})
                for (const BinaryPath& way : path.find(root, false))
                    skipped_.insert(elementAt(root, way).begin());
        }
        around_.push_back({{{a, b, 1}}, 0});
        while (!around_.empty()) step();
        return std::move(lines_);
    }

  private:
    // The pairs at one level, and how many of them were compared.
    struct Level {
        std::vector<Pair> pairs;
        std::size_t done;
    };

    void step() {
        Level& level = around_.back();
        if (level.done == level.pairs.size()) {
            around_.pop_back();
            return;
        }
        const Pair pair = level.pairs[level.done++];
        if (skipped_.contains(pair.either().begin())) return;
        if (!pair.b) {
            addLine(Paint::Removed, "- " + path() + " " + describe(pair.a));
        } else if (!pair.a) {
            addLine(Paint::Added, "+ " + path() + " " + describe(pair.b));
        } else {
            comparePair(pair);
        }
    }

    void comparePair(const Pair& pair) {
        if (!isSame(pair.a, pair.b)) {
            addLine(Paint::Changed,
                    "~ " + path() + " " + describe(pair.a) + " -> " + describe(pair.b));
        }
        if (pair.a.isContainer() && pair.b.isContainer())
            around_.push_back({pairChildren(pair.a, pair.b), 0});
    }

    // Whether the elements themselves are the same, whatever is in them.
    bool isSame(ElementView a, ElementView b) const {
        if (asText_) return xmlValue(a) == xmlValue(b);
        if (a.kind() != b.kind() || a.ns() != b.ns()) return false;
        return a.isContainer() || a.bytes() == b.bytes();
    }

    // The path of the pair in hand; of a deep one, the last steps.
    std::string path() const {
        constexpr std::size_t kSteps = 64;
        if (around_.size() == 1) return "/";
        const std::size_t first = around_.size() > kSteps ? around_.size() - kSteps : 1;
        std::string text = first > 1 ? "..." : "";
        for (std::size_t i = first; i < around_.size(); ++i) {
            const Pair& pair = around_[i].pairs[around_[i].done - 1];
            if (!text.empty()) text += '/';
            text += nameOf(pair.either().id());
            if (pair.position > 1) text += "[" + std::to_string(pair.position) + "]";
        }
        return text;
    }

    void addLine(Paint paint, const std::string& line) { lines_ += painted(paint, line) + "\n"; }

    const std::vector<Path>& ignored_;
    const bool asText_;
    std::set<const char*> skipped_;
    std::vector<Level> around_;
    std::string lines_;
};

// The differences between the messages in hand, below a line that counts them if they are not the
// first.
bool printDifferences(const std::string& lines, long number) {
    if (lines.empty()) return false;
    if (number > 1) writeOutput("message " + std::to_string(number) + ":\n");
    writeOutput(lines);
    return true;
}

Exit diff(const Arguments& arguments) {
    if (arguments.text("A") == "-" && arguments.text("B") == "-")
        throw Failure(kUsage, "only one of A and B can be standard input");
    std::vector<Path> ignored;
    for (const std::string& text : arguments.all("--ignore")) ignored.emplace_back(text);
    Comparison comparison(ignored, arguments.has("--as-text"));
    MessageReader a(arguments.text("A"));
    MessageReader b(arguments.text("B"));
    bool differ = false;
    for (long number = 1;; ++number) {
        const bool hasA = a.next();
        const bool hasB = b.next();
        if (!hasA && !hasB) return differ ? kNo : kOk;
        const std::string lines =
            hasA && hasB ? comparison.compare(rootOf(a.message()), rootOf(b.message()))
                         : std::string(hasA ? "- / the message" : "+ / the message") + "\n";
        differ = printDifferences(lines, number) || differ;
    }
}

}  // namespace

Verb diffVerb() {
    return {
        "diff",
        "tell what differs between two messages",
        "Prints one difference a line, with the path as get takes it: \"-\" for an element that "
        "only A has, \"+\" for one that only B has, \"~\" for one whose kind, namespace or value "
        "changed. The n-th element of a name is compared with the n-th of that name; the order of "
        "different names does not matter. Streams are compared message by message. The exit status "
        "is 1 when something differs, and nothing is printed when nothing does.",
        {
            times(Times::Any, option("-i,--ignore", "PATH", Takes::Text,
                                     "leave out the elements at PATH and what is in them; may be "
                                     "given several times")),
            flag("--as-text", "compare what XML text says, which keeps no kinds and no namespaces"),
            operand("A", Takes::File, "a message, or several in a row"),
            operand("B", Takes::File, "what it is compared with"),
        },
        {
            {"tqamsg diff --ignore @time before.bin after.bin", "what changed, but for the time"},
            {"tqamsg diff --as-text request.xml request.bin", "the text and what was made of it"},
        },
        diff,
    };
}

}  // namespace tool
