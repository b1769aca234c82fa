// Kills processes that score, vote and change lists at random moments, round after round on one
// home, and looks after each round whether all that they had been told was done is there:
//
//   kill_rounds [ROUNDS [SEED]]
//
// Ends with 1, and leaves the home, at the first round after which it is not.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "faults/ledger.h"
#include "faults/log_lines.h"
#include "faults/stored_state.h"
#include "faults/workload.h"
#include "foundation/log.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/child_process.h"

namespace kill_rounds {
namespace {

namespace registry = replay::registry2;
using std::chrono::microseconds;
using test_support::child_process;
using test_support::pipe_ends;

constexpr int latest_moment = 60'000;  // in microseconds
constexpr std::uint32_t log_file_size = 1 << 20;
constexpr int rounds_between_births = 5;
constexpr int rounds_between_full_checks = 50;

struct totals {
    std::size_t killed = 0;
    std::size_t acknowledged = 0;
    std::size_t in_flight = 0;
    std::size_t rotations = 0;
    std::size_t full_checks = 0;
};

// Works until it is killed.
[[noreturn]] void work(unsigned worker, ledger& book, const pipe_ends& started, unsigned seed) {
    brindlemoss::module::instance().load(replay::platform::crash_handler::armed_by::program);
    std::mt19937 random(seed);
    for (std::uint32_t i = 0; i < ledger::room; ++i) {
        book.operations[i] = random_operation(random);
        book.begun = i + 1;
        perform(worker, book.operations[i]);
        book.returned = i + 1;
        if (i == 0) started.put('.');
    }
    for (;;) ::pause();
}

class trial {
public:
    trial(std::string home, unsigned seed) : home_(std::move(home)), random_(seed) {
        registry::set_message_sink([this](std::string_view line) { complaints_ += line; });
        lay_ground();
        known_ = stored_facts();
        registry::close_all();
    }
    ~trial() {
        registry::close_all();
        registry::set_message_sink({});
    }

    void run_round() {
        for (ledger& each : ledgers_) each.begun = each.returned = 0;
        const unsigned workers = 1 + random_() % most_workers;
        if (random_() % 2 == 0) fill_log();
        kill_some(workers);
        check_store(workers);
        check_log(workers);
    }

    // Kills a process that makes its stores and lists in a fresh home.
    void kill_at_birth() {
        const std::string young = home_ + "/young";
        const replay::platform::paths::scoped_home scoped(young);
        child_process child([] {
            registry::at(registry::tree_key::machine_community);
            lay_ground();
            for (;;) ::pause();
        });
        std::this_thread::sleep_for(microseconds(random_() % latest_moment));
        kill(child);
        stored_facts();
        registry::at(registry::tree_key::machine_community);
        registry::close_all();
        refuse(complaints_ + set_aside(young));
        check_files(young);
        std::filesystem::remove_all(young);
    }

    void check_files() { check_files(home_); }

    const totals& done() const { return done_; }

private:
    // So that the log is rotated soon.
    void fill_log() const {
        constexpr std::uintmax_t nearly_full = log_file_size - 4000;
        const std::string path = home_ + "/Logs/Core.log.txt";
        std::error_code none_yet;
        const std::uintmax_t size = std::filesystem::file_size(path, none_yet);
        std::ofstream file(path, std::ios::binary | std::ios::app);
        const std::string line = "2026/01/01 00:00:00    " + std::string(75, '.') + "\r\n";
        for (auto now = none_yet ? 0 : size; now < nearly_full; now += line.size()) file << line;
    }

    // One after the other, each at a moment of its own; in one round of four perhaps before it has
    // come to its first operation.
    void kill_some(unsigned workers) {
        const bool at_any_time = random_() % 4 == 0;
        pipe_ends started;
        std::vector<std::unique_ptr<child_process>> children;
        std::vector<int> moments;
        for (unsigned worker = 0; worker < workers; ++worker) {
            const auto seed = static_cast<unsigned>(random_());
            children.push_back(std::make_unique<child_process>(
                [&, worker, seed] { work(worker, ledgers_[worker], started, seed); }));
            moments.push_back(static_cast<int>(random_() % latest_moment));
        }
        started.close_writing();
        std::sort(moments.begin(), moments.end());
        for (unsigned i = 0; i < workers && !at_any_time; ++i) started.get();
        const auto begin = std::chrono::steady_clock::now();
        for (unsigned worker = 0; worker < workers; ++worker) {
            std::this_thread::sleep_until(begin + microseconds(moments[worker]));
            kill(*children[worker]);
        }
    }

    void kill(child_process& worker) {
        worker.kill(SIGKILL);
        if (worker.wait() != -SIGKILL) throw std::runtime_error("a worker ended by itself");
        ++done_.killed;
    }

    void check_store(unsigned workers) {
        expectation expected(known_);
        for (unsigned worker = 0; worker < workers; ++worker) {
            const ledger& book = ledgers_[worker];
            for (std::uint32_t i = 0; i < book.returned; ++i) {
                expected.acknowledged(effects_of(worker, book.operations[i]));
            }
            done_.acknowledged += book.returned;
        }
        for (unsigned worker = 0; worker < workers; ++worker) {
            const ledger& book = ledgers_[worker];
            if (book.begun == book.returned) continue;
            expected.in_flight(effects_of(worker, book.operations[book.returned]));
            ++done_.in_flight;
        }
        known_ = stored_facts();
        registry::close_all();
        std::string wrong = complaints_ + set_aside(home_);
        for (const std::string& line : expected.differences(known_)) wrong += "\n" + line;
        refuse(wrong);
    }

    static void refuse(const std::string& wrong) {
        if (!wrong.empty()) throw std::runtime_error("the store: " + wrong);
    }

    // The files of stores that were found damaged.
    static std::string set_aside(const std::string& home) {
        std::string names;
        for (const auto& entry : std::filesystem::directory_iterator(home)) {
            const std::string name = entry.path().filename();
            if (name.find(".damaged") != std::string::npos) names += "\n" + name;
        }
        return names;
    }

    void check_files(const std::string& home) {
        for (const char* name : {"/user.store", "/machine.store"}) {
            const std::string answer = full_check(home + name);
            if (answer != "ok") throw std::runtime_error(name + (": " + answer));
        }
        ++done_.full_checks;
    }

    // The next line that is written takes away what a kill left of one. What was told last before
    // may be in the file before the present one.
    void check_log(unsigned workers) {
        const std::string log = home_ + "/Logs/Core";
        replay::log::file(log, log_file_size, 1).write(0, "2026/01/01 00:00:00 #  ", "next");
        const std::string present = whole_lines(log + ".log.txt");
        const std::string text = whole_lines(log + ".1.log.txt") + present;
        if (present.size() < size_before_) ++done_.rotations;
        size_before_ = present.size();
        if (text.find(".store") != std::string::npos) {
            throw std::runtime_error("the log tells of a fault of the store");
        }
        for (unsigned worker = 0; worker < workers; ++worker) {
            const std::string id = last_message(worker);
            if (id.empty() || text.find("Message-ID: " + id) != std::string::npos) continue;
            throw std::runtime_error("the log does not tell of message " + id);
        }
    }

    std::string last_message(unsigned worker) {
        const ledger& book = ledgers_[worker];
        for (std::uint32_t i = book.returned; i > 0; --i) {
            const std::string id = message_id(worker, book.operations[i - 1]);
            if (!id.empty()) return id;
        }
        return {};
    }

    const std::string home_;
    std::mt19937 random_;
    ledgers& ledgers_ = shared_ledgers();
    facts known_;
    std::string complaints_;
    std::size_t size_before_ = 0;
    totals done_;
};

int run(int rounds, unsigned seed) {
    std::string home = std::filesystem::temp_directory_path() / "kill-rounds.XXXXXX";
    if (::mkdtemp(home.data()) == nullptr) throw std::runtime_error("no temporary folder");
    const replay::platform::paths::scoped_home scoped(home);
    trial killing(home, seed);
    std::printf("%d rounds, seed %u\n", rounds, seed);
    for (int round = 1; round <= rounds; ++round) {
        try {
            killing.run_round();
            if (round % rounds_between_births == 0) killing.kill_at_birth();
            const bool is_last = round == rounds;
            if (is_last || round % rounds_between_full_checks == 0) killing.check_files();
        } catch (const std::exception& error) {
            std::printf("round %d: %s\nthe home is left in %s\n", round, error.what(),
                        home.c_str());
            return 1;
        }
    }
    const totals& done = killing.done();
    std::printf(
        "%zu processes killed; %zu operations acknowledged, none lost; %zu in flight\n"
        "%zu log rotations, no torn line; %zu full checks of the stores\n",
        done.killed, done.acknowledged, done.in_flight, done.rotations, done.full_checks);
    std::filesystem::remove_all(home);
    return 0;
}

}  // namespace
}  // namespace kill_rounds

int main(int argument_count, char** arguments) try {
    const int rounds = argument_count > 1 ? std::atoi(arguments[1]) : 1000;
    const unsigned seed = argument_count > 2 ? static_cast<unsigned>(std::stoul(arguments[2]))
                                             : std::random_device()();
    if (rounds > 0) return kill_rounds::run(rounds, seed);
    std::fputs("kill_rounds [ROUNDS [SEED]]\n", stderr);
    return 2;
} catch (const std::exception& error) {
    std::fprintf(stderr, "kill_rounds: %s\n", error.what());
    return 1;
}
