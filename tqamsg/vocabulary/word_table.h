// WordTable: a family of words as one constant, looked up either way without a search.
//
// Built by the compiler as a perfect hash. A word's hash names a bucket, the bucket says by how
// many bits the hash is to be rotated, and the rotated hash names the slot that no other word has:
// a look-up compares with exactly one word.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace tqa {

// The bytes at p as one integer, in the order of the machine.
template <class Integer>
constexpr Integer loadBytes(const char* p) noexcept {
    std::array<char, sizeof(Integer)> bytes = {};
    if (std::is_constant_evaluated()) {
        for (std::size_t i = 0; i < sizeof(Integer); ++i) bytes[i] = p[i];
    } else {
        std::memcpy(bytes.data(), p, sizeof(Integer));
    }
    return std::bit_cast<Integer>(bytes);
}

// What a word is found by: its first sixteen bytes, those behind its end being zero, or for a
// longer word its first eight and a mixture of the rest of it that tells the words of a family
// apart.
struct WordKey {
    std::uint64_t first;
    std::uint64_t second;
};

inline constexpr std::size_t kKeyLength = 16;

struct KeyedWord {
    std::string_view word;
    WordKey key;
};

constexpr WordKey keyOf(std::string_view word) noexcept {
    const char* const p = word.data();
    const std::size_t n = word.size();
    if (n > kKeyLength) {
        const auto middle = loadBytes<std::uint64_t>(p + n / 2 - 4);
        const auto last = loadBytes<std::uint64_t>(p + n - 8);
        return {loadBytes<std::uint64_t>(p), std::rotl(middle, 21) ^ last ^ n};
    }
    if (n >= 8) {
        // What the two loads share is shifted out of the second.
        const auto last = loadBytes<std::uint64_t>(p + n - 8);
        return {loadBytes<std::uint64_t>(p), n == 8 ? 0 : last >> 8 * (kKeyLength - n)};
    }
    if (n >= 4) {
        const std::uint64_t last = loadBytes<std::uint32_t>(p + n - 4);
        return {loadBytes<std::uint32_t>(p) | last << 8 * (n - 4), 0};
    }
    WordKey key = {};
    for (std::size_t i = 0; i < n; ++i)
        key.first |= std::uint64_t{loadBytes<std::uint8_t>(p + i)} << 8 * i;
    return key;
}

// It knows no secret, and needs none: the table is fixed, so no input can make a look-up slower.
constexpr std::uint64_t hashKey(WordKey key) noexcept {
    constexpr std::uint64_t kOdd1 = 0x9e3779b97f4a7c15;
    constexpr std::uint64_t kOdd2 = 0xc2b2ae3d27d4eb4f;
    const std::uint64_t mixed = (key.first ^ std::rotl(key.second, 29)) * kOdd1;
    return (mixed ^ mixed >> 32) * kOdd2;
}

// Whether the n bytes at a and b are the same, n > 0.
inline bool sameBytes(const char* a, const char* b, std::size_t n) noexcept {
    if (n >= 8) {
        for (std::size_t i = 0; i + 8 < n; i += 8)
            if (loadBytes<std::uint64_t>(a + i) != loadBytes<std::uint64_t>(b + i)) return false;
        return loadBytes<std::uint64_t>(a + n - 8) == loadBytes<std::uint64_t>(b + n - 8);
    }
    if (n >= 4)
        return loadBytes<std::uint32_t>(a) == loadBytes<std::uint32_t>(b) &&
               loadBytes<std::uint32_t>(a + n - 4) == loadBytes<std::uint32_t>(b + n - 4);
    return a[0] == b[0] && a[n / 2] == b[n / 2] && a[n - 1] == b[n - 1];
}

template <std::size_t N>
class WordTable {
  public:
    // The words in the order of their identifiers, the first of which is given.
    constexpr WordTable(const std::array<std::string_view, N>& words, int firstId)
        : firstId_(firstId) {
        Buckets buckets = {};
        for (std::size_t i = 0; i < N; ++i) {
            words_[i + 1] = words[i];
            keys_[i + 1] = keyOf(words[i]);
            buckets.add(hashKey(keys_[i + 1]), static_cast<std::uint16_t>(i + 1));
        }
        // The fullest buckets first, while there is most room.
        for (std::size_t size = kBucketMax; size > 0; --size)
            for (std::size_t b = 0; b < kBuckets; ++b)
                if (buckets.sizes[b] == size) place(buckets, b);
    }

    constexpr int id(std::string_view word) const noexcept { return id(word, keyOf(word)); }

    // The same for a word whose key is known.
    constexpr int id(std::string_view word, WordKey key) const noexcept {
        const std::uint64_t hash = hashKey(key);
        const std::uint16_t entry = slots_[slotOf(hash, rotations_[bucketOf(hash)])];
        const WordKey found = keys_[entry];
        if (found.first != key.first || found.second != key.second) return 0;
        return entry != 0 && isWord(entry, word) ? firstId_ - 1 + entry : 0;
    }

    constexpr std::string_view word(int id) const noexcept { return words_[entryOf(id)]; }

    // The same with the word's key.
    constexpr KeyedWord keyedWord(int id) const noexcept {
        const std::size_t entry = entryOf(id);
        return {words_[entry], keys_[entry]};
    }

  private:
    static constexpr std::size_t kSlots = std::bit_ceil(2 * N);
    static constexpr std::size_t kBuckets = kSlots <= 8 ? 2 : kSlots / 4;
    static constexpr std::size_t kBucketMax = 16;

    // What is known of the words while the table is built: hashes and entries by bucket.
    struct Buckets {
        std::array<std::uint64_t, kBuckets * kBucketMax> hashes;
        std::array<std::uint16_t, kBuckets * kBucketMax> entries;
        std::array<std::size_t, kBuckets> sizes;

        constexpr void add(std::uint64_t hash, std::uint16_t entry) {
            const std::size_t b = bucketOf(hash);
            if (sizes[b] == kBucketMax) throw "hashKey needs other constants";
            const std::size_t at = b * kBucketMax + sizes[b]++;
            hashes[at] = hash;
            entries[at] = entry;
        }
    };

    constexpr std::size_t entryOf(int id) const noexcept {
        const auto position = static_cast<unsigned int>(id) - static_cast<unsigned int>(firstId_);
        return position < N ? position + 1 : 0;
    }

    // Whether a text with the entry's key is its word: a key says nothing of zero bytes at the end
    // and not everything of a longer word.
    constexpr bool isWord(std::size_t entry, std::string_view text) const noexcept {
        const std::string_view word = words_[entry];
        return word.size() == text.size() &&
               (text.size() <= kKeyLength || sameBytes(word.data(), text.data(), text.size()));
    }

    static constexpr std::size_t bucketOf(std::uint64_t hash) noexcept {
        return hash >> (64 - std::countr_zero(kBuckets));
    }
    static constexpr std::size_t slotOf(std::uint64_t hash, int rotation) noexcept {
        return std::rotr(hash, rotation) % kSlots;
    }

    // Finds the rotation that brings every word of the bucket into a free slot.
    constexpr void place(const Buckets& buckets, std::size_t b) {
        for (std::uint8_t rotation = 0; rotation < 64; ++rotation) {
            rotations_[b] = rotation;
            if (claimSlots(buckets, b, rotation)) return;
        }
        throw "a word stands twice, or hashKey needs other constants";
    }

    // All words of the bucket get their slots, or none does.
    constexpr bool claimSlots(const Buckets& buckets, std::size_t b, int rotation) {
        const std::size_t begin = b * kBucketMax;
        for (std::size_t i = 0; i < buckets.sizes[b]; ++i) {
            std::uint16_t& slot = slots_[slotOf(buckets.hashes[begin + i], rotation)];
            if (slot == 0) {
                slot = buckets.entries[begin + i];
                continue;
            }
            while (i > 0) slots_[slotOf(buckets.hashes[begin + --i], rotation)] = 0;
            return false;
        }
        return true;
    }

    std::array<std::string_view, N + 1> words_ = {};  // entry 0 is no word
    std::array<WordKey, N + 1> keys_ = {};
    std::array<std::uint16_t, kSlots> slots_ = {};  // the entry, 0 in a free slot
    std::array<std::uint8_t, kBuckets> rotations_ = {};
    int firstId_;
};

}  // namespace tqa
