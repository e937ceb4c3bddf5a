#include "tqamsg/host/lock.h"

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

static_assert(!std::is_copy_constructible_v<TQALock> && !std::is_copy_assignable_v<TQALock>);

TEST(TQALock, LetsOneThreadInAtATime) {
    TQALock lock;
    int inside = 0;
    long total = 0;
    bool alone = true;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int step = 0; step < 10000; ++step) {
                lock.lock();
                alone = alone && ++inside == 1;
                ++total;
                --inside;
                lock.unlock();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(alone);
    EXPECT_EQ(total, 40000);
}

TEST(TQALock, KeepsOthersWaitingUntilItIsUnlocked) {
    TQALock lock;
    std::atomic<bool> started = false;
    std::atomic<bool> entered = false;
    lock.lock();
    std::thread other([&] {
        started = true;
        lock.lock();
        entered = true;
        lock.unlock();
    });
    while (!started) std::this_thread::yield();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_FALSE(entered);
    lock.unlock();
    other.join();
    EXPECT_TRUE(entered);
}

}  // namespace
