// `tqamsg auth`: may the sender of a message act on a VE?

#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <charconv>
#include <string_view>

namespace tool {

namespace {

unsigned int idIn(std::string_view digits, const std::string& text) {
    int id = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), id);
    if (error != std::errc() || end != digits.end() || id < 0)
        throw Failure(kUsage, "'" + text + "' is no VE id, nor a range as 101-110");
    return static_cast<unsigned int>(id);
}

// "101" or "101-110".
void insertRange(IDRangeArray& ids, const std::string& text) {
    const std::string_view view = text;
    const std::size_t dash = view.find('-');
    const unsigned int first = idIn(view.substr(0, dash), text);
    const bool isRange = dash != std::string_view::npos;
    const unsigned int last = isRange ? idIn(view.substr(dash + 1), text) : first;
    if (first > last) throw Failure(kUsage, "'" + text + "' ends before it begins");
    ids.insert(first, last);
}

std::string accessListOf(TQAMessage& message) {
    std::string text;
    const IDRangeArray& list = message.auth.getAccessList();
    for (auto range = list.begin_range(); range != list.end(); ++range) {
        const auto [first, last] = *range;
        text += (text.empty() ? "" : ",") + std::to_string(first);
        if (last != first) text += "-" + std::to_string(last);
    }
    return text;
}

// One line on a message: whether all ids are allowed, and the list that says so.
bool tell(TQAMessage& message, const IDRangeArray& wanted) {
    const Iterator it(message.newIterator());
    std::string list = "no access list";
    if (it->seek("auth") == 0) {
        const bool isSound = message.auth.extract() == 0;
        list = "access list \"" + accessListOf(message) + "\"" + (isSound ? "" : ", malformed");
    }
    const bool isAllowed = message.auth.checkAccess(wanted);
    writeOutput((isAllowed ? "yes, " : "no, ") + list + "\n");
    return isAllowed;
}

Exit auth(const Arguments& arguments) {
    IDRangeArray wanted;
    for (const std::string& text : arguments.all("VEID")) insertRange(wanted, text);
    bool isAllowed = true;
    forEachMessage(arguments.text("FILE"), [&](TQAMessage& message, Form) {
        isAllowed = tell(message, wanted) && isAllowed;
    });
    return isAllowed ? kOk : kNo;
}

}  // namespace

Verb authVerb() {
    return {
        "auth",
        "tell whether the sender of a message may act on a VE",
        "Prints \"yes\" or \"no\" and the access list of the message. The exit status is 1 when "
        "a message of the input does not allow one of the VEs. A message without an access list "
        "allows all of them, and so does a list with 0. Of a malformed list the ids before the "
        "fault "
        "count.",
        {
            operand("FILE", Takes::File, "the message, or several in a row"),
            times(Times::AtLeastOnce,
                  operand("VEID", Takes::Text, "a VE's id, or a range of them: 101-110")),
        },
        {{"tqamsg auth request.bin 101 && echo go ahead", "as a condition"}},
        auth,
    };
}

}  // namespace tool
