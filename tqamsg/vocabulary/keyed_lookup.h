// Look-ups of tags for the reader and the writer of texts, which have or want a word's key.
#pragma once

#include "tqamsg/vocabulary/word_ids.h"
#include "tqamsg/vocabulary/word_table.h"

#include <string_view>

namespace tqa {

extern const WordTable<kTagCount> kTags;

// tagId() for a caller who has the word's key (keyOf) already.
inline int tagId(std::string_view word, WordKey key) noexcept {
    return kTags.id(word, key);
}

// tagWord() with the word's key.
inline KeyedWord keyedTagWord(int id) noexcept {
    return kTags.keyedWord(id);
}

}  // namespace tqa
