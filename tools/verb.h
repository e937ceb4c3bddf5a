// What a verb is: its row in the one table from which the parser, --help, the shell completions and
// the man pages are made, and the arguments with which it runs.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

// The exit status of the tool.
enum Exit : int {
    kOk = 0,         // done; yes
    kNo = 1,         // no: not found, differs, not allowed
    kUsage = 2,      // the command line is wrong
    kMalformed = 3,  // the input is no message
    kInputOutput = 4,
    kOtherSide = 5,  // the other side answered with a fault or an error
};

// Ends the verb: main() prints the text on standard error and exits with the code.
class Failure : public std::runtime_error {
  public:
    Failure(Exit code, const std::string& what) : std::runtime_error(what), code_(code) {}
    Exit code() const { return code_; }

  private:
    Exit code_;
};

enum class Takes { Nothing, Text, Number, File, Choice };
enum class Times { Once, AtMostOnce, Any, AtLeastOnce };

// An option, or an operand when its name does not begin with "-".
struct Option {
    std::string names;  // "-r,--raw"; "FILE"
    std::string value;  // what the help calls the value of an option
    Takes takes;
    Times times;
    std::string help;
    std::vector<std::string> choices = {};

    bool isOperand() const { return names.front() != '-'; }
    // The last name, by which Arguments knows it.
    std::string key() const { return names.substr(names.rfind(',') + 1); }
    bool isMandatory() const { return times == Times::Once || times == Times::AtLeastOnce; }
    bool isMany() const { return times == Times::Any || times == Times::AtLeastOnce; }
    // The help with the choices, if it does not tell them.
    std::string fullHelp() const;
};

Option flag(const char* names, const char* help);
Option option(const char* names, const char* value, Takes takes, const char* help);
Option choice(const char* names, const char* value, std::vector<std::string> choices,
              const char* help);
Option operand(const char* name, Takes takes, const char* help);

// The given times instead of at most once (options) or once (operands).
Option times(Times times, Option option);

// What the command line gave for each option of the verb. Asking for one that is not in the verb's
// row throws std::out_of_range.
class Arguments {
  public:
    using Values = std::map<std::string, std::vector<std::string>>;
    explicit Arguments(Values values) : values_(std::move(values)) {}

    bool has(const std::string& key) const { return !all(key).empty(); }
    const std::vector<std::string>& all(const std::string& key) const { return values_.at(key); }
    // The value given, or `otherwise`.
    std::string text(const std::string& key, const std::string& otherwise = "") const;
    long number(const std::string& key, long otherwise) const;

  private:
    Values values_;
};

struct Example {
    const char* command;
    const char* what;
};

struct Verb {
    const char* name;
    const char* summary;      // completes "tqamsg NAME - ..."
    const char* description;  // paragraphs, a blank line between them
    std::vector<Option> options;
    std::vector<Example> examples;
    Exit (*run)(const Arguments& arguments);
    bool isHidden = false;
};

// The table: all verbs in the order of the help.
const std::vector<Verb>& verbs();

// The options that every verb has.
const std::vector<Option>& commonOptions();

// The words of a paragraph in lines of no more than 78 characters.
std::string wrapped(const std::string& paragraph);

// The paragraphs of a text, which empty lines part.
std::vector<std::string> paragraphsOf(const std::string& text);

// What holds for all verbs, in paragraphs.
const char* overview();

// The exit statuses as the help and the man pages tell them.
struct ExitRow {
    Exit status;
    const char* meaning;
};
const std::vector<ExitRow>& exitRows();

}  // namespace tool
