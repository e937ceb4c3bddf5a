// The character-set converter of the XML text. Messages keep texts in the packet's own encoding,
// so the converter in use is the identity, which names no encoding. Kept: one that names its
// encoding would make the writer begin with an XML declaration.
#pragma once

template <class Char>
class CharToChar {};

template <class From, class To>
class ConvertString;

template <class Char>
class ConvertString<CharToChar<Char>, CharToChar<Char>> {
  public:
    // The encoding's name, null for none.
    static const char* name() { return nullptr; }
};
