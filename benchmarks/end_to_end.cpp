// Mails from the file to the rating with all that stands around it: an account that is logged in, a
// server of the community that knows every signature, sender lists of 1,000 entries each, counters
// and the log. end_to_end [--json FILE] rates all files below BRINDLEMOSS_CORPUS, or the example
// mails, once in each of three ways: by one thread, by 64 threads of one process, by 4 processes on
// one store; each way with stores of its own. Times are those of one mail with the reading of its
// file. The servers are in this process, what is measured is in others.
//
// The exit code is 1 when the counters of the store are not, at the end, the sums of what all
// processes added to them.

#include <spawn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "end_to_end_rating.h"
#include "foundation/registry.h"
#include "platform/paths.h"
#include "support/community_home.h"
#include "support/http_peer.h"

namespace {

using namespace end_to_end;
namespace analysis = brindlemoss::analysis;
namespace registry = replay::registry2;
using registry::tree_key;

constexpr char as_child[] = "--rate";
constexpr std::size_t entries_of_a_list = 1000;

struct manner {
    const char* name;
    int processes;
    int threads;  // in each
};
constexpr manner manners[] = {{"one", 1, 1}, {"threads64", 1, 64}, {"processes4", 4, 1}};

class child {
public:
    child(const std::string& program, const std::vector<std::string>& arguments) {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) fail("no socket");
        socket_ = ends[0];
        std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
        for (const std::string& each : arguments) {
            pointers.push_back(const_cast<char*>(each.c_str()));
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
        const int error =
            ::posix_spawn(&id_, "/proc/self/exe", &actions, nullptr, pointers.data(), environ);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        if (error != 0) fail("cannot start a process");
    }
    child(child&& other) noexcept
        : id_(std::exchange(other.id_, -1)), socket_(std::exchange(other.socket_, -1)) {}
    ~child() {
        if (socket_ >= 0) ::close(socket_);
        if (id_ > 0) ::waitpid(id_, nullptr, 0);
    }

    void wait_until_ready() {
        char byte = 0;
        if (::read(socket_, &byte, 1) != 1) fail("a process that rates has failed");
    }
    void begin() { write_all(socket_, "g"); }

    std::string told() {
        std::string text;
        char bytes[65536];
        for (ssize_t size; (size = ::read(socket_, bytes, sizeof bytes)) > 0;) {
            text.append(bytes, static_cast<std::size_t>(size));
        }
        int status = 0;
        ::waitpid(std::exchange(id_, -1), &status, 0);
        if (status != 0) fail("a process that rates has failed");
        return text;
    }

private:
    pid_t id_ = -1;
    int socket_ = -1;
};

struct outcome {
    std::int64_t begin = INT64_MAX;
    std::int64_t end = 0;
    std::size_t peak = 0;  // of all processes together, in kilobytes
    std::vector<std::int64_t> times;
    counter_sums sums;

    void add(const std::string& told) {
        std::istringstream lines(told);
        std::int64_t number = 0;
        for (std::string name; lines >> name >> number;) {
            if (name == "begin") begin = std::min(begin, number);
            if (name == "end") end = std::max(end, number);
            if (name == "peak") peak += static_cast<std::size_t>(number);
            if (name == "time") times.push_back(number);
            if (name != "sum") continue;
            std::string counter;
            std::getline(lines >> std::ws, counter);
            sums[counter] += static_cast<std::uint32_t>(number);
        }
    }

    double percentile(std::size_t percent) const {  // in microseconds
        std::vector<std::int64_t> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        return static_cast<double>(sorted[sorted.size() * percent / 100]) / 1e3;
    }
    double rate() const {
        return static_cast<double>(times.size()) / (static_cast<double>(end - begin) / 1e9);
    }
};

// A line for each signature of the request, with an id of its own.
test_support::replies knows_all(const std::string& request) {
    using namespace analysis::community;
    if (!request.starts_with("MATCH")) return {};
    datagram asked;
    asked.parse(request);
    std::string body;
    for (std::uint64_t i = 0; i < asked.lines.size(); ++i) {
        body += encode_numeral(i) + '\t' + encode_numeral(1'000'000 + i) + "\tB\tA\tA\tA\tA\r\n";
    }
    return {test_support::response_to(request, "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=B", body)};
}

constexpr char login_answer[] =
    "HTTP/1.1 200 OK\r\n\r\n<BrindlemossLogin><Login><Access>Approved</Access></Login>"
    "</BrindlemossLogin>";

// A store as it is to be found by all that rate, and the servers that its settings name.
class surroundings {
public:
    surroundings() {
        account_server_.serve({{login_answer}});
        test_support::community_home::use(community_.host());
        const registry::key& account = registry::at(tree_key::machine_account);
        account.set_text(u"Host", u"127.0.0.1");
        account.set_integer(u"Port 1", account_server_.port());
        fill_lists(tree_key::user_rules_allow, u"allowed");
        fill_lists(tree_key::user_rules_deny, u"denied");
        lines trusted;
        for (std::size_t i = 0; i < entries_of_a_list; ++i) {
            trusted.push_back(u"\ta" + numeral(i) + u"@trusted.example\t5\t1000000000");
        }
        set(tree_key::user_rules_trust, u"Addresses", trusted);
        ::setenv("BRINDLEMOSS_HOME", replay::platform::paths::home().c_str(), 1);
    }

    static std::uint32_t counter(const std::string& path) {
        const std::size_t name = path.rfind('\\');
        const registry::key statistics(registry::key(registry::predefined_root::current_user),
                                       u"Software\\Brindlemoss\\Statistics",
                                       registry::when_missing::fail);
        return registry::key(statistics, wide(path.substr(0, name)), registry::when_missing::fail)
            .get_integer(wide(path.substr(name + 1)), 0, registry::write_back::no);
    }

private:
    using lines = registry::text_list;

    static std::u16string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }
    static std::u16string numeral(std::size_t number) { return wide(std::to_string(number)); }
    static void set(tree_key list, std::u16string_view value, lines& entries) {
        std::sort(entries.begin(), entries.end());
        test_support::stored_lists::set(list, value, entries);
    }

    // Half of them addresses and half domains.
    static void fill_lists(tree_key list, const std::u16string& name) {
        lines addresses;
        lines domains;
        for (std::size_t i = 0; i < entries_of_a_list / 2; ++i) {
            addresses.push_back(u"\ta" + numeral(i) + u"@" + name + u".example\t");
            domains.push_back(u"d" + numeral(i) + u"." + name + u".example\t");
        }
        set(list, u"Addresses", addresses);
        set(list, u"Domains", domains);
    }

    const test_support::community_home home_;
    test_support::http_peer account_server_;
    test_support::scripted_peer community_{test_support::community_server(knows_all)};
};

outcome run(const std::string& program, const manner& how) {
    std::vector<child> children;
    for (int number = 0; number < how.processes; ++number) {
        children.emplace_back(program, std::vector<std::string>{as_child, std::to_string(number),
                                                                std::to_string(how.processes),
                                                                std::to_string(how.threads)});
    }
    for (child& each : children) each.wait_until_ready();
    for (child& each : children) each.begin();
    outcome all;
    for (child& each : children) all.add(each.told());
    return all;
}

// Whether each counter of the store is the sum of what was added to it.
bool counters_hold(const outcome& all) {
    bool hold = all.sums.at("Filter\\Processed") == all.times.size();
    for (const auto& [counter, sum] : all.sums) {
        const std::uint32_t kept = surroundings::counter(counter);
        if (kept == sum) continue;
        std::fprintf(stderr, "%s: %u in the store, %u were added\n", counter.c_str(), kept, sum);
        hold = false;
    }
    return hold;
}

class figures_file {
public:
    void add(const std::string& name, double value, const char* unit) {
        char line[160];
        std::snprintf(line, sizeof line, "%s  \"%s\": {\"value\": %.1f, \"unit\": \"%s\"}",
                      text_.empty() ? "{\n" : ",\n", name.c_str(), value, unit);
        text_ += line;
    }
    void write(const char* path) const {
        std::ofstream file(path);
        file << text_ << "\n}\n";
        if (!file.flush()) fail(std::string("cannot write ") + path);
    }

private:
    std::string text_;
};

int measure(const std::string& program, const char* json) {
    figures_file figures;
    bool hold = true;
    std::printf("%-12s %8s %12s %10s %10s %9s\n", "", "messages", "messages/s", "p50 us", "p99 us",
                "peak MB");
    for (const manner& how : manners) {
        const surroundings around;
        const outcome all = run(program, how);
        hold = counters_hold(all) && hold;
        const double peak = static_cast<double>(all.peak) / 1024;
        std::printf("%-12s %8zu %12.0f %10.0f %10.0f %9.1f\n", how.name, all.times.size(),
                    all.rate(), all.percentile(50), all.percentile(99), peak);
        std::fflush(stdout);
        const std::string prefix = std::string("end_to_end/") + how.name + "/";
        figures.add(prefix + "messages_per_second", all.rate(), "messages/s");
        figures.add(prefix + "p50_us", all.percentile(50), "us");
        figures.add(prefix + "p99_us", all.percentile(99), "us");
        figures.add(prefix + "peak_mb", peak, "MB");
    }
    std::printf("the counters %s the sums of what was added\n", hold ? "are" : "ARE NOT");
    if (json != nullptr) figures.write(json);
    return hold ? 0 : 1;
}

}  // namespace

int main(int argument_count, char** arguments) try {
    const std::string first = argument_count > 1 ? arguments[1] : "";
    if (first == as_child && argument_count == 5) {
        return rate_as_child(std::atoi(arguments[2]), std::atoi(arguments[3]),
                             std::atoi(arguments[4]));
    }
    const bool wants_json = first == "--json" && argument_count == 3;
    if (argument_count > 1 && !wants_json) {
        std::fprintf(stderr, "usage: end_to_end [--json FILE]\n");
        return 2;
    }
    return measure(arguments[0], wants_json ? arguments[2] : nullptr);
} catch (const std::exception& failure) {
    std::fprintf(stderr, "end_to_end: %s\n", failure.what());
    return 1;
}
