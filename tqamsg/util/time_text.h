// Times as messages carry them: "2005-06-07T08:09:10+0200", the local clock and its distance from
// UTC as a signed number hhmm (the basic zone form of ISO 8601). Written always in UTC, "+0000".
//
// Reading and writing are pure calendar arithmetic: neither the process's time zone nor its locale
// matters, and str2time(time2str(t)) is t for every time that can be written.
#pragma once

#include "tqamsg/export.h"

#include <ctime>
#include <string_view>

// The seconds to add to the local clock, daylight saving aside, to get UTC, as they are now: -10800
// three hours east of Greenwich. 0 when the C library cannot tell. Computed afresh on every call.
TQA_API long timezoneOffset();

// The seconds since 1970 of a text, or -1 when it is null or one of its seven numbers is missing.
// Read like sscanf "%d-%d-%dT%d:%d:%d%d": blanks and a sign may precede a number, what follows the
// zone is ignored, and no number is range-checked (month 13 is the next January). A zone with a
// colon is therefore taken for its first half: "+05:30" is +0005, five minutes.
TQA_API time_t str2time(const char* text);

// Writes t at buf, which has room for 25 bytes, with a terminator, and returns buf. The text is
// empty when the year does not fit four characters (before -999 or after 9999).
TQA_API char* time2str(time_t t, char* buf);

namespace tqa {

// str2time for a text that need not end in a zero byte.
time_t textToTime(std::string_view text) noexcept;

}  // namespace tqa
