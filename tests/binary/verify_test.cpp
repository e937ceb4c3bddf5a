// The check of received messages: what it accepts, what it refuses, and how it names the place.

#include "tqamsg/binary/verify.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/golden.h"
#include "tests/support/messages.h"
#include "tests/support/small_stack_thread.h"
#include "tests/util/out_of_memory.h"

#include <climits>
#include <cstdlib>
#include <sys/mman.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using namespace tqa_test;
using tqa::Fault;
using tqa::Kind;
using tqa::Report;

Report check(const std::string& encoded) {
    const Block block(encoded);
    Report report;
    const int status = tqa::verify(block.data(), block.size(), &report);
    EXPECT_EQ(status, report.fault == Fault::None ? 0 : -1);
    EXPECT_EQ(tqa::verify(block.data(), block.size(), nullptr), status);
    return report;
}

Fault faultIn(const std::string& encoded) {
    return check(encoded).fault;
}

Fault faultInPacket(const std::string& children) {
    return faultIn(message(container(tqa::Tag_packet, children)));
}

std::string withLength(std::string element, int length) {
    tqa::writeLength(element.data(), length);
    return element;
}

// --- sound messages -----------------------------------------------------------------------------

TEST(Verify, AcceptsEveryMessageKeptAsAFile) {
    for (const Golden& each : allGolden()) {
        const Report report = check(each.encoded);
        EXPECT_EQ(report.fault, Fault::None) << each.name << ": " << report.text;
        EXPECT_EQ(report.unknownCount, 0) << each.name << ": " << report.unknownPath;
    }
}

TEST(Verify, AcceptsWhatIsMadeStepByStep) {
    const Message m = create("packet");
    EXPECT_EQ(faultIn(bytes(m)), Fault::None);
    EXPECT_EQ(m->setVersion(40102), 0);
    EXPECT_EQ(m->setTime(0), 0);
    m->auth.addVE(5);
    const Cursor it = cursor(m);
    EXPECT_EQ(it->newChild("data", "types"), 0);
    EXPECT_EQ(it->putValueBase64("", tqa::Tag_body), 0);
    EXPECT_EQ(it->putValueDouble(0.5, tqa::Tag_cpu), 0);
    EXPECT_EQ(it->putValueLongLong(5, tqa::Tag_id), 0);
    EXPECT_EQ(it->putValueXML("<zz/>", tqa::Tag_list), 0);
    EXPECT_EQ(it->putValue("", tqa::Tag_name), 0);
    EXPECT_EQ(it->newChild("ve", ""), 0);
    EXPECT_EQ(faultIn(bytes(m)), Fault::None);
}

TEST(Verify, AcceptsARootOfAnyKind) {
    for (const char* xml : {"<packet/>", "<packet></packet>", "<zz/>"}) {
        EXPECT_EQ(faultIn(bytes(parse(xml))), Fault::None) << xml;
    }
}

TEST(Verify, AcceptsWhatBlankTextLeavesInALength) {
    for (const char* xml : {"<data></data>", "<data> </data>", "<data>  </data>"}) {
        const Message m = parse(xml);
        const Cursor it = cursor(m);
        ASSERT_EQ(it->putValue(5, tqa::Tag_veid), 0);
        EXPECT_EQ(faultIn(bytes(m)), Fault::None) << xml;
        ASSERT_EQ(it->seek(tqa::Tag_veid), 0);
        ASSERT_EQ(it->deleteFromChild(), 0);
        EXPECT_EQ(faultIn(bytes(m)), Fault::None) << xml;
    }
}

TEST(Verify, AcceptsAnyByteBehindBase64Bytes) {
    EXPECT_EQ(faultInPacket(element(tqa::Tag_body, Kind::Base64, "abc")), Fault::None);
}

TEST(Verify, DoesNotReadTheReservedFieldOrThePadding) {
    std::string encoded = message(container(tqa::Tag_packet, intElement(tqa::Tag_veid, 5)));
    for (const std::size_t at : {std::size_t{4}, std::size_t{20}, encoded.size() - 1}) {
        encoded[at] = 'x';
    }
    EXPECT_EQ(faultIn(encoded), Fault::None);
}

TEST(Verify, NeedsNoReport) {
    const Block sound(message(container(tqa::Tag_packet)));
    EXPECT_EQ(tqa::verify(sound.data(), sound.size(), nullptr), 0);
    EXPECT_EQ(tqa::verify(sound.data(), sound.size() - 1, nullptr), -1);
}

TEST(Verify, WritesTheWholeReport) {
    Report report = check(message(element(0, Kind::Int, number(5))));
    const std::string sound = message(container(tqa::Tag_packet));
    EXPECT_EQ(tqa::verify(sound.data(), static_cast<int>(sound.size()), &report), 0);
    EXPECT_EQ(report.fault, Fault::None);
    EXPECT_STREQ(report.text, "");
    EXPECT_EQ(report.offset, 0);
    EXPECT_EQ(report.path, "");
}

// --- faults of the whole ------------------------------------------------------------------------

TEST(Verify, RefusesWhatIsNotOneWholeMessage) {
    const std::string sound = message(container(tqa::Tag_packet, intElement(tqa::Tag_veid, 5)));
    EXPECT_EQ(tqa::verify(nullptr, 100, nullptr), -1);
    EXPECT_EQ(tqa::verify(sound.data(), -1, nullptr), -1);
    EXPECT_EQ(tqa::verify(sound.data(), INT_MIN, nullptr), -1);
    for (std::size_t size = 0; size < sound.size(); ++size) {
        EXPECT_EQ(faultIn(sound.substr(0, size)), size < 4 ? Fault::NotBinary : Fault::Incomplete);
    }
    EXPECT_EQ(faultIn(sound + '\0'), Fault::TrailingBytes);
    EXPECT_EQ(faultIn(sound + sound), Fault::TrailingBytes);
    EXPECT_EQ(faultIn("<packet/>\0"s), Fault::NotBinary);
    EXPECT_EQ(faultIn(message(withLength(container(tqa::Tag_packet), -1))), Fault::Incomplete);
    EXPECT_EQ(faultIn(message(withLength(container(tqa::Tag_packet), INT_MAX))), Fault::Incomplete);
}

TEST(Verify, RefusesWhatNoBufferCanHold) {
    // Pages that are never touched take no memory.
    constexpr std::size_t kRoom = INT_MAX;
    void* mapped = mmap(nullptr, kRoom, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED) GTEST_SKIP() << "no address space";
    const auto faultAtSize = [&](std::int64_t size) {
        auto* start = static_cast<char*>(mapped);
        const auto length = static_cast<std::int32_t>(size - tqa::kRootOffset - 16);
        const std::string header = element(tqa::Tag_packet, Kind::Untyped);
        const std::string head = message(withLength(header, length));
        std::memcpy(start, head.data(), head.size());
        Report report;
        tqa::verify(start, static_cast<int>(size), &report);
        return report.fault;
    };
    EXPECT_EQ(faultAtSize(tqa::kMaxCapacity), Fault::None);
    EXPECT_EQ(faultAtSize(tqa::kMaxCapacity + 8), Fault::TooLarge);
    munmap(mapped, kRoom);
}

// --- faults of an element -----------------------------------------------------------------------

TEST(Verify, RefusesSizesThatDoNotNest) {
    const std::string child = intElement(tqa::Tag_veid, 5);
    for (const int length : {-1, INT_MIN, INT_MAX, 12}) {
        EXPECT_EQ(faultInPacket(withLength(child, length)), Fault::DoesNotFit) << length;
        EXPECT_EQ(faultInPacket(child + withLength(child, length)), Fault::DoesNotFit) << length;
    }
    // What is left over is too short for an element.
    EXPECT_EQ(faultInPacket(child + std::string(8, '\0')), Fault::DoesNotFit);
    // A container that says less than its children take.
    for (int missing = 1; missing <= 4; ++missing) {
        EXPECT_EQ(faultInPacket(withLength(container(tqa::Tag_data, child), 24 - missing)),
                  Fault::WrongLength);
    }
}

TEST(Verify, RefusesUnknownKinds) {
    for (const int kind : {7, 49, 52, 0xFFFF}) {
        EXPECT_EQ(faultInPacket(element(tqa::Tag_veid, static_cast<Kind>(kind), "abc\0"s)),
                  Fault::UnknownKind);
    }
}

TEST(Verify, RefusesLengthsThatTheKindDoesNotHave) {
    const struct {
        Kind kind;
        int right;
    } fixed[] = {{Kind::Int, 4}, {Kind::LongLong, 8}, {Kind::Double, 8}};
    for (const auto& [kind, right] : fixed) {
        for (int length = 0; length < 12; ++length) {
            const std::string payload(static_cast<std::size_t>(length), '\0');
            EXPECT_EQ(faultInPacket(element(tqa::Tag_veid, kind, payload)),
                      length == right ? Fault::None : Fault::WrongLength)
                << static_cast<int>(kind) << ' ' << length;
        }
    }
    EXPECT_EQ(faultInPacket(element(tqa::Tag_body, Kind::Base64)), Fault::WrongLength);
}

TEST(Verify, RefusesTextsThatDoNotEndInAZeroByte) {
    for (const Kind kind : {Kind::Untyped, Kind::String, Kind::Time, Kind::Unparsed}) {
        EXPECT_EQ(faultInPacket(element(tqa::Tag_name, kind, "abc")), Fault::NoZeroByte);
        EXPECT_EQ(faultInPacket(element(tqa::Tag_name, kind, "ab\0c"s)), Fault::NoZeroByte);
        EXPECT_EQ(faultInPacket(element(tqa::Tag_name, kind, "abc\0"s)), Fault::None);
        EXPECT_EQ(faultInPacket(element(tqa::Tag_name, kind, "seven77\0"s)), Fault::None);
        EXPECT_EQ(faultInPacket(element(tqa::Tag_name, kind)),
                  kind == Kind::Untyped ? Fault::None : Fault::NoZeroByte);
    }
}

TEST(Verify, OnlyRawElementsAreUnnamed) {
    for (const int kind : {0, 1, 2, 3, 4, 5, 6, 7, 50}) {
        EXPECT_EQ(faultInPacket(element(0, static_cast<Kind>(kind), "1234567\0"s)), Fault::Unnamed);
    }
    EXPECT_EQ(faultInPacket(element(0, Kind::Unparsed, "<zz/>\0"s)), Fault::None);
    EXPECT_EQ(faultInPacket(element(tqa::Tag_veid, Kind::Unparsed, "<zz/>\0"s)), Fault::None);
}

// --- binary messages in raw elements ------------------------------------------------------------

TEST(Verify, ChecksWhatRawElementsHold) {
    const auto held = [](const std::string& inner) {
        return faultInPacket(element(0, Kind::Unparsed, inner) + intElement(tqa::Tag_veid, 5));
    };
    const std::string sound = message(container(tqa::Tag_data, intElement(tqa::Tag_veid, 5)));
    EXPECT_EQ(held(sound), Fault::None);
    EXPECT_EQ(held(sound + '\0'), Fault::None);
    EXPECT_EQ(held(sound + 'x'), Fault::TrailingBytes);
    EXPECT_EQ(held(sound + "\0\0"s), Fault::TrailingBytes);
    EXPECT_EQ(held(sound.substr(0, sound.size() - 1)), Fault::Incomplete);
    EXPECT_EQ(held(sound.substr(0, 8)), Fault::Incomplete);
    EXPECT_EQ(held(sound.substr(0, 4)), Fault::Incomplete);
    EXPECT_EQ(held(message(container(tqa::Tag_data, intElement(0, 5)))), Fault::Unnamed);
    EXPECT_EQ(held(message(container(0, intElement(tqa::Tag_veid, 5)))), Fault::Unnamed);
    EXPECT_EQ(held(message(element(0, Kind::Unparsed, sound))), Fault::None);
}

TEST(Verify, GoesOnBehindARawElement) {
    const std::string raw = element(0, Kind::Unparsed, message(container(tqa::Tag_data)) + '\0');
    EXPECT_EQ(check(message(container(tqa::Tag_packet, raw + intElement(0, 5)))).path,
              "packet/#0[2]");
}

// --- the place ----------------------------------------------------------------------------------

TEST(Verify, NamesTheFirstFaultByPathAndOffset) {
    const std::string bad = element(tqa::Tag_ve, Kind::Int, "x");
    const std::string ve = container(tqa::Tag_ve);
    const std::string veid = intElement(tqa::Tag_veid, 5);
    const struct {
        std::string children;
        int offset;
        const char* path;
    } cases[] = {
        {bad + bad, 24, "packet/ve"},
        {container(tqa::Tag_data, ve + veid + ve + bad) + bad, 24 + 16 + 16 + 24 + 16,
         "packet/data/ve[3]"},
        {container(tqa::Tag_data) + container(tqa::Tag_data, bad), 24 + 16 + 16,
         "packet/data[2]/ve"},
        {veid + element(tqa::Attr_id, Kind::Int, "x"), 24 + 24, "packet/@id"},
        {element(1999, Kind::Int, "x"), 24, "packet/#1999"},
        {element(-5, Kind::Int, "x"), 24, "packet/#-5"},
        {element(0, Kind::Unparsed, message(container(tqa::Tag_data, bad))), 24 + 16 - 4 + 8 + 16,
         "packet/#0/data/ve"},
        // The element around one that does not fit.
        {container(tqa::Tag_data, veid + withLength(bad, INT_MAX)), 24 + 16 + 24, "packet/data"},
    };
    for (const auto& each : cases) {
        const Report report = check(message(container(tqa::Tag_packet, each.children)));
        EXPECT_NE(report.fault, Fault::None) << each.path;
        EXPECT_EQ(report.path, each.path);
        EXPECT_EQ(report.offset, each.offset) << each.path;
    }
}

TEST(Verify, NamesTheFaultInWords) {
    EXPECT_STREQ(check("").text, "no binary message");
    EXPECT_STREQ(check(message(element(tqa::Tag_packet, Kind::Int))).text,
                 "the length does not suit the kind");
    EXPECT_STREQ(check(message(element(0, Kind::Int))).text, "an element without a name");
}

// --- words that the vocabulary does not have ----------------------------------------------------

TEST(Verify, WarnsOfUnknownIdentifiers) {
    const Report report = check(message(container(
        tqa::Tag_packet, container(tqa::Tag_data, intElement(1999, 5) + intElement(111, 5)) +
                             element(tqa::Tag_veid, Kind::Untyped, "", 263) +
                             element(tqa::Tag_veid, Kind::Untyped, "", tqa::Ns_types) +
                             intElement(-1, 5))));
    EXPECT_EQ(report.fault, Fault::None);
    EXPECT_EQ(report.unknownCount, 4);
    EXPECT_EQ(report.unknownOffset, 24 + 16);
    EXPECT_EQ(report.unknownPath, "packet/data/#1999");
    EXPECT_EQ(report.path, "");
}

TEST(Verify, CountsNoRawElementsAsUnknown) {
    EXPECT_EQ(check(bytes(parse("<packet><zz/><zz>1</zz></packet>"))).unknownCount, 0);
}

// --- size ---------------------------------------------------------------------------------------

constexpr std::size_t kLevels = 1000000;

TEST(Verify, RecursesNotAsDeepAsTheMessage) {
    const std::string bad = intElement(0, 5);
    const std::string deep = message(nested(tqa::Tag_ve, kLevels, bad));
    onSmallStack([&] {
        const Report report = check(deep);
        EXPECT_EQ(report.fault, Fault::Unnamed);
        EXPECT_EQ(report.offset, static_cast<int>(deep.size() - bad.size()));
        EXPECT_EQ(report.path.size(), kLevels * 3 + 2);
        EXPECT_EQ(report.path.substr(0, 8), "ve/ve/ve");
    });
}

// A message in a raw element in a message, so many times.
std::string rawInRaw(int levels) {
    std::string inner = message(container(tqa::Tag_ve));
    for (int level = 0; level < levels; ++level) {
        inner = message(container(tqa::Tag_ve, element(0, Kind::Unparsed, inner)));
    }
    return inner;
}

TEST(Verify, RefusesRawElementsThatHoldOneAnotherTooDeep) {
    EXPECT_EQ(faultIn(rawInRaw(tqa::kMaxRawDepth)), Fault::None);
    const Report report = check(rawInRaw(tqa::kMaxRawDepth + 1));
    EXPECT_EQ(report.fault, Fault::RawTooDeep);
    EXPECT_EQ(report.path.substr(0, 12), "ve/#0/ve/#0/");
    onSmallStack([] { EXPECT_EQ(faultIn(rawInRaw(1000)), Fault::RawTooDeep); });
}

TEST(Verify, CountsOnlyRawElementsAroundOneAnother) {
    std::string raws;
    for (int i = 0; i < 2 * tqa::kMaxRawDepth; ++i) {
        raws += element(0, Kind::Unparsed, rawInRaw(1));
    }
    EXPECT_EQ(faultInPacket(raws), Fault::None);
}

using VerifyDeathTest = testing::Test;

TEST(VerifyDeathTest, SaysThatItRanOutOfMemory) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const std::string deep = message(nested(tqa::Tag_ve, kLevels));
            const std::string flat = message(nested(tqa::Tag_ve, 32));
            Report report;
            starve();
            const int size = static_cast<int>(deep.size());
            bool right = tqa::verify(deep.data(), size, &report) == -2;
            right = right && report.fault == Fault::NoMemory;
            right = right && tqa::verify(flat.data(), static_cast<int>(flat.size()), &report) == 0;
            std::_Exit(right ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
