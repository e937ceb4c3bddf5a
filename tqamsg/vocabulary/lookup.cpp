#include "tqamsg/vocabulary/lookup.h"

#include "tqamsg/vocabulary/keyed_lookup.h"

#include <array>
#include <string_view>

namespace tqa {
namespace {

constexpr std::array<std::string_view, kTagCount> kTagWords = {
#define TQA_WORD(word) #word,
#include "tqamsg/vocabulary/tag_words.inc"
};

constexpr std::array<std::string_view, kNamespaceCount> kNamespaceWords = {
#define TQA_WORD(word) #word,
#include "tqamsg/vocabulary/namespace_words.inc"
};

// Their list is not in the order of the identifiers, so each word is put in its place.
constexpr auto kAttributeWords = [] {
    std::array<std::string_view, kAttributeCount> words = {};
#define TQA_WORD(word, id) words[id - kFirstAttributeId] = #word;
#include "tqamsg/vocabulary/attribute_words.inc"
    return words;
}();

constexpr WordTable kNamespaces(kNamespaceWords, kFirstNamespaceId);
constexpr WordTable kAttributes(kAttributeWords, kFirstAttributeId);

}  // namespace

constexpr WordTable<kTagCount> kTags(kTagWords, kFirstTagId);

int tagId(std::string_view word) noexcept {
    return kTags.id(word);
}

int namespaceId(std::string_view word) noexcept {
    return kNamespaces.id(word);
}

int attributeId(std::string_view word) noexcept {
    return kAttributes.id(word);
}

std::string_view tagWord(int id) noexcept {
    return kTags.word(id);
}

std::string_view namespaceWord(int id) noexcept {
    return kNamespaces.word(id);
}

std::string_view attributeWord(int id) noexcept {
    return kAttributes.word(id);
}

}  // namespace tqa
