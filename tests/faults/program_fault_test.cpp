#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>

#include "support/kept_home.h"
#include "support/size_limit.h"

namespace {

namespace fs = std::filesystem;
using std::string;
using test_support::kept_home;
using test_support::program_result;
using test_support::size_limit;
using testing::HasSubstr;

constexpr char mail[] = "From: Ann <ann@example.org>\r\nSubject: lunch\r\n\r\nSee you at noon.\r\n";

// The program on a home with one allowed sender, of which something is broken.
class program_fault_test : public testing::Test, protected kept_home {
protected:
    program_fault_test() { done({"rules", "allow", "add", "keep@example.org"}); }

    string score() const { return run({"score", "-"}, mail).out; }
    bool keeps_the_sender() const {
        return done({"rules", "allow", "list"}).find("keep@example.org") != string::npos;
    }
    string log() const {
        const bool is_there = fs::is_regular_file(path("Logs/Core.log.txt"));
        return is_there ? folder().read("home/Logs/Core.log.txt") : "";
    }
};

constexpr char rated[] = "  0  HAM                -\n";
constexpr char passed[] = "  0  (error)            -\n";

TEST_F(program_fault_test, rates_mail_whatever_stands_in_the_way_and_goes_on_when_it_is_gone) {
    const struct {
        const char* broken;  // a file or folder in its place
        bool by_folder;
        const char* printed;
        const char* told;  // on standard error or in the log
    } rows[] = {
        {"user.store", true, passed, "user.store: disk I/O error"},
        {"user.store-wal", true, passed, "user.store: unable to open database file"},
        {"machine.store", true, passed, "machine.store: disk I/O error"},
        {"user.store.lock", true, rated, ""},
        {"Logs", false, rated, "cannot make the folder"},
        {"Logs/Core.log.txt", true, rated, "log[CreateFile failed: Is a directory]"},
        {"Locks", false, rated, ""},
        {"Dumps", false, rated, ""},
        {".", false, passed, "cannot make the folder"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.broken);
        const string place = fs::path(path(row.broken)).lexically_normal();
        const string at = place.ends_with('/') ? place.substr(0, place.size() - 1) : place;
        if (fs::exists(at)) fs::rename(at, folder().path("kept"));
        if (row.by_folder) {
            fs::create_directory(at);
        } else {
            folder().file(fs::relative(at, folder().path()), "");
        }
        const program_result result = run({"score", "-"}, mail);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.out, row.printed);
        EXPECT_THAT(result.err + log(), HasSubstr(row.told));
        fs::remove_all(at);
        if (fs::exists(folder().path("kept"))) fs::rename(folder().path("kept"), at);
        EXPECT_EQ(score(), rated);
        EXPECT_TRUE(keeps_the_sender());
    }
}

TEST_F(program_fault_test, a_store_that_is_garbage_is_told_and_mail_rated) {
    for (const string name : {"user.store", "machine.store"}) {
        SCOPED_TRACE(name);
        folder().file("home/" + name, string(5000, 'g'));
        EXPECT_EQ(score(), rated);
        EXPECT_THAT(log(), HasSubstr(name + " is damaged (file is not a database)"));
    }
}

TEST_F(program_fault_test, a_full_disk_loses_nothing_and_stops_no_mail) {
    for (const rlim_t limit : {1'000, 10'000, 20'000}) {
        SCOPED_TRACE(limit);
        {
            const size_limit full(limit);
            const program_result result = run({"score", "-"}, mail);
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(result.out, passed);
            EXPECT_THAT(result.err + log(), HasSubstr("(112)"));
            const program_result adding = run({"rules", "allow", "add", "lost@example.org"});
            EXPECT_EQ(adding.code, 2);
            EXPECT_THAT(adding.err, HasSubstr("the disk is full"));
        }
        EXPECT_EQ(score(), rated);
        EXPECT_TRUE(keeps_the_sender());
    }
}

TEST_F(program_fault_test, a_home_that_cannot_be_begun_on_a_full_disk_is_begun_later) {
    for (const rlim_t limit : {0, 1'000, 10'000, 20'000}) {
        SCOPED_TRACE(limit);
        fs::remove_all(path(""));
        {
            const size_limit full(limit);
            EXPECT_EQ(run({"rules", "allow", "list"}).code, 2);
        }
        EXPECT_EQ(done({"rules", "allow", "list"}), "");
        EXPECT_EQ(score(), rated);
    }
}

TEST_F(program_fault_test, counts_a_query_that_no_server_could_get_as_failed) {
    EXPECT_EQ(score(), rated);
    EXPECT_THAT(done({"stats"}), HasSubstr("Communication\\Protocol  Errors  1\n"));
}

}  // namespace
