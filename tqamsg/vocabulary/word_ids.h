// The identifiers of the vocabulary's words by name: tqa::Tag_packet, tqa::Ns_types,
// tqa::Attr_version. The three spaces never overlap, so an identifier tells what it names, and 0 is
// no word.
#pragma once

namespace tqa {

enum AttributeId : int {
#define TQA_WORD(word, id) Attr_##word = id,
#include "tqamsg/vocabulary/attribute_words.inc"
};

enum NamespaceId : int {
    kFirstNamespaceId = 201,
    kBeforeNamespaces = kFirstNamespaceId - 1,
#define TQA_WORD(word) Ns_##word,
#include "tqamsg/vocabulary/namespace_words.inc"
    kEndNamespaceId
};

enum TagId : int {
    kFirstTagId = 1001,
    kBeforeTags = kFirstTagId - 1,
#define TQA_WORD(word) Tag_##word,
#include "tqamsg/vocabulary/tag_words.inc"
    kEndTagId
};

inline constexpr int kFirstAttributeId = 101;
inline constexpr int kAttributeCount = 10;
inline constexpr int kNamespaceCount = kEndNamespaceId - kFirstNamespaceId;
inline constexpr int kTagCount = kEndTagId - kFirstTagId;

// Frozen: both ends of a connection share these identifiers.
static_assert(kNamespaceCount == 62 && Ns_alerts == 201 && Ns_authm == 262);
static_assert(kTagCount == 874 && Tag_alerts == 1001 && Tag_packet == 1398 && Tag_objects == 1874);

}  // namespace tqa
