#pragma once

#include <thread>
#include <vector>

namespace test_support {

// Calls `work` in that many threads at once, with the thread's number from 0 on, and waits for all.
template <typename F>
void in_threads(int count, const F& work) {
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&work, number] { work(number); });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace test_support
