// HashMap: a dictionary built from an array of pairs.
//
//     const HashMap<std::string, int>::MapElem words[] = {{"alerts", 1001}, {"veid", 1002}};
//     HashMap<std::string, int> ids(words, 2);
//     ids.find("alerts")->second;  // 1001
//
// Everything else is std::unordered_map's. Nothing may depend on the order of the entries.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

namespace tqa {

// The dictionaries' hash: texts fold to 5 * h + byte, integers are their own hash.
struct MapHash {
    std::size_t operator()(const std::string& key) const noexcept {
        std::size_t h = 0;
        for (const char c : key) h = 5 * h + static_cast<unsigned char>(c);
        return h;
    }
    std::size_t operator()(int key) const noexcept { return static_cast<std::size_t>(key); }
};

}  // namespace tqa

template <class K, class V>
class HashMap : public std::unordered_map<K, V, tqa::MapHash> {
  public:
    struct MapElem {
        K key;
        V value;
    };

    // Takes the pairs in their order: of several with one key the last stays.
    HashMap(const MapElem* elements, int count) {
        this->reserve(count > 0 ? static_cast<std::size_t>(count) : 0);
        for (int i = 0; i < count; ++i) (*this)[elements[i].key] = elements[i].value;
    }
};
