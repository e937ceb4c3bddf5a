// Words to identifiers and back without dictionaries: nothing is allocated or inserted, and the
// tables are constants, so look-ups work before main and from any thread.
#pragma once

#include "tqamsg/vocabulary/word_ids.h"
#include "tqamsg/vocabulary/word_table.h"

#include <string_view>

namespace tqa {

extern const WordTable<kTagCount> kTags;

// The identifier of a word, 0 when there is no such word.
int tagId(std::string_view word) noexcept;
// tagId() for a caller who has the word's key (keyOf) already.
inline int tagId(std::string_view word, WordKey key) noexcept {
    return kTags.id(word, key);
}
int namespaceId(std::string_view word) noexcept;
int attributeId(std::string_view word) noexcept;

// The word of an identifier, empty when there is none. A word's text ends in a zero byte and lives
// as long as the library.
std::string_view tagWord(int id) noexcept;
inline KeyedWord keyedTagWord(int id) noexcept {
    return kTags.keyedWord(id);
}
std::string_view namespaceWord(int id) noexcept;
std::string_view attributeWord(int id) noexcept;

}  // namespace tqa
