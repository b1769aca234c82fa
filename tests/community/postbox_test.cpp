#include "community/postbox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/translate.h"
#include "support/scripted_peer.h"
#include "support/watched_thread.h"

namespace {

using namespace brindlemoss::analysis::community;
using namespace std::chrono_literals;
using replay::coding::translate::percent_decode;
using replay::internet::address::ip4;
using namespace test_support;

constexpr auto forever = std::chrono::hours(1);
constexpr int callers = 16;

// One request, and what becomes of it.
struct question {
    question(postbox& box, std::string command)
        : exchange(transaction::kind::awaits_response, stats, std::chrono::steady_clock::now),
          request{std::move(command), {}, {}},
          stay(box, exchange, request) {}

    void send(postbox& box, const ip4& to) {
        std::string bytes;
        request.serialize(bytes);
        box.send(exchange, to, bytes, postbox::timer_start::before);
    }

    community_stats stats;
    transaction exchange;
    datagram request;
    postbox_stay stay;
};

// Answers each "ASK", with its number as the body too, and nothing else.
replies answer_to_ask(const std::string& request) {
    if (!request.starts_with("ASK")) return {};
    return {response_to(request, "", request.substr(request.find("RID=")))};
}

// Whether the right answer has come.
bool asks(postbox& box, const ip4& to) {
    question one(box, "ASK");
    one.send(box, to);
    if (!box.wait(one.exchange, forever) || !one.exchange.answered) return false;
    const auto& lines = one.exchange.response.lines;
    return lines.size() == 1 && percent_decode(lines[0]) == "RID=" + one.exchange.id;
}

// An open postbox and a peer, with the thread that steps in where nobody waits or without it.
struct post {
    explicit post(bool with_receiver) {
        box.open(ip4());
        if (with_receiver) receiver.emplace([this] { box.receive_unattended(); });
    }
    ~post() { close(); }

    void close() {
        if (!std::exchange(is_closed, true)) box.close();
    }

    postbox box;
    scripted_peer peer{answer_to_ask};
    bool is_closed = false;
    std::optional<watched_thread> receiver;
};

using threads = std::vector<std::unique_ptr<watched_thread>>;

template <typename F>
void start(threads& all, F work) {
    for (int i = 0; i < callers; ++i) all.push_back(std::make_unique<watched_thread>(work));
}

// Where the receiving is left to one who never wakes, these hang.
class callers_of_a_postbox : public testing::TestWithParam<bool> {
protected:
    post post_{GetParam()};
    postbox& box_ = post_.box;
    const ip4& peer_ = post_.peer.address();
};

INSTANTIATE_TEST_SUITE_P(with_and_without_the_receiver, callers_of_a_postbox, testing::Bool());

TEST_P(callers_of_a_postbox, get_their_answers_beside_those_who_wait_in_vain) {
    threads waiting;
    start(waiting, [this] {
        question silent(box_, "SILENCE");
        silent.send(box_, peer_);
        EXPECT_TRUE(box_.wait(silent.exchange, forever)) << "the closing ends it";
        EXPECT_FALSE(silent.exchange.answered);
    });
    threads asking;
    start(asking, [this] {
        for (int i = 0; i < 100; ++i) ASSERT_TRUE(asks(box_, peer_)) << i;
    });
    asking.clear();
    post_.close();
}

TEST_P(callers_of_a_postbox, get_their_answers_beside_those_who_give_up) {
    std::atomic<bool> is_over = false;
    threads giving_up;
    start(giving_up, [&] {
        for (int i = 0; !is_over; ++i) {
            question unsent(box_, "SILENCE");  // sent, they would crowd out the others
            ASSERT_FALSE(box_.wait(unsent.exchange, std::chrono::milliseconds(1 + i % 3)));
            ASSERT_FALSE(box_.pause(1ms));
        }
    });
    threads asking;
    start(asking, [this] {
        for (int i = 0; i < 100; ++i) ASSERT_TRUE(asks(box_, peer_)) << i;
    });
    asking.clear();
    is_over = true;
}

TEST_P(callers_of_a_postbox, all_end_when_it_closes_in_their_midst) {
    std::atomic<int> answers = 0;
    threads all;
    start(all, [&] {
        try {
            while (asks(box_, peer_)) ++answers;
        } catch (const replay::internet::transport::not_a_socket&) {
            // Closed before it was sent.
        }
    });
    start(all, [this] { EXPECT_TRUE(box_.pause(forever)); });
    while (answers < 100) std::this_thread::yield();
    post_.close();
    all.clear();
    question late(box_, "ASK");
    EXPECT_TRUE(box_.wait(late.exchange, forever));
    EXPECT_TRUE(box_.pause(forever));
}

// Waits without receiving.
void await(postbox& box, question& asked) {
    while (!box.wait(asked.exchange, 0ms)) std::this_thread::yield();
}

TEST(postbox, who_pauses_receives_for_others) {
    post only(false);
    const watched_thread pausing([&] { EXPECT_TRUE(only.box.pause(forever)); });
    for (int i = 0; i < 3; ++i) {
        question one(only.box, "ASK");
        one.send(only.box, only.peer.address());
        await(only.box, one);
        EXPECT_TRUE(one.exchange.answered);
    }
    only.close();
}

TEST(postbox, the_receiver_steps_in_when_nobody_waits) {
    post only(true);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(asks(only.box, only.peer.address()));
        question one(only.box, "ASK");
        one.send(only.box, only.peer.address());
        await(only.box, one);
        EXPECT_TRUE(one.exchange.answered);
    }
}

TEST(postbox, a_wait_ends_with_its_time) {
    post only(false);
    question silent(only.box, "SILENCE");
    silent.send(only.box, only.peer.address());
    for (const auto time : {0ms, 1ms, 99ms, 100ms, 101ms, 250ms}) {
        SCOPED_TRACE(time.count());
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(only.box.wait(silent.exchange, time));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, time);
    }
}

}  // namespace
