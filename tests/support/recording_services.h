#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/analysis_run.h"
#include "analysis/filter_services.h"
#include "community/transaction.h"
#include "message/character_set.h"

namespace test_support {

// Writes down in order what a filter_engine asks, orders, counts and logs:
//   "allowed address bob@example.org?", "trust Bob <bob@example.org>", "count Filter/Blocked",
//   "log 1 Analysis:   ..."
class recording_services : public brindlemoss::analysis::filter_services {
public:
    using part = replay::internet::message2::part;
    using list_entries = brindlemoss::analysis::list_entries;

    // The questions answered so that the message goes no further: "allowed address",
    // "denied domain", "trusted", "language", "offline" and so on.
    std::set<std::string> hits;
    std::uint16_t limit = 50;

    // What the community does with a run; by default it knows nothing.
    using run_type = brindlemoss::analysis::analysis_run;
    using stats_type = brindlemoss::analysis::community::community_stats;
    std::function<void(run_type&, stats_type&)> on_match = [](run_type&, stats_type&) {};
    std::function<void(run_type&, stats_type&)> on_touch = [](run_type&, stats_type&) {};

    // Called behind the event that begins like this.
    std::string fault_at = "no event";
    std::function<void()> fault = [] {};

    std::vector<std::string> events;

    bool allowed(std::string_view address, list_entries which) override {
        return is_hit(listed("allowed", which), address);
    }
    bool denied(std::string_view address, list_entries which) override {
        return is_hit(listed("denied", which), address);
    }
    void allow_address(std::u16string_view name, std::string_view address,
                       std::u16string_view comment) override {
        record("allow " + person(name, address) + ", " + utf8(comment));
    }
    void remove_denied_address(std::string_view address) override {
        record("remove denied " + std::string(address));
    }

    bool trusted(std::string_view address) override { return is_hit("trusted", address); }
    void increase_trust(std::u16string_view name, std::string_view address) override {
        record("trust " + person(name, address));
    }
    void increase_trust_of_recipients(const part& message) override {
        record("trust recipients of " + id(message));
    }
    void remove_trust(std::string_view address) override {
        record("distrust " + std::string(address));
    }

    bool accept_language(part& message, int& language) override {
        language = 1049;
        return !is_hit("language", id(message));
    }
    bool offline() override { return is_hit("offline", {}); }
    void match(run_type& run, stats_type& stats) override {
        record("match");
        on_match(run, stats);
    }
    void touch(run_type& run, stats_type& stats) override {
        record("touch " + utf8(run.class_name));
        on_touch(run, stats);
    }
    void enqueue_report(const part& message) override { record("queue report of " + id(message)); }
    void enqueue_revoke(const part& message) override { record("queue revoke of " + id(message)); }

    std::uint16_t threshold() override { return limit; }
    void add_to_counter(std::string_view key, std::string_view value,
                        std::uint32_t amount) override {
        std::string event = "count " + std::string(key) + "/" + std::string(value);
        if (amount != 1) event += " by " + std::to_string(amount);
        record(event);
    }
    void log(int level, std::string_view line) override {
        record("log " + std::to_string(level) + " " + std::string(line));
    }
    bool logs(int) override { return true; }

private:
    static std::string listed(const std::string& list, list_entries which) {
        return list + (which == list_entries::addresses ? " address" : " domain");
    }
    static std::string utf8(std::u16string_view wide) {
        return replay::unicode::from_wide(wide, replay::unicode::utf8);
    }
    static std::string person(std::u16string_view name, std::string_view address) {
        return utf8(name) + " <" + std::string(address) + ">";
    }
    static std::string id(const part& message) {
        std::string raw;
        message.find_header("Message-ID", raw);
        return raw;
    }

    bool is_hit(const std::string& question, std::string_view about) {
        record(question + " " + std::string(about) + "?");
        return hits.contains(question);
    }
    void record(const std::string& event) {
        events.push_back(event);
        if (event.starts_with(fault_at)) fault();
    }
};

}  // namespace test_support
