// Cursor: a look at one element of a binary message, and children(): at each element in it.
//
//     for (const auto ve : tqa::children(message.at("data/vem"))) {
//         const std::optional<int> veid = ve.get<int>("veid");
//         const auto name = ve.get<std::string_view>("name");   // no copy
//         ...
//     }
//
// A cursor is to a message what a string_view is to a string: it is copied like a pointer, owns
// nothing, and holds good until the message changes or ends. Where an element is missing a cursor
// stands nowhere; everything may be asked of it, and the answer is that there is nothing. So a
// chain of steps needs one look at its end.
//
// Values are read as the iterator's getValue() and its kin read them: numbers from texts too, and
// texts from numbers. To change a message take an iterator (Message::iterator()), or tqa::Builder.
#pragma once

#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/binary/values.h"
#include "tqamsg/vocabulary/name.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <ctime>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tqa {

class Cursor {
  public:
    // Stands nowhere.
    Cursor() = default;
    explicit Cursor(ElementView element) noexcept : element_(element) {}
    // Stands where the iterator does; nowhere if that is no element of a binary message.
    explicit Cursor(TQAMessageIterator& it) {
        if (auto* binary = dynamic_cast<TQABinaryIterator*>(&it)) element_ = elementOf(*binary);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(element_); }

    // The element's vocabulary id, 0 for a raw element and nowhere. Ids below kFirstElementId are
    // header attributes.
    int id() const noexcept { return element_ ? element_.id() : 0; }
    // Its tag or attribute word, "" when it has none.
    std::string_view name() const noexcept {
        return id() < kFirstElementId ? attributeWord(id()) : tagWord(id());
    }
    // The namespace id, 0 for none.
    int ns() const noexcept { return element_ ? element_.ns() : 0; }
    Kind kind() const noexcept { return element_ ? element_.kind() : Kind::Untyped; }

    // The first child of that name.
    Cursor child(Name name) const noexcept {
        return name.id() == 0 ? Cursor() : Cursor(element_.childWithId(name.id()));
    }
    // The element at the end of a path of tag words with slashes between them; this one for "".
    Cursor at(std::string_view path) const noexcept {
        Cursor here = *this;
        while (!path.empty()) {
            const std::string_view word = path.substr(0, path.find('/'));
            here = here.child(word);
            path.remove_prefix(std::min(word.size() + 1, path.size()));
        }
        return here;
    }

    // The element's value; of the first child of that name. T is bool, an integer, double,
    // std::string, or std::string_view for a text without a copy (then no number is one). Nothing
    // when there is none, when it can't be read so, or when memory runs out. Text in which no
    // number stands is 0 to an int, as it is to getValue(), and nothing to the others.
    template <class T>
    std::optional<T> get() const {
        if constexpr (std::same_as<T, std::string_view>) {
            return text();
        } else if constexpr (std::same_as<T, bool>) {
            return read(readBool);
        } else if constexpr (std::same_as<T, double>) {
            return read(readDouble);
        } else if constexpr (std::same_as<T, int>) {
            return read(readInt);
        } else if constexpr (std::integral<T>) {
            return inRangeOf<T>(read(readLongLong));
        } else {
            static_assert(std::same_as<T, std::string>, "no value is read as such a type");
            return read(readString);
        }
    }
    template <class T>
    std::optional<T> get(Name name) const {
        return child(name).get<T>();
    }

    // A time in seconds since 1970; the bytes of a Base64 value; the text of a raw element.
    std::optional<std::time_t> time() const { return read(readTime); }
    std::optional<std::string> base64() const { return read(readBase64); }
    std::optional<std::string_view> raw() const noexcept {
        if (kind() != Kind::Unparsed || element_.length() == 0) return std::nullopt;
        return element_.text();
    }

    // The bytes behind it, for Builder::put(), which copies the element with all in it.
    ElementView element() const noexcept { return element_; }

  private:
    template <class Value>
    std::optional<Value> read(int (*reader)(ElementView, Value*)) const {
        Value value{};
        if (!element_ || reader(element_, &value) != 0) return std::nullopt;
        return value;
    }

    std::optional<std::string_view> text() const noexcept {
        const bool isText = element_ && (kind() == Kind::Untyped ||
                                         (kind() == Kind::String && element_.length() > 0));
        return isText ? std::optional(element_.text()) : std::nullopt;
    }

    template <class T>
    static std::optional<T> inRangeOf(std::optional<long long> value) {
        if (!value || !std::in_range<T>(*value)) return std::nullopt;
        return static_cast<T>(*value);
    }

    ElementView element_;
};

// The children of an element, header attributes included, in their order: a forward range of
// cursors. With a name, those of that name: none for a word that the vocabulary does not know.
class Children {
  public:
    class Iterator {
      public:
        using value_type = Cursor;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using pointer = void;
        using reference = Cursor;

        Iterator() = default;
        Cursor operator*() const noexcept { return Cursor(at_); }
        Iterator& operator++() noexcept {
            at_ = matching(at_.next(end_));
            return *this;
        }
        // NOLINTNEXTLINE(cert-dcl21-cpp): the standard's iterators give a copy that is not const
        Iterator operator++(int) noexcept {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(std::default_sentinel_t) const noexcept { return !at_; }
        bool operator==(const Iterator& other) const noexcept {
            return at_ ? other.at_ && at_.begin() == other.at_.begin() : !other.at_;
        }

      private:
        friend class Children;
        Iterator(ElementView first, const char* end, int id) noexcept : end_(end), id_(id) {
            at_ = matching(first);
        }
        ElementView matching(ElementView from) const noexcept {
            return id_ == kAnyId ? from : from.withId(id_, end_);
        }

        ElementView at_;
        const char* end_ = nullptr;
        int id_ = kAnyId;
    };

    explicit Children(Cursor parent) noexcept : Children(parent, kAnyId) {}
    Children(Cursor parent, Name name) noexcept : parent_(parent.element()), id_(name.id()) {}

    // Raw elements have the id of an unknown word, but not its name.
    Iterator begin() const noexcept {
        if (!parent_ || id_ == 0) return Iterator();
        return Iterator(parent_.firstChild(), parent_.end(), id_);
    }
    static std::default_sentinel_t end() noexcept { return {}; }

  private:
    static constexpr int kAnyId = -1;

    ElementView parent_;
    int id_;
};

inline Children children(Cursor parent) noexcept {
    return Children(parent);
}

inline Children children(Cursor parent, Name name) noexcept {
    return {parent, name};
}

}  // namespace tqa
