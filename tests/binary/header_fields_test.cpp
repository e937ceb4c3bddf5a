// The ten header fields of a message, through their twenty accessors.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <climits>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

std::string zero(std::string_view text) {
    return std::string(text) + '\0';
}

// A setter, its getter and how the field is stored. Values of all fields as texts.
struct Field {
    const char* name;
    int id;
    int (*set)(TQABinary&, const std::string&);
    int (*get)(TQABinary&, std::string*);
    Kind kind;
    std::string value;
    std::string payload;  // of that value
};

// Accessors of numbers behind those of texts.
template <int (TQABinary::*setter)(int)>
int setInt(TQABinary& m, const std::string& value) {
    return (m.*setter)(std::stoi(value));
}

template <int (TQABinary::*getter)(int*)>
int getInt(TQABinary& m, std::string* value) {
    int number = INT_MIN;
    const int status = (m.*getter)(&number);
    if (number != INT_MIN) *value = std::to_string(number);
    return status;
}

int setTime(TQABinary& m, const std::string& value) {
    return m.setTime(std::stol(value));
}

int getTime(TQABinary& m, std::string* value) {
    long time = LONG_MIN;
    const int status = m.getTime(&time);
    if (time != LONG_MIN) *value = std::to_string(time);
    return status;
}

const Field kFields[] = {
    {"version", 101, setInt<&TQABinary::setVersion>, getInt<&TQABinary::getVersion>, Kind::String,
     "40102", zero("4.1.2")},
    {"id", 102, [](TQABinary& m, const std::string& value) { return m.setID(value); },
     [](TQABinary& m, std::string* value) { return m.getID(value); }, Kind::String, "m1",
     zero("m1")},
    {"priority", 103, setInt<&TQABinary::setPriority>, getInt<&TQABinary::getPriority>, Kind::Int,
     "-4000", number(-4000)},
    {"time", 104, setTime, getTime, Kind::Time, "86400", zero("1970-01-02T00:00:00+0000")},
    {"type", 105, setInt<&TQABinary::setType>, getInt<&TQABinary::getType>, Kind::Int, "2",
     number(2)},
    {"progress", 106, setInt<&TQABinary::setProgress>, getInt<&TQABinary::getProgress>,
     Kind::String, "1", zero("on")},
    {"timeout", 107, setInt<&TQABinary::setTimeout>, getInt<&TQABinary::getTimeout>, Kind::Int,
     "30", number(30)},
    {"timeout_limit", 108, setInt<&TQABinary::setTimeoutLimit>, getInt<&TQABinary::getTimeoutLimit>,
     Kind::Int, "60", number(60)},
    {"uid", 109, setInt<&TQABinary::setUid>, getInt<&TQABinary::getUid>, Kind::Int, "0", number(0)},
    {"log", 110, setInt<&TQABinary::setLog>, getInt<&TQABinary::getLog>, Kind::String, "0",
     zero("off")},
};

// What a getter says: the value, or its status and a value that it wrote all the same.
std::string read(const Field& field, const Message& m) {
    std::string value = "untouched";
    const int status = field.get(*m, &value);
    return status == 0 ? value : std::to_string(status) + ' ' + value;
}

const std::string kMissing = "-1 untouched";

Message with(std::string_view field) {
    return load(message(container(tqa::Tag_packet, field)));
}

// --- every field --------------------------------------------------------------------------------

TEST(HeaderFields, ANewMessageHasNone) {
    const Message m = create("packet");
    for (const Field& field : kFields) EXPECT_EQ(read(field, m), kMissing) << field.name;
}

TEST(HeaderFields, SettingOneAppendsAChildOfTheRoot) {
    for (const Field& field : kFields) {
        const Message m = create("packet");
        ASSERT_EQ(field.set(*m, field.value), 0) << field.name;
        EXPECT_EQ(bytes(m),
                  message(container(tqa::Tag_packet, element(field.id, field.kind, field.payload))))
            << field.name;
        EXPECT_EQ(read(field, m), field.value) << field.name;
        for (const Field& other : kFields) {
            EXPECT_EQ(read(other, m), other.id == field.id ? field.value : kMissing);
        }
    }
}

TEST(HeaderFields, SettingOneAgainReplacesItInPlace) {
    const Message m = create("packet");
    std::string children;
    for (const Field& field : kFields) {
        ASSERT_EQ(field.set(*m, field.id == 102 ? "a much longer text" : "1"), 0);
        children += element(field.id, field.kind, field.payload);
    }
    for (const Field& field : kFields) ASSERT_EQ(field.set(*m, field.value), 0) << field.name;
    EXPECT_EQ(tree(m), tree(message(container(tqa::Tag_packet, children))));
    for (const Field& field : kFields) EXPECT_EQ(read(field, m), field.value) << field.name;
}

TEST(HeaderFields, PrintAsAttributesOfTheRoot) {
    const Message m = create("packet");
    for (const Field& field : kFields) ASSERT_EQ(field.set(*m, field.value), 0);
    EXPECT_EQ(text(m),
              "<packet log=\"off\" uid=\"0\" timeout_limit=\"60\" timeout=\"30\" progress=\"on\""
              " type=\"2\" time=\"1970-01-02T00:00:00+0000\" priority=\"-4000\" id=\"m1\""
              " version=\"4.1.2\">\n</packet>\n");
}

TEST(HeaderFields, ReadFromAttributesOfAText) {
    const Message m = parse(
        "<packet log=\"off\" uid=\"0\" timeout_limit=\"60\" timeout=\"30\" progress=\"on\" "
        "type=\"2\""
        " time=\"1970-01-02T00:00:00+0000\" priority=\"-4000\" id=\"m1\" "
        "version=\"4.1.2\"></packet>");
    for (const Field& field : kFields) EXPECT_EQ(read(field, m), field.value) << field.name;
}

TEST(HeaderFields, TheFirstOfSeveralCounts) {
    for (const Field& field : kFields) {
        const Message m = with(element(field.id, field.kind, field.payload) +
                               element(field.id, Kind::String, zero("9")));
        EXPECT_EQ(read(field, m), field.value) << field.name;
    }
}

TEST(HeaderFields, ChildrenNamedLikeAFieldAreNoFields) {
    // The words are tag words too.
    const Message m = parse(
        "<packet><version>1.2.3</version><id>x</id><priority>1</priority><time>1</time><type>1</"
        "type>"
        "<progress>on</progress><log>on</log><timeout>1</timeout><timeout_limit>1</timeout_limit>"
        "<uid>1</uid></packet>");
    for (const Field& field : kFields) EXPECT_EQ(read(field, m), kMissing) << field.name;
}

TEST(HeaderFields, NeedAContentAndARoot) {
    const Message never = emptyMessage();
    const Message rootless = create("packet");
    ASSERT_EQ(cursor(rootless)->deleteFromChild(), 0);
    const Message released = create("packet");
    released->releaseInternals();
    for (const Field& field : kFields) {
        for (const Message* m : {&never, &rootless, &released}) {
            EXPECT_EQ(field.set(**m, field.value), -1) << field.name;
            EXPECT_EQ(read(field, *m), kMissing) << field.name;
        }
    }
}

TEST(HeaderFields, ARootThatHoldsAValueTakesNone) {
    const std::string before = message(stringElement(tqa::Tag_packet, "x"));
    const Message m = load(before);
    for (const Field& field : kFields) {
        EXPECT_EQ(field.set(*m, field.value), -1) << field.name;
        EXPECT_EQ(read(field, m), kMissing) << field.name;
    }
    EXPECT_EQ(bytes(m), before);
}

TEST(HeaderFields, UnreadableOnesAreMissing) {
    for (const Field& field : kFields) {
        const bool takesText = field.kind != Kind::Time;
        for (const std::string& stored :
             {element(field.id, Kind::Base64, zero("1")), container(field.id),
              container(field.id, intElement(1002, 5)),
              element(field.id, Kind::Unparsed, zero("1")), element(field.id, Kind::Int, "1"),
              element(field.id, Kind{7}, zero("1"))}) {
            EXPECT_EQ(read(field, with(stored)), kMissing) << field.name;
        }
        // A text is enough for numbers and texts, but not for times.
        const std::string text = field.id == 106 || field.id == 110 ? "on" : "1";
        const Message m = with(element(field.id, Kind::Untyped, zero(text)));
        EXPECT_EQ(read(field, m), takesText ? "1" : kMissing) << field.name;
    }
}

// --- versions -----------------------------------------------------------------------------------

TEST(HeaderVersion, IsWrittenAsThreeNumbers) {
    const struct {
        int version;
        const char* text;
    } cases[] = {
        {40102, "4.1.2"},
        {0, "0.0.0"},
        {1, "0.0.1"},
        {99, "0.0.99"},
        {100, "0.1.0"},
        {10000, "1.0.0"},
        {999999, "99.99.99"},
        {1234567, "123.45.67"},
        {-40102, "-4.-1.-2"},
        {INT_MAX, "214748.36.47"},
        {INT_MIN, "-214748.-36.-48"},
    };
    for (const auto& c : cases) {
        const Message m = create("packet");
        ASSERT_EQ(m->setVersion(c.version), 0);
        EXPECT_EQ(bytes(m),
                  message(container(tqa::Tag_packet, stringElement(tqa::Attr_version, c.text))));
    }
}

TEST(HeaderVersion, IsFoldedFromAnyGroups) {
    const struct {
        const char* text;
        int version;
    } cases[] = {
        {"4.1.2", 40102},
        {"4.0", 400},
        {"4.1", 401},
        {"4", 4},
        {"1.2.3.4", 1020304},
        {"4..1", 40001},
        {"", 0},
        {".", 0},
        {"4.1.", 40100},
        {"4.1-2", 40102},
        {"4.123.2", 52302},
        {"v4", 4},
        {"4.1.2b", 4010200},
    };
    for (const auto& c : cases) {
        for (const Kind kind : {Kind::String, Kind::Untyped}) {
            const Message m = with(element(tqa::Attr_version, kind, zero(c.text)));
            int version = -77;
            EXPECT_EQ(m->getVersion(&version), 0) << c.text;
            EXPECT_EQ(version, c.version) << c.text;
        }
    }
}

TEST(HeaderVersion, ReadsBackAsItWasSet) {
    const Message m = create("packet");
    for (const int version : {0, 1, 40102, 999999, 10203, 1000000}) {
        ASSERT_EQ(m->setVersion(version), 0);
        int read = -77;
        EXPECT_EQ(m->getVersion(&read), 0);
        EXPECT_EQ(read, version);
    }
}

TEST(HeaderVersion, ANumberIsReadAsItsText) {
    int version = -77;
    EXPECT_EQ(with(intElement(tqa::Attr_version, 7))->getVersion(&version), 0);
    EXPECT_EQ(version, 7);
}

// --- flags --------------------------------------------------------------------------------------

TEST(HeaderFlags, AreOnAndOffExactly) {
    const struct {
        const char* text;
        int status, value;
    } cases[] = {{"on", 0, 1},     {"off", 0, 0},    {"ON", -1, -77},
                 {"Off", -1, -77}, {"", -1, -77},    {"1", -1, -77},
                 {"on ", -1, -77}, {"onn", -1, -77}, {"true", -1, -77}};
    for (const auto& c : cases) {
        for (const Kind kind : {Kind::String, Kind::Untyped}) {
            const Message m = with(element(tqa::Attr_progress, kind, zero(c.text)) +
                                   element(tqa::Attr_log, kind, zero(c.text)));
            int progress = -77;
            int log = -77;
            EXPECT_EQ(m->getProgress(&progress), c.status) << c.text;
            EXPECT_EQ(m->getLog(&log), c.status) << c.text;
            EXPECT_EQ(progress, c.value) << c.text;
            EXPECT_EQ(log, c.value) << c.text;
        }
    }
}

TEST(HeaderFlags, AnyNumberButZeroIsOn) {
    const Message m = create("packet");
    for (const int on : {1, -1, 2, INT_MIN}) {
        ASSERT_EQ(m->setProgress(0), 0);
        ASSERT_EQ(m->setLog(0), 0);
        EXPECT_EQ(tree(m), "1398:50(106:2=6F666600 110:2=6F666600)");
        ASSERT_EQ(m->setProgress(on), 0);
        ASSERT_EQ(m->setLog(on), 0);
        EXPECT_EQ(tree(m), "1398:50(106:2=6F6E00 110:2=6F6E00)");
    }
}

// --- ids and times ------------------------------------------------------------------------------

TEST(HeaderFields, AnIdIsAnyText) {
    const Message m = create("packet");
    std::string id;
    for (const std::string& value :
         {std::string(), std::string("a<b&\"c"), std::string(5000, 'x')}) {
        ASSERT_EQ(m->setID(value), 0);
        EXPECT_EQ(m->getID(&id), 0);
        EXPECT_EQ(id, value);
    }
    ASSERT_EQ(m->setID(std::string("ab\0cd", 5)), 0);
    EXPECT_EQ(tree(m), "1398:50(102:2=616200636400)");
    EXPECT_EQ(m->getID(&id), 0);
    EXPECT_EQ(id, "ab");
}

TEST(HeaderFields, ATimeThatCannotBeWrittenIsRefused) {
    const Message m = create("packet");
    EXPECT_EQ(m->setTime(LONG_MAX), -1);
    EXPECT_EQ(tree(m), "1398:50()");
    ASSERT_EQ(m->setTime(1118124550), 0);
    EXPECT_EQ(m->setTime(LONG_MIN), -1);
    long time = 0;
    EXPECT_EQ(m->getTime(&time), 0);
    EXPECT_EQ(time, 1118124550);
}

TEST(HeaderFields, OnesThatHoldElementsTakeNoValue) {
    for (const Field& field : kFields) {
        const Message m = with(container(field.id, intElement(1002, 5)));
        const std::string before = bytes(m);
        EXPECT_EQ(field.set(*m, field.value), -1) << field.name;
        EXPECT_EQ(bytes(m), before) << field.name;
    }
}

}  // namespace
