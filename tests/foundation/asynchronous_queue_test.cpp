#include "foundation/asynchronous_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

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
    EXPECT_EQ(queue.size(), 3u);
    EXPECT_EQ(popped(queue), "first");
    EXPECT_EQ(popped(queue), "second");
    EXPECT_EQ(queue.size(), 1u);
    EXPECT_EQ(popped(queue), "third");
    EXPECT_EQ(queue.size(), 0u);
}

TEST(asynchronous_queue, pop_waits_for_a_push) {
    asynchronous_queue<int> queue;
    int got = 0;
    {
        watched_thread consumer([&] { got = popped(queue); });
        EXPECT_TRUE(consumer.blocks());
        queue.push(7);
    }
    EXPECT_EQ(got, 7);
}

TEST(asynchronous_queue, closed_gives_nothing_even_with_items_left) {
    asynchronous_queue<int> queue;
    queue.push(1);
    queue.push(2);
    queue.push(3);
    queue.close();
    int item = 0;
    EXPECT_THROW(queue.pop(item), asynchronous_queue<int>::closed);
    EXPECT_THROW(queue.pop(item), asynchronous_queue<int>::closed);
    EXPECT_EQ(item, 0);
    EXPECT_EQ(queue.size(), 3u);
}

TEST(asynchronous_queue, exceptions_carry_their_words) {
    using queue = asynchronous_queue<int>;
    EXPECT_STREQ(queue::generic("x").what(), "generic[x]");
    EXPECT_STREQ(queue::closed().what(), "generic.closed[]");
    EXPECT_THROW(throw queue::closed(), queue::generic);
}

TEST(asynchronous_queue, close_wakes_every_consumer) {
    asynchronous_queue<int> queue;
    std::atomic<int> ended = 0;
    {
        std::vector<std::unique_ptr<watched_thread>> consumers;
        for (int i = 0; i < 3; ++i) {
            consumers.push_back(std::make_unique<watched_thread>([&] {
                EXPECT_THROW(popped(queue), asynchronous_queue<int>::closed);
                ++ended;
            }));
        }
        for (const auto& consumer : consumers) EXPECT_TRUE(consumer->blocks());
        queue.close();
    }
    EXPECT_EQ(ended, 3);
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
    {
        std::vector<std::unique_ptr<watched_thread>> threads;
        for (int i = 0; i < 2; ++i) {
            threads.push_back(std::make_unique<watched_thread>([&] {
                for (int item = 1; item <= each; ++item) queue.push(item);
            }));
            threads.push_back(std::make_unique<watched_thread>([&] {
                for (int item = 1; item <= each; ++item) sum += popped(queue);
            }));
        }
    }
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
    {
        bool settled = false;
        {
            watched_thread waiting(
                [&] { settled = queue.wait_until_settled(milliseconds(60'000)); });
            EXPECT_TRUE(waiting.blocks());
            queue.settle();
        }
        EXPECT_TRUE(settled);
    }
    queue.push(3);
    EXPECT_FALSE(queue.wait_until_settled(milliseconds(0)));
}

TEST(asynchronous_queue, closing_ends_the_wait_for_what_is_never_dealt_with) {
    asynchronous_queue<int> queue;
    queue.push(1);
    bool settled = true;
    {
        watched_thread waiting(
            [&] { settled = queue.wait_until_settled(std::chrono::milliseconds(60'000)); });
        EXPECT_TRUE(waiting.blocks());
        queue.close();
    }
    EXPECT_FALSE(settled);
    queue.push(2);
    EXPECT_FALSE(queue.wait_until_settled(std::chrono::milliseconds(60'000)));
}

}  // namespace
