#include "end_to_end_rating.h"

#include <brindlemoss/component.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "account/account_service.h"
#include "analysis/filter_engine.h"
#include "analysis/stored_services.h"
#include "community/communication.h"
#include "component/library_life.h"
#include "foundation/module.h"

namespace end_to_end {

using namespace brindlemoss;
using replay::internet::message2::part;
using steady = std::chrono::steady_clock;

void fail(const std::string& what) {
    throw std::runtime_error(what);
}

void write_all(int to, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t size = ::write(to, text.data() + at, text.size() - at);
        if (size <= 0) fail("the other process is gone");
        at += static_cast<std::size_t>(size);
    }
}

namespace {

std::vector<std::string> share_of_mails(int number, int processes) {
    const char* folder = std::getenv("BRINDLEMOSS_CORPUS");
    std::vector<std::string> all;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(folder == nullptr ? "examples" : folder)) {
        if (entry.is_regular_file()) all.push_back(entry.path().string());
    }
    if (all.empty()) fail("no mails found: set BRINDLEMOSS_CORPUS to a folder of them");
    std::sort(all.begin(), all.end());
    std::vector<std::string> share;
    for (auto i = static_cast<std::size_t>(number); i < all.size();
         i += static_cast<std::size_t>(processes)) {
        share.push_back(all[i]);
    }
    return share;
}

// The services of the program, which also sum up what goes into each counter.
class summing_services : public analysis::stored_services {
public:
    using stored_services::stored_services;

    void add_to_counter(std::string_view key, std::string_view value,
                        std::uint32_t amount) override {
        stored_services::add_to_counter(key, value, amount);
        const std::lock_guard guard(lock_);
        sums_[std::string(key).append("\\").append(value)] += amount;
    }

    counter_sums sums() const {
        const std::lock_guard guard(lock_);
        return sums_;
    }

private:
    mutable std::mutex lock_;
    counter_sums sums_;
};

class rater {
public:
    explicit rater(std::vector<std::string> mails)
        : mails_(std::move(mails)), times_(mails_.size()) {}

    void run(int threads) {
        std::vector<std::thread> others;
        for (int i = 1; i < threads; ++i) others.emplace_back([this] { rate_what_is_left(); });
        rate_what_is_left();
        for (std::thread& each : others) each.join();
    }

    const std::vector<std::int64_t>& times() const { return times_; }  // in nanoseconds
    counter_sums sums() const { return services_.sums(); }

private:
    void rate_what_is_left() {
        for (std::size_t i = next_++; i < mails_.size(); i = next_++) {
            const auto begin = steady::now();
            std::ifstream file(mails_[i], std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            part message(bytes);
            engine_.score(message, analysis::occasion::first);
            times_[i] = std::chrono::nanoseconds(steady::now() - begin).count();
        }
    }

    const std::vector<std::string> mails_;
    std::vector<std::int64_t> times_;
    std::atomic<std::size_t> next_{0};
    summing_services services_{module::instance().log_of(subsystem::filter)};
    const analysis::filter_engine engine_{services_};
};

std::size_t peak_kilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) return std::stoul(line.substr(6));
    }
    return 0;
}

}  // namespace

int rate_as_child(int number, int processes, int threads) {
    component::load();
    if (!account::account_service::instance().login()) fail("the login failed");
    if (spam::communication::instance()->client().servers().empty()) fail("no server answers");
    rater rating(share_of_mails(number, processes));
    write_all(STDIN_FILENO, "r");
    char go = 0;
    if (::read(STDIN_FILENO, &go, 1) != 1) fail("nobody says when to begin");

    const auto begin = steady::now();
    rating.run(threads);
    const auto end = steady::now();
    std::ostringstream told;
    told << "begin " << begin.time_since_epoch().count() << "\nend "
         << end.time_since_epoch().count() << "\npeak " << peak_kilobytes() << '\n';
    for (const std::int64_t each : rating.times()) told << "time " << each << '\n';
    for (const auto& [counter, sum] : rating.sums())
        told << "sum " << sum << ' ' << counter << '\n';
    write_all(STDIN_FILENO, told.str());
    spam::communication::shutdown();
    account::account_service::shutdown();
    component::unload();
    return 0;
}

}  // namespace end_to_end
