// Texts, numbers, Base64, sets of ids and logging without memory.

#include "tqamsg/host/id_range_array.h"
#include "tqamsg/util/base64.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/util/ip_text.h"
#include "tqamsg/util/log.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/util/small_stack.h"
#include "tqamsg/util/strings.h"
#include "tqamsg/util/time_text.h"
#include "tqamsg/util/version_text.h"

#include "tests/nomem/sweep.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace tqa_test;

const std::string kLong(1000, 'x');
const std::string kEncoded = Base64::encode(kLong);
const std::string kAddress = "10.20.30.40";
const std::string kInText = " 2005-06-07T08:09:10+0000 ";

struct UtilityStage {
    UtilityStage() {
        ids.insert(3, 9);
        ids.insert(20);
        others.insert(5, 12);
        others.insert(30, 40);
    }

    std::string text = "before";
    std::string argument = "  \t" + kLong + " \n";
    IDRangeArray ids;
    IDRangeArray others;
    unsigned int address = 0;
    tqa::TextBuffer buffer;
    tqa::CText block;

    std::string outcome() const {
        std::string all = text + argument + std::to_string(address);
        for (auto range = ids.begin_range(); range != ids.end(); ++range) {
            all += ' ' + std::to_string((*range).first) + '-' + std::to_string((*range).second);
        }
        return all + (block == nullptr ? "" : block.get());
    }
    std::string state() const { return outcome(); }
    void rewind() {}
    void reload() {}
    void again() { buffer = tqa::TextBuffer(); }
};

using S = UtilityStage;

const Scenario<S> kScenarios[] = {
    {"Base64 encode", [](S& s) { return s.text = Base64::encode(kLong), 0; }, kMayThrow},
    {"Base64 decode", [](S& s) { return Base64::decode(kEncoded, &s.text); }},
    {"Base64 decode of bytes",
     [](S& s) {
         return Base64::decode(kEncoded.data(), static_cast<int>(kEncoded.size()), &s.text);
     }},
    {"Base64 decode to a text",
     [](S& s) {
         std::string decoded = Base64::decode(kEncoded);
         if (decoded.empty()) return -1;
         s.text = std::move(decoded);
         return 0;
     }},
    {"longToStr", [](S& s) { return s.text = longToStr(LONG_MIN), 0; }, kMayThrow},
    {"ulongToStr", [](S& s) { return s.text = ulongToStr(ULONG_MAX), 0; }, kMayThrow},
    {"longlongToStr", [](S& s) { return s.text = longlongToStr(LLONG_MIN), 0; }, kMayThrow},
    {"intToStr", [](S& s) { return s.text = intToStr(INT_MIN), 0; }, kMayThrow},
    {"doubleToStr", [](S& s) { return s.text = doubleToStr(1e300), 0; }, kMayThrow},
    {"toStr", [](S& s) { return s.text = toStr("%100d", 5), 0; }, kMayThrow},
    {"toLower", [](S& s) { return s.text = toLower(kLong), 0; }, kMayThrow},
    {"toUpper", [](S& s) { return s.text = toUpper(kLong), 0; }, kMayThrow},
    {"strip_spaces", [](S& s) { return strip_spaces(s.argument).empty() ? -1 : 0; }, kMayThrow},
    {"chomp", [](S& s) { return chomp(s.argument, "\n").empty() ? -1 : 0; }, kMayThrow},
    {"strToIp", [](S& s) { return strToIp(kAddress, &s.address); }},
    {"ipToStr", [](S& s) { return s.text = ipToStr(0xFFFFFFFF), 0; }, kMayThrow},
    {"str2time", [](S&) { return str2time(kInText.c_str()) == -1 ? -1 : 0; }},
    {"timezoneOffset", [](S&) { return timezoneOffset() > 100000 ? -1 : 0; }},
    {"TextBuffer",
     [](S& s) {
         for (int i = 0; i < 20; ++i) s.buffer.append(kLong);
         s.block.reset(s.buffer.release());
         return s.block == nullptr ? -1 : 0;
     }},
    {"SmallStack",
     [](S&) {
         tqa::SmallStack<int, 4> stack;
         for (int i = 0; i < 100; ++i) {
             if (!stack.push(i)) return stack.size() == static_cast<std::size_t>(i) ? -1 : -50;
         }
         return stack.top() == 99 ? 0 : -50;
     }},
    {"insert of an id", [](S& s) { return s.ids.insert(15), 0; }, kMayThrow},
    {"insert of a range", [](S& s) { return s.ids.insert(1, 25), 0; }, kMayThrow},
    // Ranges before the one that found no memory are in.
    {"insert of a set", [](S& s) { return s.ids.insert(s.others), 0; }, kMayThrow | kInPart},
    {"assignment of a set", [](S& s) { return s.ids = s.others, 0; }, kMayThrow | kInPart},
};

TEST(NoMemory, UtilitiesFailAndLeaveTheResultAlone) {
    sweepAll("utilities", kScenarios, [] { return std::make_unique<S>(); });
}

// The files of a folder, one behind the other.
std::string logged(const std::string& folder) {
    std::string all;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
}

TEST(NoMemory, TheLoggerLosesALineAndGoesOn) {
    std::string folder = testing::TempDir() + "tqamsg_nomem_log_with_a_long_name_XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string directory = folder + '/';
    debug_level = 0;
    SweepCount count = {1, 0, 0};
    for (const Refusing how : {Refusing::Once, Refusing::FromThere}) {
        long asked = 1;
        for (long from = 0; from < asked; ++from) {
            Logger logger(directory.c_str());
            {
                const Injection injection(from, how);
                logger.put("lost");
                asked = std::max(asked, Injection::asked());
                count.refused += Injection::refused();
            }
            logger.put("found %ld", from);
            EXPECT_TRUE(logged(folder).ends_with("found " + std::to_string(from) + '\n')) << from;
            ++count.injections;
        }
    }
    EXPECT_GT(count.refused, 0);
    debug_level = -1;
    std::filesystem::remove_all(folder);
    report("logger", count);
}

}  // namespace
