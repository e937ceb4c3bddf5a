// The scripts that complete command lines, for bash, zsh and fish.

#include "tools/generate.h"
#include "tools/verb.h"

#include <sstream>
#include <vector>

namespace tool {

namespace {

std::vector<std::string> namesOf(const Option& option) {
    std::vector<std::string> names;
    std::istringstream all(option.names);
    for (std::string name; std::getline(all, name, ',');) names.push_back(name);
    return names;
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

// All options of a verb, without its operands.
std::vector<Option> optionsOf(const Verb& verb) {
    std::vector<Option> options;
    for (const std::vector<Option>* rows : {&verb.options, &commonOptions()})
        for (const Option& row : *rows)
            if (!row.isOperand()) options.push_back(row);
    options.push_back(flag("-h,--help", "print the help"));
    return options;
}

template <class Use>
void eachVerb(Use use) {
    for (const Verb& verb : verbs())
        if (!verb.isHidden) use(verb);
}

// A text in single quotes, for a shell in which a quote is written with another text.
std::string quotedFor(const std::string& text, const char* quote) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? quote : std::string(1, c);
    return out + "'";
}

// --- bash ---------------------------------------------------------------------------------------

// What stands in the place of an option's value; file names are left to bash. Without a verb the
// options are the common ones.
std::string bashValues(const std::string& verb, const std::vector<Option>& options) {
    std::string cases;
    for (const Option& option : options) {
        if (option.takes == Takes::Nothing || option.takes == Takes::File) continue;
        std::vector<std::string> patterns;
        for (const std::string& name : namesOf(option))
            patterns.push_back(std::string(verb).append(",").append(name));
        cases += "        " + joined(patterns, " | ") + ") values='" + joined(option.choices, " ") +
                 "' ;;\n";
    }
    return cases;
}

std::string bashOptions(const Verb& verb) {
    std::vector<std::string> names;
    for (const Option& option : optionsOf(verb))
        for (const std::string& name : namesOf(option)) names.push_back(name);
    return "        " + std::string(verb.name) + ") options='" + joined(names, " ") + "' ;;\n";
}

constexpr char kBashBegin[] = R"(# Completion of tqamsg for bash; made from its table of verbs.
_tqamsg() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local verb='' word before='' options='' values
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* || $before == --color ]] || { verb=$word; break; }
        before=$word
    done
    COMPREPLY=()
)";

constexpr char kBashEnd[] = R"(    # Without words of its own the shell completes file names.
    [[ -n $verb && $current != -* ]] || mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
}
complete -o default -F _tqamsg tqamsg
)";

// --- zsh ----------------------------------------------------------------------------------------

// Text inside a specification of _arguments.
std::string zshText(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

std::string zshAction(const Option& option) {
    if (!option.choices.empty()) return "(" + joined(option.choices, " ") + ")";
    return option.takes == Takes::File ? "_files" : "";
}

std::string zshOption(const Option& option) {
    std::string text;
    for (const std::string& name : namesOf(option)) {
        std::string spec =
            (option.times == Times::Any ? "*" : "") + name + "[" + zshText(option.help) + "]";
        if (option.takes != Takes::Nothing)
            spec += ":" + zshText(option.value) + ":" + zshAction(option);
        text += " \\\n                " + quotedFor(spec, "'\\''");
    }
    return text;
}

std::string zshOperand(const Option& operand) {
    const std::string spec =
        (operand.isMany() ? "*:" : ":") + zshText(operand.names) + ":" + zshAction(operand);
    return " \\\n                " + quotedFor(spec, "'\\''");
}

std::string zshVerb(const Verb& verb) {
    std::string text = "            " + std::string(verb.name) + ")\n            _arguments -s";
    for (const Option& option : optionsOf(verb)) text += zshOption(option);
    for (const Option& option : verb.options)
        if (option.isOperand()) text += zshOperand(option);
    return text + "\n            ;;\n";
}

// --- fish ---------------------------------------------------------------------------------------

std::string fishOption(const Verb& verb, const Option& option) {
    std::string text =
        "complete -c tqamsg -n '__fish_seen_subcommand_from " + std::string(verb.name) + "'";
    for (const std::string& name : namesOf(option))
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    if (option.takes == Takes::File) text += " -r -F";
    if (option.takes == Takes::Text || option.takes == Takes::Number) text += " -x";
    if (!option.choices.empty()) text += " -x -a '" + joined(option.choices, " ") + "'";
    return text + " -d " + quotedFor(option.help, "\\'") + "\n";
}

}  // namespace

std::string bashCompletion() {
    std::string text = kBashBegin;
    std::string values = bashValues("", commonOptions());
    std::string options;
    std::vector<std::string> names = {"--help", "--version"};
    eachVerb([&](const Verb& verb) {
        values += bashValues(verb.name, optionsOf(verb));
        options += bashOptions(verb);
        names.emplace_back(verb.name);
    });
    text += "    case $verb,$previous in\n" + values + "    esac\n";
    text +=
        "    if [[ -v values ]]; then\n"
        "        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$current\")\n"
        "        return\n    fi\n";
    text += "    case $verb in\n        '') options='" + joined(names, " ") + "' ;;\n" + options +
            "    esac\n";
    return text + kBashEnd;
}

std::string zshCompletion() {
    std::string verbNames;
    std::string cases;
    eachVerb([&](const Verb& verb) {
        verbNames += "        " +
                     quotedFor(std::string(verb.name) + ":" + zshText(verb.summary), "'\\''") +
                     "\n";
        cases += zshVerb(verb);
    });
    return "#compdef tqamsg\n# Completion of tqamsg for zsh; made from its table of verbs.\n"
           "_tqamsg() {\n    local context state state_descr line\n    typeset -A opt_args\n"
           "    local -a verbs=(\n" +
           verbNames +
           "    )\n"
           "    _arguments -C '--help[print the help]' '--version[print the version]' \\\n"
           "        '1:verb:->verb' '*::argument:->argument'\n"
           "    case $state in\n        verb) _describe verb verbs ;;\n"
           "        argument)\n        case $words[1] in\n" +
           cases + "        esac\n        ;;\n    esac\n}\n_tqamsg \"$@\"\n";
}

std::string fishCompletion() {
    std::string text = "# Completion of tqamsg for fish; made from its table of verbs.\n";
    text += "complete -c tqamsg -n __fish_use_subcommand -f\n";
    eachVerb([&](const Verb& verb) {
        text += "complete -c tqamsg -n __fish_use_subcommand -a " + std::string(verb.name) +
                " -d " + quotedFor(verb.summary, "\\'") + "\n";
    });
    eachVerb([&](const Verb& verb) {
        for (const Option& option : optionsOf(verb)) text += fishOption(verb, option);
    });
    return text;
}

}  // namespace tool
