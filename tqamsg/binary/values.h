// The payload of one element as a value. The readers convert: numbers are read from texts too,
// and texts are made from numbers.
//
// Results: 0; -1 for a kind that can't be read so, a number cut short, or no memory; kNoPayload
// for an element without payload where that ends the reading; and what the scans say of texts that
// are no number (-1, or -2 for an empty one). The output is written on success only.
#pragma once

#include "tqamsg/binary/layout.h"
#include "tqamsg/export.h"

#include <limits>
#include <string>

namespace tqa {

inline constexpr int kNoPayload = std::numeric_limits<int>::min();

// Values of other kinds than their own, and plain texts.
TQA_API int convertToInt(ElementView element, int* value);
TQA_API int convertToLongLong(ElementView element, long long* value);
TQA_API int convertToString(ElementView element, std::string* value);
TQA_API int copyText(ElementView element, std::string* value);

inline int readInt(ElementView element, int* value) {
    if (element.length() == 0) return kNoPayload;
    if (element.kind() != Kind::Int) return convertToInt(element, value);
    return element.number(value) ? 0 : -1;
}

inline int readLongLong(ElementView element, long long* value) {
    if (element.length() == 0) return kNoPayload;
    if (element.kind() != Kind::LongLong) return convertToLongLong(element, value);
    return element.number(value) ? 0 : -1;
}

inline int readString(ElementView element, std::string* value) {
    const bool isText = element.kind() == Kind::Untyped || element.kind() == Kind::String;
    return isText && element.length() != 0 ? copyText(element, value)
                                           : convertToString(element, value);
}

TQA_API int readDouble(ElementView element, double* value);
TQA_API int readTime(ElementView element, long* value);
// Whether the text of the value is neither "0" nor "false" nor empty.
TQA_API int readBool(ElementView element, bool* value);
TQA_API int readBase64(ElementView element, std::string* value);
int readXml(ElementView element, std::string* value);

// Takes the payload as text whatever the kind, then fails for all kinds but texts.
int readAttributeText(ElementView element, std::string* value);

}  // namespace tqa
