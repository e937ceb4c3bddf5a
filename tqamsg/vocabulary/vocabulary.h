// The vocabulary's dictionaries: words to identifiers and back, for header attributes (101 to 110),
// namespaces (201 to 262) and element tags (1001 to 1874). Words are exact and case-sensitive.
//
//     auto tag = TextIDMap.find("packet");  // tag->second is 1398
//
// They are built when the library is loaded and not changed by it afterwards, so any number of
// threads may call find; keyed access to an unknown key adds an entry and is not safe then. The
// library itself looks words up with lookup.h, which needs no dictionary.
//
// The definitions stand in dictionaries.inc, which tqamsg/startup.cpp includes.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/util/hash_map.h"
#include "tqamsg/vocabulary/word_ids.h"

#include <string>

// The pairs that each dictionary is built from, not to be changed; the two arrays of a family have
// the same order.
extern TQA_API HashMap<std::string, int>::MapElem Map_TextNSIDMap_Array[tqa::kNamespaceCount];
extern TQA_API HashMap<int, std::string>::MapElem Map_NSIDTextMap_Array[tqa::kNamespaceCount];
extern TQA_API HashMap<std::string, int>::MapElem Map_TextIDMap_Array[tqa::kTagCount];
extern TQA_API HashMap<int, std::string>::MapElem Map_IDTextMap_Array[tqa::kTagCount];
extern TQA_API HashMap<std::string, int>::MapElem Map_AttrIDMap_Array[tqa::kAttributeCount];
extern TQA_API HashMap<int, std::string>::MapElem Map_IDAttrMap_Array[tqa::kAttributeCount];

extern TQA_API HashMap<std::string, int> TextNSIDMap;
extern TQA_API HashMap<int, std::string> NSIDTextMap;
extern TQA_API HashMap<std::string, int> TextIDMap;
extern TQA_API HashMap<int, std::string> IDTextMap;
extern TQA_API HashMap<std::string, int> AttrIDMap;
extern TQA_API HashMap<int, std::string> IDAttrMap;
