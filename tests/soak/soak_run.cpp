#include "soak/soak_run.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <thread>

#include "component/library_life.h"
#include "foundation/sync.h"
#include "soak/figures.h"
#include "soak/worker.h"
#include "support/community_home.h"

namespace soak {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using key = test_support::stored_lists::key;
using replay::manual_reset_event;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t most_mails = 200;

// Memory is said to grow where the medians differ by more. What the system counts moves by itself:
// freed memory stays with the allocator in pieces, and the address sanitizer keeps a quarantine.
// What is held moves by the requests that the servers remember until they are replaced.
constexpr double resident_fraction = 0.1;
constexpr double resident_bytes = 24 << 20;
constexpr double held_fraction = 0.02;
constexpr double held_bytes = 2 << 20;

double megabytes(double bytes) {
    return bytes / (1 << 20);
}

// Calls `work` at equal distances until the event is set. What is late is not made up for.
void repeat(manual_reset_event& over, milliseconds distance, const std::function<void()>& work) {
    auto next = clock::now();
    do {
        work();
        next = std::max(next + distance, clock::now());
    } while (!over.wait(std::chrono::ceil<milliseconds>(next - clock::now())));
}

class soak_run {
public:
    explicit soak_run(const soak_options& options) : options_(options) {}

    std::vector<std::string> run() {
        settle_settings();
        rehearse();
        const figures before = figures_now();
        load();
        judge_memory("resident", &figures::resident, resident_fraction, resident_bytes);
        judge_memory("held", &figures::held, held_fraction, held_bytes);
        judge_what_is_left(before);
        judge_counters();
        for (const auto& [what, times] : book_.unexpected()) {
            fault(what + ", " + std::to_string(times) + " times");
        }
        return faults_;
    }

private:
    // So that queries to silent servers end soon, all is told to the log, and trust comes to bear.
    static void settle_settings() {
        const brindlemoss::component::running_call call;
        replay::registry2::at(key::machine_community).set_integer(u"Timeout", 300);
        replay::registry2::at(key::user_root).set_integer(u"Debug Mode", 1);
        replay::registry2::at(key::user_thresholds).set_integer(u"Trust Activation Delay", 20);
    }

    // What is made once and stays for the life of the process is there afterwards, and memory for
    // the largest mails that may be under way together.
    void rehearse() {
        {
            const town servers;
            std::vector<std::thread> threads;
            for (int i = 1; i <= options_.threads; ++i) {
                threads.emplace_back([&, i] { worker(-i, mails_, servers, book_).work_through(); });
            }
            for (std::thread& each : threads) each.join();
        }
        end_library();
    }

    void load() {
        const auto begin = clock::now();
        const double worked_before = processor_seconds();
        {
            town servers;
            std::vector<worker> workers;
            for (int i = 1; i <= options_.threads; ++i) {
                workers.emplace_back(i, mails_, servers, book_);
            }
            manual_reset_event over(replay::event_state::clear);
            std::vector<std::thread> threads;
            for (worker& each : workers) {
                threads.emplace_back([&] { repeat(over, distance(), [&] { each.work(); }); });
            }
            threads.emplace_back([&] { repeat(over, turn(), [&] { servers.turn(); }); });
            watch(begin);
            over.set();
            for (std::thread& each : threads) each.join();
            for (worker& each : workers) each.check_lists();
            end_library();
        }
        const std::chrono::duration<double> passed = clock::now() - begin;
        std::printf("%llu calls, %.0f %% of a processor\n",
                    static_cast<unsigned long long>(book_.calls),
                    100 * (processor_seconds() - worked_before) / passed.count());
    }

    milliseconds distance() const {
        return std::chrono::ceil<milliseconds>(std::chrono::duration<double>(1 / options_.rate));
    }

    // The circle of what happens to the servers is to come round several times.
    milliseconds turn() const { return std::min<milliseconds>(5s, options_.length / 40); }

    void watch(clock::time_point begin) {
        const milliseconds between = std::min<milliseconds>(10s, options_.length / 80);
        const milliseconds warm_up = std::min<milliseconds>(5min, options_.length / 8);
        milliseconds next_line = 1min;
        for (milliseconds at = between; at <= options_.length; at += between) {
            std::this_thread::sleep_until(begin + at);
            const figures now = figures_now();
            if (at > warm_up) samples_.push_back(now);
            if (at < next_line && at + between <= options_.length) continue;
            next_line += 1min;
            tell(at, now);
        }
    }

    void tell(milliseconds at, const figures& now) const {
        std::printf(
            "%6.1f min: %.1f MB resident, %.1f MB held, %zu handles, %zu threads; %llu calls, "
            "%u messages, %u votes\n",
            static_cast<double>(at.count()) / 60e3, megabytes(static_cast<double>(now.resident)),
            megabytes(static_cast<double>(now.held)), now.handles, now.threads,
            static_cast<unsigned long long>(book_.calls), book_.processed.load(),
            book_.spam_votes + book_.good_votes);
        std::fflush(stdout);
    }

    void judge_memory(const char* name, std::size_t figures::*which, double fraction,
                      double bytes) {
        std::vector<std::size_t> values;
        for (const figures& each : samples_) values.push_back(each.*which);
        const growth found = growth_of(values, fraction, bytes);
        char line[160];
        std::snprintf(line, sizeof line,
                      "memory %s: %.1f MB at first, %.1f MB at last, allowed %.1f MB", name,
                      megabytes(found.first), megabytes(found.last),
                      megabytes(found.first + found.allowance));
        std::printf("%s\n", line);
        if (found.is_too_much()) fault(line);
    }

    // A thread that a login left to itself may still be on its last steps.
    void judge_what_is_left(const figures& before) {
        figures now = figures_now();
        for (int i = 0; i < 100 && now.threads > before.threads; ++i) {
            std::this_thread::sleep_for(100ms);
            now = figures_now();
        }
        std::printf("handles: %zu before, %zu after; threads: %zu before, %zu after\n",
                    before.handles, now.handles, before.threads, now.threads);
        if (now.handles > before.handles) fault("handles are left open");
        if (now.threads > before.threads) fault("threads are left");
    }

    void judge_counters() {
        const auto counter = test_support::community_home::counter;
        const auto asked = counter(key::user_statistics_protocol, u"Queries") +
                           counter(key::user_statistics_protocol, u"Timeouts") +
                           counter(key::user_statistics_protocol, u"Errors");
        const auto filter = key::user_statistics_filter;
        const auto user = key::user_statistics_user;
        compare("messages processed", counter(filter, u"Processed"), book_.processed);
        compare("messages blocked", counter(filter, u"Blocked"), book_.blocked);
        compare("votes for spam", counter(user, u"Blocked"), book_.spam_votes);
        compare("votes against spam", counter(user, u"Unblocked"), book_.good_votes);
        compare("questions to the community", asked, book_.asked);
        const auto trusted =
            brindlemoss::component::create<brindlemoss::component::IRulesSenderTrusted>();
        std::u16string entries;
        trusted->EnumerateAddresses(entries);
        compare("steps of trust", steps_of(entries, shared_address), book_.trust_steps);
        end_library();
    }

    // The number behind an address in rows of name, address, steps and time.
    static std::uint32_t steps_of(const std::u16string& entries, const std::u16string& address) {
        std::uint32_t steps = 0;
        std::size_t at = entries.find(u"\t" + address + u"\t");
        if (at == entries.npos) return 0;
        for (at += address.size() + 2; entries[at] != u'\t'; ++at) {
            steps = steps * 10 + (entries[at] - u'0');
        }
        return steps;
    }

    void compare(const std::string& what, std::uint32_t counted, std::uint32_t acknowledged) {
        std::printf("%s: %u counted, %u acknowledged\n", what.c_str(), counted, acknowledged);
        if (counted == acknowledged) return;
        fault(what + ": " + std::to_string(counted) + " counted, " + std::to_string(acknowledged) +
              " acknowledged");
    }

    void fault(std::string text) { faults_.push_back(std::move(text)); }

    const soak_options options_;
    const test_support::community_home home_;
    const std::vector<pooled_mail> mails_ = mail_pool(most_mails);
    ledger book_;
    std::vector<figures> samples_;
    std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> run(const soak_options& options) {
    return soak_run(options).run();
}

}  // namespace soak
