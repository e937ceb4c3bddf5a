#include "tqamsg/util/ip_text.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(IpText, ReadsWhatInetAtonReads) {
    const struct {
        const char* text;
        unsigned int ip;
    } table[] = {
        {"10.0.0.1", 167772161U},
        {"0.0.0.0", 0U},
        {"255.255.255.255", 4294967295U},
        {"127.0.0.1", 0x7f000001U},
        {"10.0.0", 0x0a000000U},
        {"10.0.1", 0x0a000001U},
        {"10.1", 0x0a000001U},
        {"10", 10U},
        {"0x0a.0.0.1", 0x0a000001U},
        {"012.0.0.1", 0x0a000001U},
        {"10.0.0.1 rest", 0x0a000001U},
    };
    for (const auto& [text, expected] : table) {
        unsigned int ip = 77;
        EXPECT_EQ(strToIp(text, &ip), 0) << text;
        EXPECT_EQ(ip, expected) << text;
        EXPECT_EQ(strToIp(text), expected) << text;
    }
}

TEST(IpText, StoresZeroForWhatIsNoAddress) {
    for (const char* text : {"", "x", "10.0.0.256", "10.0.0.1.2", "10.0.0.", ".1", "10..1",
                             " 10.0.0.1", "10.0.0.1x", "4294967296", "::1", "host"}) {
        unsigned int ip = 77;
        EXPECT_EQ(strToIp(text, &ip), -1) << text;
        EXPECT_EQ(ip, 0U) << text;
        EXPECT_EQ(strToIp(text), 0U) << text;
    }
}

TEST(IpText, WritesFourDecimalParts) {
    EXPECT_EQ(ipToStr(167772161U), "10.0.0.1");
    EXPECT_EQ(ipToStr(0U), "0.0.0.0");
    EXPECT_EQ(ipToStr(4294967295U), "255.255.255.255");
    EXPECT_EQ(ipToStr(0x01020304U), "1.2.3.4");
}

TEST(IpText, EveryThreadGetsItsOwnAddress) {
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (unsigned int i = 0; i < 4; ++i) {
        threads.emplace_back([i, &wrong] {
            const unsigned int ip = 0x01010101U * (i + 1);
            const std::string part = std::to_string(i + 1);
            const std::string expected = part + '.' + part + '.' + part + '.' + part;
            for (int step = 0; step < 5000; ++step) wrong[i] += ipToStr(ip) != expected ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

}  // namespace
