#include "bench/script.h"

#include "tqamsg/vocabulary/vocabulary.h"

#include "bench/measure.h"

#include <string_view>
#include <utility>

namespace bench {

const std::string& wordOf(int id) {
    const HashMap<int, std::string>& words = id < tqa::kFirstTagId ? IDAttrMap : IDTextMap;
    return words.find(id)->second;
}

bool Step::isAttribute() const {
    return id >= tqa::kFirstAttributeId && id < tqa::kFirstAttributeId + tqa::kAttributeCount;
}

namespace {

void appendEscaped(std::string_view text, std::string& out) {
    for (const char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            default:
                out += c;
        }
    }
}

void appendValue(const Step& step, std::string& out) {
    if (step.kind == Step::kText)
        appendEscaped(step.text, out);
    else
        out += std::to_string(step.number);
}

// Prints steps one element a line. The library prints the attribute that was put last first.
class XmlWriter {
  public:
    std::string write(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            if (step.isAttribute())
                attribute(step);
            else
                element(step);
        }
        return std::move(out_);
    }

  private:
    void attribute(const Step& step) {
        std::string text = " " + wordOf(step.id) + "=\"";
        appendValue(step, text);
        out_.insert(startTagEnd_, text + "\"");
    }

    void element(const Step& step) {
        if (step.kind == Step::kClose) {
            out_ += "</" + wordOf(open_.back()) + ">\n";
            open_.pop_back();
            return;
        }
        out_ += "<" + wordOf(step.id);
        startTagEnd_ = out_.size();
        out_ += ">";
        if (step.opens()) {
            open_.push_back(step.id);
        } else {
            appendValue(step, out_);
            out_ += "</" + wordOf(step.id) + ">";
        }
        out_ += "\n";
    }

    std::string out_;
    std::vector<int> open_;
    std::size_t startTagEnd_ = 0;
};

}  // namespace

Script& Script::start(Step::Kind kind, int id) {
    count();
    open_.push_back(work_.steps.size());
    work_.steps.push_back({kind, id});
    return *this;
}

Script& Script::leaf(const Step& step) {
    count();
    work_.steps.push_back(step);
    return *this;
}

Script& Script::close() {
    open_.pop_back();
    work_.steps.push_back({Step::kClose});
    return *this;
}

Workload Script::finish() {
    while (!open_.empty()) close();
    for (const Step& step : work_.steps) note(step);
    work_.xml = XmlWriter().write(work_.steps);
    return std::move(work_);
}

void Script::count() {
    if (!open_.empty()) ++work_.steps[open_.back()].size;
}

void Script::note(const Step& step) {
    if (step.kind == Step::kClose) return;
    if (!step.isAttribute()) ++work_.elements;
    work_.sum += step.number + static_cast<long long>(step.text.size());
    const auto id = static_cast<std::size_t>(step.id);
    if (work_.kindOf.size() <= id) work_.kindOf.resize(id + 1, Step::kClose);
    Step::Kind& known = work_.kindOf[id];
    require(known == Step::kClose || known == step.kind, "a name stands for two kinds");
    known = step.kind;
}

}  // namespace bench
