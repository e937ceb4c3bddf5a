// What the verbs that change messages share.
#pragma once

#include "tools/message.h"
#include "tools/path.h"
#include "tools/verb.h"

#include <functional>
#include <optional>

namespace tool {

// The row of --kind.
Option kindOption();
// The kind that --kind names; nothing when it was not given.
std::optional<tqa::Kind> kindIn(const Arguments& arguments);

// The payload of the value, for an element of this id; throws Failure(kUsage) when the value does
// not fit the kind.
std::string payloadFor(const Assignment& wanted, tqa::Kind kind);

// The kind that a value gets if nothing else is said: that of the header attribute, Unparsed for a
// raw element, else String.
tqa::Kind usualKind(int id);

// Makes the steps of the path from `from` on, below the element at the end of `way`, which moves to
// the last one made. They are empty.
void makeSteps(TQABinary& message, const Path& path, std::size_t from, BinaryPath& way);

// Gives the element at the end of the way its value; throws Failure(kMalformed) when it holds
// elements.
void putValue(TQABinary& message, const Assignment& wanted, BinaryPath way, tqa::Kind kind);

// Throws the Failure of putValue().
[[noreturn]] void refuseContainer(const Assignment& wanted);

// Applies `edit` to each message of the input and writes it in the form it came in. kNo when an
// edit returned false, as it does when it found nothing.
Exit editMessages(const std::string& file, const std::function<bool(TQABinary& message)>& edit);

}  // namespace tool
