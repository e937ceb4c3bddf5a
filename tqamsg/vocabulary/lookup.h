// Words to identifiers and back without dictionaries: nothing is allocated or inserted, and the
// tables are constants, so look-ups work before main and from any thread.
#pragma once

#include "tqamsg/export.h"

#include <string_view>

namespace tqa {

// The identifier of a word, 0 when there is no such word.
TQA_API int tagId(std::string_view word) noexcept;
TQA_API int namespaceId(std::string_view word) noexcept;
TQA_API int attributeId(std::string_view word) noexcept;

// The word of an identifier, empty when there is none. A word's text ends in a zero byte and lives
// as long as the library.
TQA_API std::string_view tagWord(int id) noexcept;
TQA_API std::string_view namespaceWord(int id) noexcept;
TQA_API std::string_view attributeWord(int id) noexcept;

}  // namespace tqa
