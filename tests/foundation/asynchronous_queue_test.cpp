#include "foundation/asynchronous_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>

#include "support/failure_text.h"
#include "support/in_threads.h"
#include "support/watched_thread.h"

namespace {

using replay::container::asynchronous_queue;
using test_support::watched_thread;

template <class T>
T popped(asynchronous_queue<T>& queue) {
    T item{};
    queue.pop(item);
    return item;
}

TEST(asynchronous_queue, gives_items_in_order_of_pushing) {
    asynchronous_queue<std::string> queue;
    for (const char* item : {"first", "second", "third"}) queue.push(item);
    for (const char* item : {"first", "second", "third"}) EXPECT_EQ(popped(queue), item);
    EXPECT_EQ(queue.size(), 0u);
}

TEST(asynchronous_queue, closed_gives_nothing_even_with_items_left) {
    asynchronous_queue<int> queue;
    for (const int item : {1, 2, 3}) queue.push(item);
    queue.close();
    int item = 0;
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(test_support::failure_of([&] { queue.pop(item); }), "generic.closed[]");
        EXPECT_THROW(queue.pop(item), asynchronous_queue<int>::closed);
    }
    EXPECT_EQ(item, 0);
    EXPECT_EQ(queue.size(), 3u);
}

TEST(asynchronous_queue, close_wakes_every_consumer) {
    asynchronous_queue<int> queue;
    const auto consume = [&] { EXPECT_THROW(popped(queue), asynchronous_queue<int>::closed); };
    const watched_thread consumers[] = {watched_thread(consume), watched_thread(consume),
                                        watched_thread(consume)};
    for (const watched_thread& consumer : consumers) EXPECT_TRUE(consumer.blocks());
    queue.close();
}

// Both pushes may fall before the first consumer runs: the event then remembers only one.
TEST(asynchronous_queue, consumer_wakes_the_next_while_items_remain) {
    for (int round = 0; round < 20; ++round) {
        asynchronous_queue<int> queue;
        std::atomic<int> sum = 0;
        const auto consume = [&] { sum += popped(queue); };
        watched_thread first(consume);
        watched_thread second(consume);
        ASSERT_TRUE(first.blocks());
        ASSERT_TRUE(second.blocks());
        {
            const replay::scope together(queue);
            queue.push(1);
            queue.push(2);
        }
        first.finish();
        second.finish();
        EXPECT_EQ(sum, 3);
    }
}

struct stubborn {
    static inline bool refuses = false;
    stubborn() = default;
    stubborn(const stubborn&) = default;
    stubborn& operator=(const stubborn&) {
        if (refuses) throw std::runtime_error("refused");
        return *this;
    }
};

TEST(asynchronous_queue, item_whose_assignment_fails_stays) {
    asynchronous_queue<stubborn> queue;
    queue.push({});
    stubborn item;
    stubborn::refuses = true;
    EXPECT_THROW(queue.pop(item), std::runtime_error);
    stubborn::refuses = false;
    EXPECT_EQ(queue.size(), 1u);
    const watched_thread other([&] { popped(queue); });
    EXPECT_FALSE(other.blocks());
}

TEST(asynchronous_queue, many_hands_lose_nothing) {
    constexpr int each = 2000;
    asynchronous_queue<int> queue;
    std::atomic<long> sum = 0;
    test_support::in_threads(4, [&](int number) {
        for (int item = 1; item <= each; ++item) {
            if (number % 2 == 0) {
                queue.push(item);
            } else {
                sum += popped(queue);
            }
        }
    });
    EXPECT_EQ(sum, 2L * each * (each + 1) / 2);
    EXPECT_EQ(queue.size(), 0u);
}

TEST(asynchronous_queue, is_settled_when_what_was_pushed_is_dealt_with) {
    using std::chrono::milliseconds;
    asynchronous_queue<int> queue;
    EXPECT_TRUE(queue.wait_until_settled(milliseconds(0)));
    queue.push(1);
    queue.push(2);
    popped(queue);
    queue.settle();
    popped(queue);
    EXPECT_FALSE(queue.wait_until_settled(milliseconds(0)));  // empty, but the second is in work
    bool settled = false;
    const watched_thread waiting([&] { settled = queue.wait_until_settled(milliseconds(60'000)); });
    EXPECT_TRUE(waiting.blocks());
    queue.settle();
    waiting.finish();
    EXPECT_TRUE(settled);
    queue.push(3);
    EXPECT_FALSE(queue.wait_until_settled(milliseconds(0)));
}

TEST(asynchronous_queue, closing_ends_the_wait_for_what_is_never_dealt_with) {
    asynchronous_queue<int> queue;
    queue.push(1);
    bool settled = true;
    const watched_thread waiting(
        [&] { settled = queue.wait_until_settled(std::chrono::milliseconds(60'000)); });
    EXPECT_TRUE(waiting.blocks());
    queue.close();
    waiting.finish();
    EXPECT_FALSE(settled);
    queue.push(2);
    EXPECT_FALSE(queue.wait_until_settled(std::chrono::milliseconds(60'000)));
}

}  // namespace
