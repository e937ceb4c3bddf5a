#include "tools/path.h"

#include "tools/element.h"
#include "tools/verb.h"

#include <algorithm>
#include <charconv>

namespace tool {

using tqa::ElementView;

namespace {

// Takes "[n]" off the end of a step; 0 when there is none.
int takePosition(std::string& name, const std::string& path) {
    if (!name.ends_with(']')) return 0;
    const std::size_t open = name.find('[');
    int position = 0;
    if (open != std::string::npos) {
        const char* const end = name.data() + name.size() - 1;
        const auto [stop, error] = std::from_chars(name.data() + open + 1, end, position);
        if (error != std::errc() || stop != end) position = 0;
    }
    if (position < 1) throw Failure(kUsage, path + ": '" + name + "': positions count from 1");
    name.erase(open);
    return position;
}

Path::Step stepIn(const std::string& text, const std::string& path) {
    std::string name = text;
    const int position = takePosition(name, path);
    if (name == "*") return {text, true, 0, position};
    const auto id = idNamed(name);
    if (!id) throw Failure(kUsage, path + ": '" + name + "' is no word of the vocabulary");
    return {text, false, *id, position};
}

bool matches(const Path::Step& step, ElementView element) {
    return step.isAny || element.id() == step.id;
}

// Calls `use` with each child that the step takes, until it returns false.
template <class Use>
void eachChild(ElementView parent, const Path::Step& step, Use use) {
    int count = 0;
    for (ElementView child = parent.firstChild(); child; child = child.next(parent.end())) {
        if (!matches(step, child)) continue;
        ++count;
        if (step.position != 0 && count != step.position) continue;
        if (!use(child) || step.position != 0) return;
    }
}

BinaryPath below(const BinaryPath& way, ElementView root, ElementView child) {
    BinaryPath longer = way;
    longer.push_back(child.id(), static_cast<int>(child.begin() - root.begin()) + tqa::kRootOffset);
    return longer;
}

}  // namespace

Path::Path(const std::string& text) : text_(text) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find('/', start), text.size());
        if (end > start) steps_.push_back(stepIn(text.substr(start, end - start), text));
        start = end + 1;
    }
    if (text.empty()) throw Failure(kUsage, "an empty path; the root is /");
}

std::vector<BinaryPath> Path::find(ElementView root, bool first) const {
    // The elements that the steps so far lead to.
    std::vector<BinaryPath> ways = {wayToRoot(root)};
    for (const Step& step : steps_) {
        std::vector<BinaryPath> next;
        for (const BinaryPath& way : ways) {
            eachChild(elementAt(root, way), step, [&](ElementView child) {
                next.push_back(below(way, root, child));
                return true;
            });
        }
        ways = std::move(next);
    }
    if (first && ways.size() > 1) ways.resize(1);
    return ways;
}

std::size_t Path::reach(ElementView root, BinaryPath* way) const {
    *way = wayToRoot(root);
    std::size_t steps = 0;
    while (steps < steps_.size()) {
        const std::size_t before = steps;
        eachChild(elementAt(root, *way), steps_[steps], [&](ElementView child) {
            *way = below(*way, root, child);
            ++steps;
            return false;
        });
        if (steps == before) break;
    }
    return steps;
}

BinaryPath wayToRoot(ElementView root) {
    BinaryPath way;
    way.push_back(root.id(), tqa::kRootOffset);
    return way;
}

ElementView elementAt(ElementView root, const BinaryPath& way) {
    return ElementView::find(root.begin() + way.back().offset - tqa::kRootOffset, root.end());
}

Assignment assignmentIn(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return {text, "", false};
    return {text.substr(0, equals), text.substr(equals + 1), true};
}

}  // namespace tool
