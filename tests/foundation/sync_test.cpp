#include "foundation/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "support/in_threads.h"
#include "support/watched_thread.h"

namespace {

using namespace replay;
using namespace std::chrono_literals;
using test_support::watched_thread;

class recorder : public scope_semantics {
public:
    void acquire_shared() override { calls += "r"; }
    void acquire() override { calls += "w"; }
    void release_shared() override { calls += "-r"; }
    void release() override { calls += "-w"; }

    std::string calls;
};

TEST(scope, released_early_is_released_once) {
    recorder target;
    {
        scope writer(target);
        writer.release();
        writer.release();
        writer.acquire();
        writer.acquire_shared();
        writer.release_shared();
    }
    EXPECT_EQ(target.calls, "w-w");
}

TEST(scope, passes_everything_else_on) {
    recorder target;
    {
        scope writer(target);
        const const_scope guard_of_the_guard(writer);
        writer.acquire();
    }
    EXPECT_EQ(target.calls, "wrw-r-w");
}

TEST(const_scope, both_releases_give_the_shared_hold_back) {
    for (const auto release : {&scope_semantics::release, &scope_semantics::release_shared}) {
        recorder target;
        const_scope reader(&target);
        reader.acquire();
        (reader.*release)();
        (reader.*release)();
        EXPECT_EQ(target.calls, "rr-r");
    }
}

TEST(scope, without_a_target_does_nothing) {
    scope writer(nullptr);
    const_scope reader(nullptr);
    for (scope_semantics* guard :
         {static_cast<scope_semantics*>(&writer), static_cast<scope_semantics*>(&reader)}) {
        guard->acquire();
        guard->acquire_shared();
        guard->release_shared();
        guard->release();
    }
}

TEST(mutex, is_recursive_and_excludes_others) {
    mutex lock;
    std::string order;
    scope outer(lock);
    scope inner(lock);
    watched_thread other([&] {
        const scope guard(lock);
        order += "other";
    });
    EXPECT_TRUE(other.blocks());
    inner.release();
    EXPECT_TRUE(other.blocks());
    order += "main ";
    outer.release();
    other.finish();
    EXPECT_EQ(order, "main other");
}

TEST(mutex, read_guard_neither_waits_nor_excludes) {
    mutex lock;
    const const_scope read(lock);
    scope held(lock);
    const watched_thread reader([&] { const const_scope guard(lock); });
    EXPECT_FALSE(reader.blocks());
    held.release();
    const watched_thread writer([&] { const scope guard(lock); });
    EXPECT_FALSE(writer.blocks());
}

TEST(event, manual_stays_set_until_cleared) {
    manual_reset_event event(event_state::clear);
    EXPECT_FALSE(event.wait(1ms));
    EXPECT_FALSE(event.wait(std::chrono::milliseconds::min()));
    event.set();
    EXPECT_TRUE(event.wait(0ms));
    EXPECT_TRUE(event.wait(std::chrono::milliseconds::max()));
    event.wait();
    event.clear();
    EXPECT_FALSE(event.wait(0ms));
    EXPECT_TRUE(manual_reset_event(event_state::set).wait(0ms));
}

TEST(event, automatic_is_used_up_by_each_kind_of_wait) {
    auto_reset_event event(event_state::set);
    EXPECT_TRUE(event.wait(0ms));
    EXPECT_FALSE(event.wait(0ms));
    event.set();
    event.set();
    event.wait();
    EXPECT_FALSE(event.wait(1ms));
    event.set();
    event.clear();
    EXPECT_FALSE(event.wait(0ms));
}

TEST(event, long_wait_is_ended_by_set) {
    manual_reset_event event(event_state::clear);
    bool was_set = false;
    const watched_thread waiter([&] { was_set = event.wait(std::chrono::milliseconds::max()); });
    EXPECT_TRUE(waiter.blocks());
    event.set();
    waiter.finish();
    EXPECT_TRUE(was_set);
}

TEST(event, manual_frees_all_waiters_and_automatic_one) {
    manual_reset_event all(event_state::clear);
    auto_reset_event one(event_state::clear);
    std::atomic<int> through = 0;
    const auto work = [&] {
        all.wait();
        one.wait();
        ++through;
    };
    watched_thread first(work);
    watched_thread second(work);
    EXPECT_TRUE(first.blocks());
    EXPECT_TRUE(second.blocks());
    all.set();
    one.set();
    while (through == 0) std::this_thread::yield();
    EXPECT_NE(first.blocks(), second.blocks());
    EXPECT_EQ(through, 1);
    one.set();
}

TEST(rw, writer_that_waits_goes_before_readers_that_come_later) {
    rw lock;
    std::string order;
    const_scope early(lock);
    const watched_thread second([&] { const const_scope reading(lock); });
    EXPECT_FALSE(second.blocks());  // readers share
    watched_thread writer([&] {
        const scope writing(lock);
        order += "writer ";
    });
    ASSERT_TRUE(writer.blocks());
    watched_thread late_reader([&] {
        const const_scope reading(lock);
        order += "reader";
    });
    EXPECT_TRUE(late_reader.blocks());
    early.release();
    late_reader.finish();
    EXPECT_EQ(order, "writer reader");
}

TEST(rw, writer_excludes_all_until_it_leaves) {
    rw lock;
    scope writing(lock);
    watched_thread reader([&] { const const_scope guard(lock); });
    EXPECT_TRUE(reader.blocks());
    watched_thread writer([&] { const scope guard(lock); });
    EXPECT_TRUE(writer.blocks());
    writing.release();
    EXPECT_FALSE(reader.blocks());
    EXPECT_FALSE(writer.blocks());
}

TEST(rw, holds_may_be_given_back_by_another_thread) {
    rw lock;
    lock.acquire();
    watched_thread([&] { lock.release(); }).finish();
    lock.acquire_shared();
    watched_thread([&] { lock.release_shared(); }).finish();
    const watched_thread last([&] { const scope guard(lock); });
    EXPECT_FALSE(last.blocks());
}

TEST(turnstile, taken_twice_is_idle_after_two_releases) {
    turnstile gate;
    EXPECT_TRUE(gate.idle.wait(0ms));
    EXPECT_FALSE(gate.busy.wait(0ms));
    EXPECT_FALSE(gate.stopping());
    scope first(gate);
    EXPECT_TRUE(gate.busy.wait(0ms));
    scope second(gate);
    EXPECT_FALSE(gate.idle.wait(0ms));
    first.release();
    EXPECT_FALSE(gate.idle.wait(0ms));
    second.release();
    EXPECT_TRUE(gate.idle.wait(0ms));
    EXPECT_TRUE(gate.busy.wait(0ms));
    { const const_scope reader(gate); }
    EXPECT_TRUE(gate.idle.wait(0ms));
}

TEST(turnstile, owner_may_destroy_it_as_soon_as_it_is_idle) {
    constexpr int rounds = 300;
    int ended = 0;
    for (int round = 0; round < rounds; ++round) {
        auto gate = std::make_unique<turnstile>();
        auto_reset_event work(event_state::clear);
        std::thread thread([inside = gate.get(), &work, &ended] {
            const scope holding(*inside);
            while (!inside->stopping()) work.wait();
            ++ended;
        });
        gate->busy.wait();
        gate->request_stop();
        work.set();
        gate->request_stop();
        gate->idle.wait();
        gate.reset();
        thread.join();
    }
    EXPECT_EQ(ended, rounds);
}

TEST(turnstile, is_never_idle_while_somebody_is_inside) {
    turnstile gate;
    std::atomic<int> seen_idle = 0;
    test_support::in_threads(2, [&](int) {
        for (int round = 0; round < 5000; ++round) {
            const scope inside(gate);
            if (gate.idle.wait(0ms)) ++seen_idle;
        }
    });
    EXPECT_EQ(seen_idle, 0);
    EXPECT_TRUE(gate.idle.wait(0ms));
}

}  // namespace
