// Several iterators on one message, each with a memory of what it has seen. Whatever was done
// before, an operation must do what it does through a new iterator on a message that was just
// loaded: give the same result, leave the same bytes and stand at the same place. The bytes are the
// script.

#include "tqamsg/binary/verify.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <array>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

using namespace tqa_test;
using tqa::ElementView;

namespace {

// The offsets of the elements from the root to the one on which an iterator stands.
using Way = std::vector<std::ptrdiff_t>;

const char* startOf(TQABinary& m) {
    TQABinaryIterator root(&m);
    return tqa::elementOf(root).begin() - tqa::kRootOffset;
}

// Nothing when the iterator has lost its way.
std::optional<Way> wayOf(TQABinaryIterator& it) {
    TQABinaryIterator up(&it);
    up.invalidate();
    if (up.validateStamp() != 0) return {};
    Way way;
    const char* start = startOf(*it.getBinaryMessage());
    for (ElementView at = tqa::elementOf(up); at; at = tqa::elementOf(up)) {
        way.insert(way.begin(), at.begin() - start);
        if (at.begin() - start == tqa::kRootOffset) return way;
        up.seekUp();
    }
    return {};
}

// A new iterator there; null when no way of whole elements leads there.
Cursor follow(const Message& m, const Way& way) {
    const char* start = startOf(*m);
    Cursor it = cursor(m);
    for (std::size_t i = 1; i < way.size(); ++i) {
        int status = it->firstChild();
        while (status == 0 && tqa::elementOf(*it).begin() - start != way[i]) {
            status = it->nextSibling();
        }
        if (status != 0) return nullptr;
    }
    return it;
}

void clear(std::string& bytes, std::ptrdiff_t from, std::ptrdiff_t to) {
    bytes.replace(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from),
                  static_cast<std::size_t>(to - from), '\0');
}

// The message with its padding cleared: that is what was there before.
std::string comparable(const Message& m) {
    std::string encoded = bytes(m);
    const Message whole = load(encoded);
    const char* start = startOf(*whole);
    const Cursor it = cursor(whole);
    int depth = 0;
    do {
        const ElementView at = tqa::elementOf(*it);
        const auto begin = at.begin() - start;
        if (at.isContainer()) {
            clear(encoded, begin + 12, begin + tqa::kEmptyElementSize);
        } else {
            const auto payload = at.payload() - start;
            clear(encoded, begin + 12, payload);
            clear(encoded, payload + static_cast<std::ptrdiff_t>(at.bytes().size()),
                  at.end() - start);
        }
    } while (advance(*it, &depth));
    return encoded;
}

// --- operations ---------------------------------------------------------------------------------

struct Arguments {
    int id;
    std::uint32_t number;
};

// The result of an operation as text.
using Operation = std::string (*)(TQABinaryIterator& it, const Arguments& arguments);

std::string status(int result) {
    return std::to_string(result);
}

template <class Value>
std::string result(int status, const Value& value) {
    std::string text = ::status(status);
    if (status != 0) return text;
    if constexpr (std::is_arithmetic_v<Value>) {
        return text + ' ' + std::to_string(value);
    } else {
        return text + ' ' + value;
    }
}

// A raw element with another value would be an unnamed one.
bool isRaw(TQABinaryIterator& it, const Arguments& a) {
    return a.id == 0 && it.curID() == 0;
}

// Id 0, the element itself, will not do for all operations.
int named(const Arguments& a) {
    return a.id == 0 ? tqa::Tag_ve + 0 : a.id;
}

std::string textOf(const Arguments& a) {
    return std::string(a.number % 41, 'x');
}

const char* pathOf(const Arguments& a) {
    static const char* const kPaths[] = {"data", "/data/ve", "ve/veid",
                                         "/",    "veid/",    "/data/list/ve"};
    return kPaths[a.number % std::size(kPaths)];
}

const Operation kOperations[] = {
    [](auto& it, auto& a) { return status(it.seek(a.id)); },
    [](auto& it, auto& a) { return status(it.seek(a.id)); },
    [](auto& it, auto&) { return status(it.firstChild()); },
    [](auto& it, auto&) { return status(it.firstChild()); },
    [](auto& it, auto&) { return status(it.nextSibling()); },
    [](auto& it, auto&) { return status(it.nextSibling()); },
    [](auto& it, auto& a) { return status(it.nextSibling(a.id)); },
    [](auto& it, auto&) { return status(wayOf(it)->size() > 1 ? it.seekUp() : 1); },
    [](auto& it, auto&) { return status(it.seekRoot()); },
    [](auto& it, auto& a) { return status(it.seek(std::string(pathOf(a)))); },
    [](auto& it, auto& a) { return status(it.seekPresence(named(a))); },
    [](auto& it, auto& a) {
        int value = 0;
        return result(it.getValue(&value, a.id), value);
    },
    [](auto& it, auto& a) {
        std::string value;
        return result(it.getValue(&value, a.id), value);
    },
    [](auto& it, auto& a) {
        std::string value;
        return result(it.getValue(&value, std::string(pathOf(a))), value);
    },
    [](auto& it, auto&) {
        int value = 0;
        return result(it.getMessage()->getTimeout(&value), value);
    },
    [](auto& it, auto&) {
        std::string value;
        return result(it.getMessage()->getSession(&value), value);
    },
    [](auto& it, auto& a) {
        return isRaw(it, a) ? std::string("raw")
                            : status(it.putValue(static_cast<int>(a.number), a.id));
    },
    [](auto& it, auto& a) {
        return isRaw(it, a) ? std::string("raw") : status(it.putValue(textOf(a), a.id));
    },
    [](auto& it, auto& a) {
        return isRaw(it, a) ? std::string("raw") : status(it.putValue(textOf(a), a.id));
    },
    [](auto& it, auto& a) {
        return isRaw(it, a) ? std::string("raw") : status(it.putValueLongLong(a.number, a.id));
    },
    [](auto& it, auto& a) {
        return isRaw(it, a) ? std::string("raw") : status(it.putValueBase64(textOf(a), a.id));
    },
    [](auto& it, auto& a) { return status(it.putValue(textOf(a), std::string("veid"))); },
    [](auto& it, auto& a) { return status(it.putAttr(static_cast<int>(a.number), tqa::Attr_uid)); },
    [](auto& it, auto& a) { return status(it.newChild(named(a), 0)); },
    [](auto& it, auto& a) {
        return status(it.newChild(tqa::Tag_list, static_cast<int>(a.number % 3) * 201));
    },
    [](auto& it, auto& a) { return status(it.putChild(named(a), 0)); },
    [](auto& it, auto&) { return status(wayOf(it)->size() > 1 ? it.deleteFromChild() : 1); },
    [](auto& it, auto& a) {
        return status(it.seek(a.id) == 0 && wayOf(it)->size() > 1 ? it.deleteFromChild() : 1);
    },
    [](auto& it, auto& a) {
        std::string xml = "<ve id=\"" + textOf(a) + "\"><zz/><veid>1</veid></ve>";
        return status(it.fromTextToChild(xml.data()));
    },
    [](auto& it, auto& a) {
        std::string encoded =
            message(container(tqa::Tag_ve, stringElement(tqa::Tag_veid, textOf(a))));
        return status(it.encodeToChild(encoded.data(), static_cast<int>(encoded.size())));
    },
    [](auto& it, auto& a) {
        // Each below a list of its own, as an element with a value can't be raw.
        if (it.newChild(tqa::Tag_list, 0) != 0) return std::string("no list");
        std::string xml = "<list><zz>" + textOf(a) + "</zz><ve/><aa/></list>";
        return status(it.fromTextToChild(xml.data()));
    },
    [](auto& it, auto&) { return status(it.parseUnknown()); },
    [](auto& it, auto& a) {
        return status(it.getMessage()->setTimeout(static_cast<int>(a.number)));
    },
    [](auto& it, auto& a) { return status(it.getMessage()->setSession(textOf(a))); },
    [](auto& it, auto& a) { return status(it.putVE(static_cast<int>(a.number), "veid", false)); },
    [](auto& it, auto&) {
        IDRangeArray ids;
        return status(it.getVEList(ids, false));
    },
};

int idOf(std::uint32_t number) {
    static const int kIds[] = {0, tqa::Tag_data, tqa::Tag_ve, tqa::Tag_veid, tqa::Tag_list,
                               tqa::Tag_name, tqa::Attr_uid, tqa::Attr_timeout,
                               // The same bit as Tag_ve in a set of 64.
                               tqa::Tag_ve + 64};
    return kIds[number % std::size(kIds)];
}

// --- the comparison -----------------------------------------------------------------------------

bool isSound(const Message& m) {
    const std::string encoded = bytes(m);
    return tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr) == 0;
}

// Does it to the message and to a fresh one. False when the iterator does not know where it stands.
bool operate(const Message& m, TQABinaryIterator& it, Operation operation,
             const Arguments& arguments) {
    const std::optional<Way> way = wayOf(it);
    const Message fresh = load(bytes(m));
    const Cursor other = way ? follow(fresh, *way) : nullptr;
    // Kept: an iterator that has lost its way may stand on any bytes, and not have noticed.
    if (other == nullptr) return false;
    const std::string done = operation(it, arguments);
    EXPECT_EQ(done, operation(*other, arguments)) << tree(m) << '\n' << way->size();
    EXPECT_EQ(comparable(m), comparable(fresh));
    EXPECT_TRUE(isSound(m));
    EXPECT_EQ(wayOf(it), wayOf(*other));
    EXPECT_EQ(it.curID(), other->curID());
    return true;
}

constexpr std::size_t kMostBytes = 4096;

}  // namespace

TQA_TARGET(iterators) {
    tqa_fuzz::Numbers numbers(input.substr(0, 400));
    std::vector<Message> messages;
    messages.push_back(
        parse("<packet timeout=\"5\"><session>s</session><data><ve><veid>1</veid></ve><zz/>"
              "<list>  </list><ve><veid>2</veid><name>n</name></ve></data></packet>"));
    std::array<Cursor, 4> cursors;
    std::array<std::size_t, 4> on = {};
    for (Cursor& each : cursors) each = cursor(messages[0]);
    while (!numbers.atEnd()) {
        const std::uint32_t which = numbers();
        const std::size_t i = which % cursors.size();
        const std::uint32_t what = numbers();
        if (what == 250 && messages.size() < 3) {
            messages.push_back(copyOf(messages[on[i]]));
        } else if (what == 251) {
            on[i] = which / 4 % messages.size();
            cursors[i] = cursor(messages[on[i]]);
        } else if (what == 252) {
            cursors[i] = copyOf(cursors[which / 4 % cursors.size()]);
            on[i] = on[which / 4 % cursors.size()];
        } else {
            const Message& m = messages[on[i]];
            const Arguments arguments = {idOf(numbers()), numbers()};
            if (bytes(m).size() > kMostBytes) break;
            SCOPED_TRACE("operation " + std::to_string(what % std::size(kOperations)) + ", id " +
                         std::to_string(arguments.id) + ", iterator " + std::to_string(i));
            if (!operate(m, *cursors[i], kOperations[what % std::size(kOperations)], arguments))
                cursors[i] = cursor(m);
        }
    }
}
