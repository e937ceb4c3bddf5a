// verify(): a strict check of a whole binary message, for bytes that strangers sent.
//
//     tqa::Report report;
//     if (tqa::verify(buf, len, &report) != 0)
//         return refuse("%s at byte %d, %s", report.text, report.offset, report.path.c_str());
//
// Loading a message checks no more than that its root is all there: walking, reading, printing and
// changing it are safe whatever lies below, but what is damaged there is skipped without a word.
// A message that passes this check has nothing to skip: each of its elements is reached by a walk,
// gives its value to the reader of its kind, prints, and can be changed.
//
// What a text says is not judged: that a Time is a time, or that raw XML parses.
#pragma once

#include "tqamsg/export.h"

#include <string>

namespace tqa {

// Raw elements may hold binary messages with raw elements in them. Expanding each costs as much as
// all that is left of the message, so somebody who walks with kExpandRaw pays for every level.
inline constexpr int kMaxRawDepth = 16;

// What is wrong with a message. Frozen values; new ones are added at the end.
enum class Fault {
    None = 0,
    NotBinary = 1,      // the bytes do not start with the magic
    Incomplete = 2,     // the message is not all there, or the root's length is negative
    TrailingBytes = 3,  // bytes follow the root
    TooLarge = 4,       // no buffer takes so much
    DoesNotFit = 5,     // an element reaches beyond the one around it, or its length is negative
    UnknownKind = 6,    // a kind that layout.h does not list
    WrongLength = 7,    // the length is not one that the kind has
    NoZeroByte = 8,     // a text does not end in a zero byte
    Unnamed = 9,        // an element without an id that is not Unparsed
    NoMemory = 10,      // the check itself ran out of memory
    RawTooDeep = 11,    // raw elements hold one another more than kMaxRawDepth deep
};

// The first fault in the order of the bytes, and what was noticed before it.
//
// Paths are the words from the root down, "packet/data/ve[3]": the number counts the siblings of
// that name from 1, and a first one has none. "@id" is a header attribute, "#1999" an identifier
// without a word, "#0" a raw element; the path goes on into a binary message that one holds.
// A path is empty when the fault is not in an element, or when memory runs out for it.
struct Report {
    Fault fault = Fault::None;
    const char* text = "";  // the fault in words, a constant; "" for none
    int offset = 0;         // of the faulty element, in bytes from the message's start
    std::string path;       // to it, or to the element around it when it does not fit there

    // A warning, no fault: elements whose identifier or namespace is not in the vocabulary. They
    // are kept and travel on, but no path of words leads to them, and they do not print well.
    int unknownCount = 0;
    int unknownOffset = 0;  // of the first
    std::string unknownPath;
};

// Checks the `len` bytes at `buf`, which must be one message and nothing else; a text is none.
// Needs no more stack for a deep message, and memory only for one deeper than 32 levels; the cost
// is linear in `len`. What raw elements hold is checked too when it is a binary message. `report`
// may be null; else it is written whole.
//
// 0 for a sound message; -1 with the fault in the report; -2 when memory ran out, which says
// nothing about the message.
TQA_API int verify(const char* buf, int len, Report* report) noexcept;

}  // namespace tqa
