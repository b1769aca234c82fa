#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "platform/clock.h"

namespace {

using replay::platform::clock::processor_time;
using namespace std::chrono_literals;

TEST(processor_time, stands_while_the_thread_waits_and_goes_on_while_it_works) {
    const processor_time::time_point begin = processor_time::now();
    std::promise<void> never;
    ASSERT_EQ(never.get_future().wait_for(200ms), std::future_status::timeout);
    const processor_time::time_point waited = processor_time::now();
    EXPECT_LT(waited - begin, 100ms);

    while (processor_time::now() - waited < 5ms) {
    }
    // That of another thread is its own.
    EXPECT_LT(std::async(std::launch::async, processor_time::now).get(), processor_time::now());
}

}  // namespace
