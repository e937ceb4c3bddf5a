// Name: which element is meant, by its id or by its word.
//
//     builder.put(tqa::Tag_veid, 101);                       // costs no look-up
//     builder.put("veid", 101);                              // looks among the tags
//     builder.put(tqa::Name::attribute("priority"), 1);      // among the header attributes
#pragma once

#include "tqamsg/vocabulary/lookup.h"

#include <string>
#include <string_view>

namespace tqa {

// Made where a function asks for one; a word that the vocabulary does not know has the id 0.
class Name {
  public:
    constexpr Name(int id) noexcept : id_(id) {}
    Name(std::string_view word) noexcept : id_(tagId(word)) {}
    Name(const char* word) noexcept : Name(std::string_view(word)) {}
    Name(const std::string& word) noexcept : Name(std::string_view(word)) {}

    static Name attribute(std::string_view word) noexcept { return attributeId(word); }

    constexpr int id() const noexcept { return id_; }

  private:
    int id_;
};

}  // namespace tqa
