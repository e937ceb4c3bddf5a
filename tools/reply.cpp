// `tqamsg reply`: what an operator answers to a request before it fills "data".

#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/verbs.h"

namespace tool {

namespace {

Exit reply(const Arguments& arguments) {
    forEachMessage(arguments.text("FILE"), [&arguments](TQAMessage& request, Form form) {
        const std::string replier = arguments.text("--as", request.getTarget());
        const Message answer(request.genReply(replier));
        if (answer == nullptr) throw Failure(kInputOutput, "out of memory");
        writeOutput(inForm(*answer, form));
    });
    return kOk;
}

}  // namespace

Verb replyVerb() {
    return {
        "reply",
        "make the reply to a request",
        "Writes, in the form of the request, the reply that an operator starts from: the operator "
        "as origin, the request's origin as target, its id, version, priority, session and cookie, "
        "\"dst\" for its \"src\", and an empty \"data\".",
        {
            option("--as", "NAME", Takes::Text,
                   "the replying operator (the request's target if not given)"),
            operand("FILE", Takes::File, "the request, or several in a row"),
        },
        {{"tqamsg reply --as backm request.bin | tqamsg show -",
          "the reply of the operator backm"}},
        reply,
    };
}

}  // namespace tool
