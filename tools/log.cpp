// `tqamsg log`: reads the agent's daily log files.

#include "tools/colour.h"
#include "tools/element.h"
#include "tools/input.h"
#include "tools/json_form.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace tool {

namespace {

// The names of the levels by number, as the logger writes them; any other is "unknown".
const std::vector<std::string> kLevels = {"undefined", "error",  "warning", "info",
                                          "debug",     "packet", "packets"};

// A line of the log with the lines that belong to it: messages may hold line breaks.
struct Record {
    std::string time;  // 2006.03.07 14:05:09.042
    std::string level;
    int pid = 0;
    int tid = 0;
    std::string message;
    std::string text;  // all of it, as in the file

    // Its number, and one above all others for an unknown one.
    std::size_t rank() const {
        const auto found = std::find(kLevels.begin(), kLevels.end(), level);
        return static_cast<std::size_t>(found - kLevels.begin());
    }
};

// Whether the text has the form of the log's times, as far as it goes.
bool beginsLikeTime(std::string_view text) {
    constexpr std::string_view kForm = "dddd.dd.dd dd:dd:dd.ddd";
    return text.size() <= kForm.size() &&
           std::equal(text.begin(), text.end(), kForm.begin(), [](char c, char form) {
               return form == 'd' ? c >= '0' && c <= '9' : c == form;
           });
}

// Each takes something off the front of a line; false when it is not there.

bool take(std::string_view& line, std::string_view text) {
    if (!line.starts_with(text)) return false;
    line.remove_prefix(text.size());
    return true;
}

bool takeNumber(std::string_view& line, int* number) {
    const auto [end, error] = std::from_chars(line.begin(), line.end(), *number);
    if (error != std::errc()) return false;
    line.remove_prefix(static_cast<std::size_t>(end - line.begin()));
    return true;
}

// What stands before `end`, which goes too.
bool takeUntil(std::string_view& line, std::string_view end, std::string* text) {
    const std::size_t at = line.find(end);
    if (at == std::string_view::npos) return false;
    *text = line.substr(0, at);
    line.remove_prefix(at + end.size());
    return true;
}

// Reads "T=...; L=(level) ; PID=...; TID=...; message".
std::optional<Record> recordIn(const std::string& line) {
    Record record;
    std::string_view rest = line;
    const bool isRecord = take(rest, "T=") && takeUntil(rest, "; L=(", &record.time) &&
                          record.time.size() == 23 && beginsLikeTime(record.time) &&
                          takeUntil(rest, ") ; PID=", &record.level) &&
                          takeNumber(rest, &record.pid) && take(rest, "; TID=") &&
                          takeNumber(rest, &record.tid) && take(rest, "; ");
    if (!isRecord) return std::nullopt;
    record.message = rest;
    record.text = line;
    return record;
}

// The lines of a file, without what ends them. A line that was cut has a zero byte behind it.
class Lines {
  public:
    explicit Lines(const std::string& file) : input_(file) {}

    bool next(std::string* line) {
        std::size_t searched = 0;
        std::size_t end = std::string::npos;
        while ((end = input_.rest().find('\n', searched)) == std::string::npos) {
            searched = input_.size();
            if (!input_.more()) break;
        }
        if (input_.size() == 0) return false;
        *line = input_.rest().substr(0, end);
        line->erase(0, line->find_first_not_of('\0'));
        input_.consume(std::min(end, input_.size() - 1) + 1);
        return true;
    }

  private:
    Input input_;
};

class LogReader {
  public:
    explicit LogReader(const Arguments& arguments)
        : isJson_(arguments.has("--json")), since_(arguments.text("--since")) {
        checkSince();
        if (arguments.has("--level")) {
            const std::string level = arguments.text("--level");
            most_ = static_cast<std::size_t>(std::find(kLevels.begin(), kLevels.end(), level) -
                                             kLevels.begin());
        }
    }

    bool hasFound() const { return hasFound_; }

    void read(const std::string& file) {
        Lines lines(file);
        std::optional<Record> record;
        bool hasRecord = false;
        bool hasLine = false;
        for (std::string line; lines.next(&line);) {
            hasLine = hasLine || !line.empty();
            if (auto begun = recordIn(line)) {
                if (record) print(*record);
                record = std::move(begun);
                hasRecord = true;
            } else if (record) {
                (record->message += '\n') += line;
                (record->text += '\n') += line;
            }
        }
        if (record) print(*record);
        if (hasLine && !hasRecord)
            throw Failure(kMalformed, nameOf(file) + ": offset 0: no line of the agent's log");
    }

  private:
    // A prefix of the log's own times, which compare as texts.
    void checkSince() const {
        if (since_.empty() || (since_.size() >= 4 && beginsLikeTime(since_))) return;
        throw Failure(kUsage, "--since: '" + since_ + "' is no 2006.03.07 14:05:09");
    }

    void print(const Record& record) {
        if (record.rank() > most_ || record.time < since_) return;
        hasFound_ = true;
        writeOutput(isJson_ ? jsonOf(record) : textOf(record));
    }

    static std::string textOf(const Record& record) {
        const std::size_t rank = record.rank();
        const bool isBad = rank == 1;
        const bool isDoubtful = rank == 2;
        // A message may hold what a stranger sent.
        static const bool isTerminal = ::isatty(STDOUT_FILENO) == 1;
        const std::string text = isTerminal ? forTerminal(record.text) : record.text;
        return (isBad        ? painted(Paint::Error, text)
                : isDoubtful ? painted(Paint::Warning, text)
                             : text) +
               '\n';
    }

    static std::string jsonOf(const Record& record) {
        return "{\"time\":" + jsonString(record.time) + ",\"level\":" + jsonString(record.level) +
               ",\"pid\":" + std::to_string(record.pid) + ",\"tid\":" + std::to_string(record.tid) +
               ",\"message\":" + jsonString(record.message) + "}\n";
    }

    const bool isJson_;
    const std::string since_;
    std::size_t most_ = kLevels.size();
    bool hasFound_ = false;
};

Exit log(const Arguments& arguments) {
    LogReader reader(arguments);
    for (const std::string& file : arguments.all("FILE")) reader.read(file);
    return reader.hasFound() ? kOk : kNo;
}

}  // namespace

Verb logVerb() {
    return {
        "log",
        "read the agent's log",
        "Prints the records of the agent's daily log files (2006.03.07-compat.log), in the order "
        "of the files. A record is a line and the lines behind it that begin no record of their "
        "own: messages may hold line breaks. What stands before a file's first record is left "
        "out, and a file without any is malformed. On a terminal, what would move its cursor is "
        "written out. The exit status is 1 when no record was "
        "printed.",
        {
            choice("-l,--level", "LEVEL", kLevels,
                   "only records of this level and of those before it: undefined, error, warning, "
                   "info, debug, packet, packets"),
            option("--since", "TIME", Takes::Text,
                   "only records from this local time on: 2006.03.07, or with a time of day "
                   "\"2006.03.07 14:05:09\""),
            flag("--json", "one JSON object a record"),
            times(Times::AtLeastOnce, operand("FILE", Takes::File, "log files")),
        },
        {{"tqamsg log --level warning --since 2006.03.07 *-compat.log", "what went wrong"}},
        log,
    };
}

}  // namespace tool
