// The manual pages, in the macros of man(7).

#include "tqamsg/soap/ignore_case.h"

#include "tools/generate.h"
#include "tools/verb.h"

#include <algorithm>
#include <sstream>

namespace tool {

namespace {

// Of the last change of what the pages say.
constexpr char kDate[] = "2026-11-20";

// Text for roff: hyphens and backslashes as they are, and nothing that looks like a request.
std::string escaped(const std::string& text) {
    std::string out = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
    for (const char c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
    }
    return out;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

// A paragraph for roff.
std::string filled(const std::string& paragraph) {
    std::istringstream words(paragraph);
    std::string text;
    for (std::string word; words >> word;) text += escaped(word) + " ";
    return wrapped(text);
}

std::string paragraphs(const std::string& text) {
    std::string out;
    for (const std::string& paragraph : paragraphsOf(text))
        out += (out.empty() ? "" : ".PP\n") + filled(paragraph);
    return out;
}

std::string title(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), tqa::toUpperCase);
    return ".TH " + escaped(name) + " 1 \"" + kDate +
           "\" \"tqamsg " TQAMSG_VERSION "\" \"tqamsg\"\n";
}

std::string optionNames(const Option& option) {
    std::string text;
    std::istringstream names(option.names);
    for (std::string name; std::getline(names, name, ',');)
        text += (text.empty() ? "" : ", ") + (option.isOperand() ? italic(name) : bold(name));
    return option.value.empty() ? text : text + " " + italic(option.value);
}

std::string optionList(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options)
        text += ".TP\n" + optionNames(option) + "\n" + filled(option.fullHelp());
    return text;
}

std::string synopsis(const Verb& verb) {
    std::string text =
        bold("tqamsg") + "\n" + bold(verb.name) + "\n[" + italic("OPTION") + "...]\n";
    for (const Option& option : verb.options) {
        const std::string dots = option.isMany() ? "..." : "";
        if (option.isOperand()) {
            const std::string name = italic(option.names) + dots;
            text += option.isMandatory() ? name + "\n" : "[" + name + "]\n";
        } else if (option.isMandatory()) {
            text += bold(option.key()) + "\n" + italic(option.value) + "\n";
        }
    }
    return text;
}

std::string exitStatus() {
    std::string text = ".SH EXIT STATUS\n";
    for (const ExitRow& row : exitRows())
        text += ".TP\n" + bold(std::to_string(row.status)) + "\n" + filled(row.meaning);
    return text;
}

std::string examples(const std::vector<Example>& all) {
    std::string text = all.empty() ? "" : ".SH EXAMPLES\n";
    for (const Example& example : all)
        text += ".TP\n" + bold(example.command) + "\n" + filled(example.what);
    return text;
}

std::string reference(const std::string& page) {
    return bold(page) + "(1)";
}

}  // namespace

std::string verbPage(const Verb& verb) {
    const std::string name = std::string("tqamsg-") + verb.name;
    return title(name) + ".SH NAME\n" + escaped(name) + " \\- " + escaped(verb.summary) + "\n" +
           ".SH SYNOPSIS\n" + synopsis(verb) + ".SH DESCRIPTION\n" + paragraphs(verb.description) +
           ".SH OPTIONS\n" + optionList(verb.options) + optionList(commonOptions()) + exitStatus() +
           examples(verb.examples) + ".SH SEE ALSO\n" + reference("tqamsg") + "\n";
}

std::string mainPage() {
    std::string verbList;
    std::string seeAlso;
    for (const Verb& verb : verbs()) {
        if (verb.isHidden) continue;
        const std::string page = std::string("tqamsg-") + verb.name;
        verbList += ".TP\n" + reference(page) + "\n" + filled(verb.summary);
        seeAlso += (seeAlso.empty() ? "" : ",\n") + reference(page);
    }
    return title("tqamsg") +
           ".SH NAME\ntqamsg \\- read, change, send and watch messages of the agent\n"
           ".SH SYNOPSIS\n" +
           bold("tqamsg") + "\n" + italic("VERB") + "\n[" + italic("ARGUMENT") +
           "...]\n.SH DESCRIPTION\n" + paragraphs(overview()) + ".SS Verbs\n" + verbList +
           ".SH OPTIONS\n" + optionList(commonOptions()) + ".TP\n" + bold("--version") +
           "\nprint the version\n.TP\n" + bold("-h") + ", " + bold("--help") +
           "\nprint the help, also behind a verb\n" + exitStatus() + ".SH ENVIRONMENT\n.TP\n" +
           bold("NO_COLOR") + "\nno colours, whatever standard output is, unless\n" +
           bold("--color") + "\nasks for them\n.SH SEE ALSO\n" + seeAlso + "\n";
}

}  // namespace tool
