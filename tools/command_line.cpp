#include "tools/command_line.h"

#include "tools/colour.h"
#include "tools/output.h"

#include <list>
#include <sstream>

#include <CLI/CLI.hpp>

namespace tool {

namespace {

// Where the parser leaves the values of one option.
struct Slot {
    std::string key;
    std::vector<std::string> values;
};
using Slots = std::list<Slot>;

void addOption(CLI::App& app, const Option& row, Slots& slots) {
    Slot& slot = slots.emplace_back(Slot{row.key(), {}});
    if (row.takes == Takes::Nothing) {
        app.add_flag_callback(
            row.names, [&slot] { slot.values = {"yes"}; }, row.help);
        return;
    }
    CLI::Option* option = app.add_option(row.names, slot.values, row.fullHelp());
    option->type_name(row.value)->required(row.isMandatory());
    if (!row.choices.empty()) option->check(CLI::IsMember(row.choices).description(""));
    // An option takes one value each time it stands there, so that an operand may follow.
    const bool isList = row.isMany() && row.isOperand();
    if (isList) return;
    option->expected(1)->allow_extra_args(false);
    option->multi_option_policy(row.isMany() ? CLI::MultiOptionPolicy::TakeAll
                                             : CLI::MultiOptionPolicy::Throw);
}

Slots addOptions(CLI::App& app, const std::vector<Option>& rows) {
    Slots slots;
    for (const Option& row : rows) addOption(app, row, slots);
    return slots;
}

std::string exitFooter() {
    std::string text = "Exit status:\n";
    for (const ExitRow& row : exitRows()) {
        text += "  " + std::to_string(row.status) + "  " + row.meaning + "\n";
    }
    return text + "FILE may be - for standard input.";
}

std::string footerOf(const Verb& verb) {
    std::string text;
    for (const std::string& paragraph : paragraphsOf(verb.description))
        text += (text.empty() ? "" : "\n") + wrapped(paragraph);
    for (const Option& option : commonOptions())
        text += "\nFor every verb: " + option.names + " " + option.value + "\n";
    if (!verb.examples.empty()) text += "\nExamples:\n";
    for (const Example& example : verb.examples)
        text += std::string("  ") + example.command + "\n      " + example.what + "\n";
    return text;
}

Arguments argumentsOf(Slots& own, Slots& common) {
    Arguments::Values values;
    for (Slots* slots : {&own, &common}) {
        for (Slot& slot : *slots) values[slot.key] = std::move(slot.values);
    }
    return Arguments(std::move(values));
}

// The verbs on the parser, with the slots of each.
class Parser {
  public:
    Parser() : app_("Reads, shows, changes, sends and watches messages of the agent.", "tqamsg") {
        app_.footer(exitFooter());
        app_.require_subcommand(1);
        app_.set_version_flag("--version", std::string("tqamsg ") + TQAMSG_VERSION);
        common_ = addOptions(app_, commonOptions());
        for (const Verb& verb : verbs()) addVerb(verb);
    }

    Exit run(int argc, char** argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return leave(error);
        }
        const std::size_t chosen = chosenVerb();
        const Arguments arguments = argumentsOf(slots_[chosen], common_);
        chooseColour(arguments.text("--color", "auto"));
        return verbs()[chosen].run(arguments);
    }

  private:
    void addVerb(const Verb& verb) {
        CLI::App* app = app_.add_subcommand(verb.name, verb.summary);
        app->fallthrough();  // common options may follow the verb
        app->footer(footerOf(verb));
        if (verb.isHidden) app->group("");
        slots_.push_back(addOptions(*app, verb.options));
    }

    std::size_t chosenVerb() const {
        const std::string name = app_.get_subcommands().front()->get_name();
        std::size_t index = 0;
        while (verbs()[index].name != name) ++index;
        return index;
    }

    // Prints the help that was asked for, or what is wrong.
    Exit leave(const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream complaint;
        const int status = app_.exit(error, out, complaint);
        writeOutput(out.str());
        if (status == 0) return kOk;
        throw Failure(kUsage,
                      complaint.str().substr(0, complaint.str().find_last_not_of('\n') + 1));
    }

    CLI::App app_;
    Slots common_;
    std::vector<Slots> slots_;
};

}  // namespace

Exit runCommandLine(int argc, char** argv) {
    return Parser().run(argc, argv);
}

}  // namespace tool
