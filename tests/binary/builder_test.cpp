// The builder makes the bytes that an iterator makes, and says what is wrong with what it was told.

#include "tqamsg/binary/builder.h"

#include "tests/support/failing_new.h"
#include "tests/support/messages.h"
#include "tests/util/out_of_memory.h"

#include <climits>
#include <random>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Builder;
using tqa::Kind;
using Fault = tqa::Builder::Fault;

Message finished(Builder& builder) {
    auto* made = dynamic_cast<TQABinary*>(builder.finish());
    EXPECT_NE(made, nullptr) << static_cast<int>(builder.fault());
    return Message(made);
}

// --- the same script through both ---------------------------------------------------------------

// One element with a value, or two, put by a builder, and by an iterator at the end of its element.
struct Put {
    const char* what;
    void (*build)(Builder& builder, int id, const std::string& text);
    int (*iterate)(TQABinaryIterator& at, int id, const std::string& text);
};

template <class Fill>
int inNewChild(TQABinaryIterator& at, int id, int ns, Fill fill) {
    if (at.newChild(id, ns) != 0) return -1;
    const int status = fill();
    at.seekUp();
    return status;
}

const Put kPuts[] = {
    {"int", [](Builder& b, int id, auto& text) { b.put(id, static_cast<int>(text.size()) - 9); },
     [](auto& at, int id, auto& text) {
         return at.putValue(static_cast<int>(text.size()) - 9, id);
     }},
    {"bool", [](Builder& b, int id, auto& text) { b.put(id, text.empty()); },
     [](auto& at, int id, auto& text) { return at.putValue(text.empty(), id); }},
    {"long long", [](Builder& b, int id, auto&) { b.put(id, LLONG_MIN + 5); },
     [](auto& at, int id, auto&) { return at.putValueLongLong(LLONG_MIN + 5, id); }},
    {"long", [](Builder& b, int id, auto&) { b.put(id, 5L); },
     [](auto& at, int id, auto&) { return at.putValueLongLong(5, id); }},
    {"double", [](Builder& b, int id, auto&) { b.put(id, 0.25); },
     [](auto& at, int id, auto&) { return at.putValueDouble(0.25, id); }},
    {"text", [](Builder& b, int id, auto& text) { b.put(id, text); },
     [](auto& at, int id, auto& text) { return at.putValue(text, id); }},
    {"time", [](Builder& b, int id, auto&) { b.putTime(id, 1118131750); },
     [](auto& at, int id, auto&) { return at.putValueTime(1118131750, id); }},
    {"bytes", [](Builder& b, int id, auto& text) { b.putBase64(id, text); },
     [](auto& at, int id, auto& text) { return at.putValueBase64(text, id); }},
    {"flag", [](Builder& b, int id, auto& text) { b.putFlag(id, text.empty()); },
     [](auto& at, int id, auto& text) {
         return at.putValue(std::string(text.empty() ? "on" : "off"), id);
     }},
    {"raw", [](Builder& b, int, auto& text) { b.putRaw(text); },
     [](auto& at, int, auto& text) {
         return inNewChild(at, 0, 0, [&] { return at.putValueXML(text, 0); });
     }},
    {"empty",
     [](Builder& b, int id, auto& text) { b.open(id, static_cast<int>(text.size())).close(); },
     [](auto& at, int id, auto& text) {
         return inNewChild(at, id, static_cast<int>(text.size()), [] { return 0; });
     }},
};

// A put by id replaces what is there already, so an id that is taken gets a child of its own.
int putAnew(const Put& put, TQABinaryIterator& at, int id, const std::string& text) {
    if (at.seekPresence(id) != 0) return put.iterate(at, id, text);
    return inNewChild(at, id, 0, [&] { return put.iterate(at, 0, text); });
}

bool namesAChild(const Put& put) {
    return std::string_view(put.what) != "raw" && std::string_view(put.what) != "empty";
}

// Random steps, the same with a builder and with an iterator.
class Script {
  public:
    explicit Script(unsigned seed) : random_(seed) {
        message_ = create(root_);
        at_ = cursor(message_);
        builder_.open(root_);
    }

    void step() {
        const unsigned choice = upTo(9);
        if (choice < 2) {
            open(upTo(6) + 1001, upTo(1) * upTo(0xFFFF));
        } else if (choice < 4 && depth_ > 0) {
            close();
        } else {
            put(kPuts[upTo(std::size(kPuts) - 1)], upTo(20) + 101);
        }
    }

    void end() {
        while (depth_ > 0) close();
        builder_.close();
    }

    Builder& builder() { return builder_; }
    const Message& message() { return message_; }

  private:
    unsigned upTo(std::size_t last) { return static_cast<unsigned>(random_() % (last + 1)); }

    void open(unsigned id, unsigned ns) {
        ++depth_;
        builder_.open(static_cast<int>(id), static_cast<int>(ns));
        ASSERT_EQ(at_->newChild(static_cast<int>(id), static_cast<int>(ns)), 0);
    }
    void close() {
        --depth_;
        builder_.close();
        at_->seekUp();
    }
    void put(const Put& put, unsigned id) {
        const std::string text(upTo(20), 'x');
        put.build(builder_, static_cast<int>(id), text);
        const int status = namesAChild(put) ? putAnew(put, *at_, static_cast<int>(id), text)
                                            : put.iterate(*at_, static_cast<int>(id), text);
        ASSERT_EQ(status, 0) << put.what;
    }

    static constexpr int root_ = 1398;
    std::mt19937 random_;
    Message message_;
    Cursor at_;
    Builder builder_;
    int depth_ = 0;
};

TEST(Builder, MakesTheBytesThatAnIteratorMakes) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        Script script(seed);
        for (unsigned step = 0; step < seed; ++step) script.step();
        script.end();
        ASSERT_EQ(hex(finished(script.builder())), hex(script.message())) << "seed " << seed;
    }
}

TEST(Builder, MakesTheBytesOfEachKindOfValue) {
    for (const Put& put : kPuts) {
        for (std::size_t length = 0; length < 20; ++length) {
            const std::string text(length, 'x');
            const Message m = create(1398);
            ASSERT_EQ(put.iterate(*cursor(m), 1002, text), 0);
            Builder builder;
            put.build(builder.open(1398), 1002, text);
            builder.close();
            EXPECT_EQ(hex(finished(builder)), hex(m)) << put.what << ' ' << length;
        }
    }
}

TEST(Builder, WritesHeaderFieldsAsTheSettersDo) {
    const Message m = create("packet");
    m->setVersion(40102);
    m->setID("c4001");
    m->setPriority(1);
    m->setTime(1118131750);
    m->setType(2);
    m->setProgress(1);
    m->setLog(0);
    m->setTimeout(30);
    m->setTimeoutLimit(600);
    m->setUid(1000);
    Builder builder;
    builder.open("packet").version(40102).id("c4001").priority(1).time(1118131750).type(2);
    builder.progress(true).log(false).timeout(30).timeoutLimit(600).uid(1000).close();
    EXPECT_EQ(hex(finished(builder)), hex(m));
}

TEST(Builder, TakesAnUnsignedNumberAsWhoeverReadsAnIntExpects) {
    const struct {
        unsigned long long value;
        std::string tree;
    } cases[] = {{0, "1002:1=00000000"},
                 {INT_MAX, "1002:1=FFFFFF7F"},
                 {INT_MAX + 1ULL, "1002:3=0000008000000000"},
                 {UINT_MAX, "1002:3=FFFFFFFF00000000"},
                 {LLONG_MAX, "1002:3=FFFFFFFFFFFFFF7F"}};
    for (const auto& each : cases) {
        Builder builder;
        builder.open(1398).put(1002, each.value).close();
        EXPECT_EQ(tree(finished(builder)), "1398:50(" + each.tree + ")");
        builder.open(1398).put(1002, static_cast<unsigned long>(each.value)).close();
        EXPECT_EQ(tree(finished(builder)), "1398:50(" + each.tree + ")");
        if (each.value > UINT_MAX) continue;
        builder.open(1398).put(1002, static_cast<unsigned>(each.value)).close();
        EXPECT_EQ(tree(finished(builder)), "1398:50(" + each.tree + ")");
    }
}

TEST(Builder, TakesWordsForIds) {
    Builder words;
    words.open("packet").put(tqa::Name::attribute("priority"), 1).open("data", "vem");
    words.put(std::string("veid"), 5).open("vem", "").closeAll();
    Builder ids;
    ids.open(tqa::Tag_packet).put(tqa::Attr_priority, 1).open(tqa::Tag_data, tqa::Ns_vem);
    ids.put(tqa::Tag_veid, 5).open(tqa::Tag_vem).closeAll();
    EXPECT_EQ(hex(finished(words)), hex(finished(ids)));
}

TEST(Builder, CopiesAnElementOfAnotherMessage) {
    const Message from = parse("<data><vem><veid>5</veid> </vem><vem/><name>abc</name></data>");
    const Message m = create("packet");
    Builder builder;
    builder.open("packet");
    const Cursor source = cursor(from);
    for (const char* path : {"/vem", "/name", "/"}) {
        ASSERT_EQ(source->seek(path), 0);
        std::string part = bytes(source);
        ASSERT_EQ(cursor(m)->encodeToChild(part.data(), static_cast<int>(part.size())), 0);
        builder.put(tqa::elementOf(*source));
    }
    EXPECT_EQ(hex(finished(builder.close())), hex(m));
}

TEST(Builder, ARootWithoutChildrenIsAContainer) {
    Builder builder;
    EXPECT_EQ(hex(finished(builder.open("packet").close())), hex(create("packet")));
}

TEST(Builder, BuildsAMillionLevels) {
    constexpr int kLevels = 1000000;
    Builder builder;
    for (int i = 0; i < kLevels; ++i) builder.open(tqa::Tag_data);
    builder.put(1002, 5).closeAll();
    const std::string want = message(nested(tqa::Tag_data, kLevels, intElement(1002, 5)));
    EXPECT_TRUE(bytes(finished(builder)) == want);
}

// --- the result ---------------------------------------------------------------------------------

TEST(Builder, HandsOutTheBytesAlone) {
    Builder builder;
    builder.open("packet").put(1002, 5).close();
    char* buf = nullptr;
    int len = 0;
    ASSERT_EQ(builder.finish(&buf, &len), 0);
    const tqa::CText owned(buf);
    EXPECT_EQ(tree({buf, static_cast<std::size_t>(len)}), "1398:50(1002:1=05000000)");
    EXPECT_EQ(builder.fault(), Fault::Unfinished);
}

TEST(Builder, ItsMessageIsLikeAnyOther) {
    Builder builder;
    const Message m = finished(builder.open("packet").put(1002, 5).close());
    const Message copy = copyOf(m);
    EXPECT_EQ(cursor(m)->putValue(std::string(5000, 'x'), 1003), 0);
    EXPECT_EQ(m->setTarget("vem"), 0);
    EXPECT_EQ(tree(copy), "1398:50(1002:1=05000000)");
    EXPECT_EQ(m->getTarget(), "vem");
}

TEST(Builder, IsANewOneAfterItsResultWasTaken) {
    Builder builder;
    finished(builder.open("packet").put(1002, 5).close());
    EXPECT_EQ(tree(finished(builder.open("data").close())), "1307:50()");
}

TEST(Builder, AnUnfinishedMessageMayStillBeFinished) {
    Builder builder;
    EXPECT_EQ(builder.finish(), nullptr);
    builder.open("packet").open("data");
    char* buf = nullptr;
    int len = 0;
    EXPECT_EQ(builder.finish(), nullptr);
    EXPECT_EQ(builder.finish(&buf, &len), -1);
    EXPECT_EQ(builder.fault(), Fault::Unfinished);
    EXPECT_EQ(tree(finished(builder.closeAll())), "1398:50(1307:0=)");
}

TEST(Builder, MovesWithWhatItHolds) {
    Builder first;
    first.open("packet");
    Builder second(std::move(first));
    second.put(1002, 5);
    first = std::move(second);
    EXPECT_EQ(tree(finished(first.close())), "1398:50(1002:1=05000000)");
    EXPECT_EQ(tree(finished(second.open("data").close())), "1307:50()");
}

// --- faults -------------------------------------------------------------------------------------

TEST(Builder, SaysWhatIsWrongAndStaysWithTheFirstFault) {
    const struct {
        const char* what;
        Fault fault;
        void (*build)(Builder&);
    } cases[] = {
        {"nothing", Fault::Unfinished, [](Builder&) {}},
        {"an open root", Fault::Unfinished, [](Builder& b) { b.open("packet"); }},
        {"close without open", Fault::NothingOpen, [](Builder& b) { b.close(); }},
        {"one close too many", Fault::NothingOpen,
         [](Builder& b) { b.open("packet").close().close(); }},
        {"a value without a root", Fault::NothingOpen, [](Builder& b) { b.put(1002, 5); }},
        {"a value behind the root", Fault::NothingOpen,
         [](Builder& b) { b.open("packet").close().put("name", "x"); }},
        {"raw text behind the root", Fault::NothingOpen,
         [](Builder& b) { b.open("packet").close().putRaw("<x/>"); }},
        {"a second root", Fault::SecondRoot,
         [](Builder& b) { b.open("packet").close().open("packet"); }},
        {"an unknown root", Fault::UnknownWord, [](Builder& b) { b.open("nosuchword"); }},
        {"an unknown element", Fault::UnknownWord,
         [](Builder& b) { b.open("packet").open("nosuchword"); }},
        {"an unknown value", Fault::UnknownWord,
         [](Builder& b) { b.open("packet").put("nosuchword", "x"); }},
        {"an unknown attribute", Fault::UnknownWord,
         [](Builder& b) { b.open("packet").put(tqa::Name::attribute("veid"), 5); }},
        {"an unknown namespace", Fault::UnknownWord,
         [](Builder& b) { b.open("packet").open("data", "nosuchword"); }},
        {"a namespace beyond 16 bits", Fault::UnknownWord,
         [](Builder& b) { b.open("packet").open("data", 0x10000); }},
        {"id 0", Fault::UnknownWord, [](Builder& b) { b.open("packet").put(0, 5); }},
        {"a time without a text", Fault::BadValue,
         [](Builder& b) { b.open("packet").putTime("time", LONG_MAX); }},
        {"a number of 64 bits", Fault::BadValue,
         [](Builder& b) { b.open("packet").put("used", ULLONG_MAX); }},
        {"no element", Fault::BadValue,
         [](Builder& b) { b.open("packet").put(tqa::ElementView()); }},
    };
    for (const auto& each : cases) {
        Builder builder;
        each.build(builder);
        EXPECT_EQ(builder.fault(), each.fault) << each.what;
        EXPECT_EQ(builder.finish(), nullptr) << each.what;
        if (each.fault == Fault::Unfinished) continue;
        builder.open("packet").put(1002, 5).put("nosuchword", 5).closeAll().close();
        EXPECT_EQ(builder.fault(), each.fault) << each.what;
        EXPECT_EQ(builder.finish(), nullptr) << each.what;
        builder.clear();
        EXPECT_EQ(tree(finished(builder.open("data").close())), "1307:50()") << each.what;
    }
}

TEST(Builder, NeedsMemoryForItsMessage) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    for (const int before : {0, 2}) {  // the message; its shared counter may wait; its record
        Builder builder;
        {
            const FailingNew failing(before);
            builder.open("packet");
        }
        EXPECT_EQ(builder.close().fault(), Fault::NoMemory) << before;
        EXPECT_EQ(builder.finish(), nullptr);
    }
}

TEST(BuilderDeathTest, SaysWhenItsBufferCannotGrow) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    const auto fill = [] {
        const std::string text(1 << 20, 'x');
        Builder builder;
        builder.open("packet");
        starve();
        for (int i = 0; i < 1000; ++i) builder.put(tqa::Tag_name, text);
        ::_exit(builder.fault() == Fault::NoMemory && builder.finish() == nullptr ? 0 : 1);
    };
    EXPECT_EXIT(fill(), testing::ExitedWithCode(0), "");
}

}  // namespace
