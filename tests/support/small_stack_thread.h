// Runs code on a stack of 256 KiB, to show that it does not recurse as deep as its input.
#pragma once

#include <cstdlib>
#include <functional>
#include <pthread.h>

namespace tqa_test {

inline void onSmallStack(std::function<void()> code) {
    constexpr std::size_t kStackSize = 256 * 1024;
    const auto start = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    if (pthread_attr_init(&attributes) != 0 ||
        pthread_attr_setstacksize(&attributes, kStackSize) != 0 ||
        pthread_create(&thread, &attributes, start, &code) != 0) {
        std::abort();
    }
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace tqa_test
