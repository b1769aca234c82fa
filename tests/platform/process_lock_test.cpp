#include "platform/process_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "support/watched_thread.h"

namespace {

using replay::platform::process_lock;
using test_support::child_process;
using test_support::pipe_ends;
using test_support::temporary_folder;
using test_support::watched_thread;

class holding {
public:
    explicit holding(process_lock& lock) : lock_(lock) { lock_.acquire(); }
    ~holding() { lock_.release(); }
    holding(const holding&) = delete;
    holding& operator=(const holding&) = delete;

private:
    process_lock& lock_;
};

// What another process would find: each opening of the file is a stranger to all others.
bool is_held(const process_lock& lock) {
    const int descriptor = ::open(lock.path().c_str(), O_RDWR | O_CLOEXEC);
    const bool refused = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    ::close(descriptor);
    return refused;
}

TEST(process_lock, objects_of_one_name_hold_it_from_first_acquire_to_last_release) {
    const temporary_folder folder;
    process_lock first(folder.path("new/folder"), "name");
    process_lock second(folder.path("new/folder"), "name");
    process_lock other(folder.path("new/folder"), "other name");
    const holding unrelated(other);
    EXPECT_TRUE(first.spans_processes());
    EXPECT_FALSE(is_held(first));
    first.acquire();
    second.acquire();
    first.release();
    EXPECT_TRUE(is_held(first));
    second.release();
    EXPECT_FALSE(is_held(first));
}

TEST(process_lock, killed_holder_frees_it) {
    const temporary_folder folder;
    pipe_ends held;
    child_process holder([&] {
        process_lock lock(folder.path(), "name");
        lock.acquire();
        held.put('!');
        for (;;) ::pause();
    });
    ASSERT_TRUE(held.get());
    process_lock lock(folder.path(), "name");
    EXPECT_TRUE(is_held(lock));
    holder.kill(SIGKILL);
    EXPECT_EQ(holder.wait(), -SIGKILL);
    lock.acquire();
    EXPECT_TRUE(lock.spans_processes());
    lock.release();
}

// Without the lock the readings and writings of the number overlap and additions get lost. The
// lock made before the fork has a descriptor that both processes share.
TEST(process_lock, excludes_threads_of_two_processes) {
    constexpr int rounds = 200;
    for (const bool is_made_before_fork : {false, true}) {
        SCOPED_TRACE(is_made_before_fork);
        const temporary_folder folder;
        folder.file("number", "0");
        std::unique_ptr<process_lock> early;
        if (is_made_before_fork) early = std::make_unique<process_lock>(folder.path(), "name");
        const auto add = [&] {
            for (int round = 0; round < rounds; ++round) {
                process_lock lock(folder.path(), "name");
                const holding held(lock);
                folder.file("number", std::to_string(std::stoi(folder.read("number")) + 1));
            }
        };
        const auto add_twice = [&] {
            const watched_thread first(add);
            const watched_thread second(add);
        };
        child_process one(add_twice);
        child_process two(add_twice);
        EXPECT_EQ(one.wait(), 0);
        EXPECT_EQ(two.wait(), 0);
        EXPECT_EQ(folder.read("number"), std::to_string(4 * rounds));
    }
}

TEST(process_lock, removed_file_is_made_anew) {
    const temporary_folder folder;
    process_lock lock(folder.path(), "name");
    std::filesystem::remove(lock.path());
    const holding held(lock);
    ASSERT_TRUE(std::filesystem::exists(lock.path()));
    EXPECT_TRUE(is_held(lock));
}

TEST(process_lock, without_a_file_excludes_threads_and_tries_again) {
    const temporary_folder folder;
    const std::string in_the_way = folder.file("a file");
    process_lock lock(in_the_way, "name");
    EXPECT_FALSE(lock.spans_processes());
    lock.acquire();
    watched_thread other([&] {
        process_lock same(in_the_way, "name");
        const holding held(same);
    });
    EXPECT_TRUE(other.blocks());
    EXPECT_FALSE(lock.spans_processes());
    lock.release();
    other.finish();
    std::filesystem::remove(in_the_way);
    const holding held(lock);
    EXPECT_TRUE(lock.spans_processes());
    EXPECT_TRUE(is_held(lock));

    process_lock without_a_folder("", "no-such-lock");
    const holding too(without_a_folder);
    EXPECT_FALSE(without_a_folder.spans_processes());
    EXPECT_FALSE(std::filesystem::exists(without_a_folder.path()));
}

TEST(process_lock, any_name_gives_a_file_in_the_folder) {
    const temporary_folder folder;
    const std::string at_the_limit(200, 'n');
    const struct {
        const char* what;
        std::string name;
        std::string file_name;
    } rows[] = {
        {"separators", "log-/home/a\\b", "log-_home_a_b.lock"},
        {"upward", "..", "...lock"},
        {"control characters", std::string("a\0\n\x7F\xE9", 5), "a___\xE9.lock"},
        {"empty", "", ".lock"},
        {"the longest that stays whole", at_the_limit, at_the_limit + ".lock"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const process_lock lock(folder.path(), row.name);
        EXPECT_EQ(lock.path(), folder.path(row.file_name));
        EXPECT_TRUE(lock.spans_processes());
    }
    for (const std::size_t size : {200u, 5000u}) {
        const process_lock one(folder.path(), std::string(size, 'n') + "1");
        const process_lock two(folder.path(), std::string(size, 'n') + "2");
        EXPECT_TRUE(one.spans_processes());
        EXPECT_NE(one.path(), two.path());
        EXPECT_EQ(one.path().find(folder.path(at_the_limit) + "-"), 0u);
    }
}

}  // namespace
