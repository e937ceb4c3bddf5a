// One of everything that is done with a message, whatever is in it. For messages that were damaged
// or made up: nothing may be read outside them, nothing may go on without end, and what comes of it
// can be sent on. The sanitizers see what is read.
#pragma once

#include "tests/support/messages.h"

#include <string>

namespace tqa_test {

// Reads the element on which the iterator stands, or its child with this id, in every way.
void readIn(TQABinaryIterator& at, int id);

// Goes to the next element of the message in the order of the bytes; false behind the last one.
bool advance(TQABinaryIterator& it, int* depth);

// How many elements a walk meets; each is read in every way.
int walk(const Message& m);

// On the element that `steps` steps from the root lead to, or on the last one.
Cursor cursorAfter(const Message& m, int steps);

// The message's own questions: header fields, routing, access list, reply.
void askEverything(TQABinary& m);

// The message and each part of it as text, with and without namespaces.
void print(const Message& m);

// What is exported must load, and be the same.
void expectTravels(const Message& m);

// Changes what the iterator stands on, in one of so many ways.
inline constexpr int kChanges = 8;
// Expanding raw children: the one change that a shared content shows to all its messages.
inline constexpr int kExpansion = 6;
void change(TQABinaryIterator& at, int how);

// Changes a copy at each element, the first one as `first` says; then once more through an iterator
// that saw nothing of it and may stand in the middle of a value by now.
void changeEverywhere(const Message& m, int first);

// Expands raw children on a walk of a copy, under both flags.
void expand(const Message& m);

// Appends the message below an element that has others behind it.
void append(const Message& m);

// All of the above.
void useEverything(const Message& m, int variation);

// The same for long runs: one change at one element instead of all of them, and no access list.
void useBriefly(const Message& m, int variation);

// Loads bytes, or reads text, of a block that ends with them; no message when that fails.
Message tryLoad(const std::string& encoded);
// A read that fails leaves something too.
Message tryRead(const std::string& xml);

}  // namespace tqa_test
