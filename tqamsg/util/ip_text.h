// IPv4 addresses as dotted texts and as integers in host byte order: "10.0.0.1" is 167772161.
#pragma once

#include "tqamsg/export.h"

#include <string>

// 0 and *ip set, or -1 and *ip 0. Reads what inet_aton reads: "10.0.1" is 10.0.0.1, and a part may
// be octal (leading 0) or hexadecimal (leading 0x).
TQA_API int strToIp(const std::string& text, unsigned int* ip);

// The address, 0 when the text is none.
TQA_API unsigned int strToIp(const std::string& text);

TQA_API std::string ipToStr(const unsigned int& ip);
