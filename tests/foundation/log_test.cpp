#include "foundation/log.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/paths.h"
#include "support/child_process.h"
#include "support/failure_text.h"
#include "support/in_threads.h"
#include "support/size_limit.h"
#include "support/temporary_folder.h"
#include "support/watched_thread.h"

namespace {

namespace clock = replay::platform::clock;
using replay::log;
using test_support::child_process;
using test_support::temporary_folder;
using test_support::watched_thread;

constexpr auto maximum = std::numeric_limits<std::int32_t>::max();
constexpr auto minimum = std::numeric_limits<std::int32_t>::min();

// 2009-02-03 04:05:06 UTC, in a zone two hours east of it.
constexpr std::chrono::system_clock::time_point moment{std::chrono::seconds(1233633906)};
const std::string stamp = "2009/02/03 06:05:06 ";

class log_test : public testing::Test {
protected:
    log_test() { set_zone("XYZ-2"); }
    ~log_test() override { set_zone(zone_before_ ? zone_before_->c_str() : nullptr); }

    static void set_zone(const char* zone) {
        if (zone != nullptr) {
            ::setenv("TZ", zone, 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }

    const std::optional<std::string> zone_before_ =
        ::getenv("TZ") ? std::optional<std::string>(::getenv("TZ")) : std::nullopt;
    const temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path("home")};
    const clock::standing standing_{moment};
};

using lines = std::vector<std::string>;

class memory : public log::listener {
public:
    memory(lines& heard, std::string name) : heard_(heard), name_(std::move(name)) {}
    void write(std::int32_t level, std::string_view prefix, std::string_view text) override {
        std::string line = name_ + std::to_string(level) + "|";
        heard_.push_back(line.append(prefix).append(text));
    }

private:
    lines& heard_;
    const std::string name_;
};

TEST_F(log_test, prefix_shows_local_time_and_the_letter_of_the_level) {
    const std::pair<std::int32_t, char> rows[] = {{minimum, '#'}, {-1, '#'}, {0, '#'},
                                                  {1, ' '},       {2, '+'},  {3, '!'},
                                                  {4, '>'},       {5, '>'},  {maximum, '>'}};
    for (const auto& [level, letter] : rows) {
        SCOPED_TRACE(level);
        lines heard;
        log log;
        log.add_listener(minimum, std::make_unique<memory>(heard, ""));
        log.write(level, "text");
        EXPECT_EQ(heard, lines{std::to_string(level) + "|" + stamp + letter + "  text"});
    }
}

TEST_F(log_test, listeners_from_their_minimum_on_the_highest_and_latest_first) {
    lines heard;
    log log;
    for (const auto& [level, name] :
         {std::pair(0, "a"), {2, "b"}, {3, "c"}, {0, "d"}, {2, "e"}, {-1, "f"}}) {
        log.add_listener(level, std::make_unique<memory>(heard, name));
    }
    const auto order_at = [&](std::int32_t level) {
        heard.clear();
        log.write(level, "");
        std::string order;
        for (const std::string& line : heard) order += line.front();
        return order;
    };
    EXPECT_EQ(order_at(3), "cebdaf");
    EXPECT_EQ(order_at(2), "ebdaf");
    EXPECT_EQ(order_at(1), "daf");
    EXPECT_EQ(order_at(-1), "f");
    EXPECT_EQ(order_at(-2), "");
}

TEST_F(log_test, writef_formats_text_of_any_length) {
    lines heard;
    log log;
    log.add_listener(0, std::make_unique<memory>(heard, ""));
    for (const int size : {0, 507, 508, 509, 100000}) {
        const std::string text(static_cast<std::size_t>(size), 'x');
        log.writef(3, "%s %i%%", text.c_str(), 7);
        EXPECT_EQ(heard.back(), "3|" + stamp + "!  " + text + " 7%");
    }
    const wchar_t no_character[] = {wchar_t(0x7FFFFFFF), 0};
    log.writef(3, "%ls", no_character);
    EXPECT_EQ(heard.back(), "3|" + stamp + "!  %ls");
}

// Lets time pass while its log is at work.
class late : public log::listener {
    void write(std::int32_t, std::string_view, std::string_view) override {
        clock_.set(moment + std::chrono::hours(1));
    }
    clock::standing clock_{moment};
};

TEST_F(log_test, proxy_puts_its_text_ahead_and_the_target_its_own_time) {
    lines heard;
    log main;
    main.add_listener(2, std::make_unique<memory>(heard, ""));
    log part;
    part.add_listener(0, std::make_unique<log::proxy>(main, "Part: "));
    part.add_listener(1, std::make_unique<late>());
    part.write(1, "too low");
    part.write(2, "heard");
    EXPECT_EQ(heard, lines{"2|2009/02/03 07:05:06 +  Part: heard"});
}

TEST_F(log_test, console_flushes_each_line) {
    log log;
    log.add_listener(1, std::make_unique<log::console>());
    testing::internal::CaptureStdout();
    log.write(1, "one");
    log.write(0, "unheard");
    log.write(2, "two");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), stamp + "   one\n" + stamp + "+  two\n");
}

class failing : public log::listener {
    void write(std::int32_t, std::string_view, std::string_view) override {
        throw std::runtime_error("listener");
    }
};

TEST_F(log_test, listener_that_throws_leaves_the_log_unlocked) {
    log log;
    log.add_listener(0, std::make_unique<failing>());
    EXPECT_THROW(log.write(0, ""), std::runtime_error);
    const watched_thread other([&] { log.add_listener(9, std::make_unique<failing>()); });
    EXPECT_FALSE(other.blocks());
}

class log_file_test : public log_test {
protected:
    std::string current() const { return folder_.read("core.log.txt"); }
    std::string old(int number) const {
        return folder_.read("core." + std::to_string(number) + ".log.txt");
    }
    void write(log::file& file, const std::string& text) { file.write(0, "", text); }

    const std::string base_ = folder_.path("core");
};

TEST_F(log_file_test, lines_are_added_to_what_stands_there) {
    folder_.file("core.log.txt", "before\r\n");
    log log;
    log.add_listener(0, std::make_unique<log::file>(base_, 1000, 1));
    log.write(0, "one");
    log.write(4, "two");
    EXPECT_EQ(current(), "before\r\n" + stamp + "#  one\r\n" + stamp + ">  two\r\n");
}

TEST_F(log_file_test, text_from_outside_makes_no_line_of_its_own) {
    log::file file(base_, 1000, 0);
    write(file, std::string("a\r\nb\x1B[1m\0\x7F\t\xC3\xA9", 13));
    EXPECT_EQ(current(), "a??b?[1m??\t\xC3\xA9\r\n");
}

TEST_F(log_file_test, rotates_before_the_line_that_finds_the_file_full) {
    log::file file(base_, 10, 1);
    write(file, "1234567");  // 9 bytes with its end
    write(file, "a");
    EXPECT_EQ(current(), "1234567\r\na\r\n");
    write(file, "12345678");  // 10 bytes
    EXPECT_EQ(old(1), "1234567\r\na\r\n");
    write(file, "b");
    EXPECT_EQ(old(1), "12345678\r\n");
    EXPECT_EQ(current(), "b\r\n");
}

TEST_F(log_file_test, old_files_are_numbered_from_the_oldest) {
    const struct {
        std::int32_t history;
        int lines;
        std::array<const char*, 4> old;  // from number 1 on, the digits of their lines
        const char* current;
    } rows[] = {
        {-1, 3, {"", "", "", ""}, "3"},   {0, 3, {"", "", "", ""}, "3"},
        {1, 5, {"4", "", "", ""}, "5"},   {3, 4, {"1", "2", "3", ""}, "4"},
        {3, 7, {"4", "5", "6", ""}, "7"}, {maximum, 3, {"1", "2", "", ""}, "3"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.history) + "/" + std::to_string(row.lines));
        const temporary_folder folder;
        log::file file(folder.path("core"), 1, row.history);
        for (int line = 1; line <= row.lines; ++line) write(file, std::to_string(line));
        EXPECT_EQ(folder.read("core.log.txt"), std::string(row.current) + "\r\n");
        for (std::size_t i = 0; i < row.old.size(); ++i) {
            const std::string wanted = *row.old[i] ? std::string(row.old[i]) + "\r\n" : "";
            const std::string name = "core." + std::to_string(i + 1) + ".log.txt";
            EXPECT_EQ(folder.read(name), wanted);
            EXPECT_EQ(std::filesystem::exists(folder.path(name)), !wanted.empty());
        }
    }
}

TEST_F(log_file_test, copy_goes_to_the_first_free_number) {
    folder_.file("core.1.log.txt", "old 1");
    folder_.file("core.3.log.txt", "old 3");
    folder_.file("core.log.txt", "full");
    log::file file(base_, 4, 3);
    write(file, "line");
    EXPECT_EQ(old(1) + "," + old(2) + "," + old(3), "old 1,full,old 3");
}

TEST_F(log_file_test, old_file_that_cannot_move_keeps_the_others_and_the_line_is_written) {
    std::filesystem::create_directories(base_ + ".1.log.txt/inside");
    folder_.file("core.2.log.txt", "old 2");
    folder_.file("core.log.txt", "full");
    log::file file(base_, 4, 2);
    write(file, "line");
    EXPECT_TRUE(std::filesystem::exists(base_ + ".1.log.txt/inside"));
    EXPECT_EQ(old(2), "old 2");
    EXPECT_EQ(current(), "line\r\n");
}

TEST_F(log_file_test, file_that_cannot_be_opened_throws) {
    const auto message_of = [](const std::string& base) {
        return test_support::failure_of([&] { log::file(base, 1000, 1); });
    };
    EXPECT_EQ(message_of(folder_.path("no/such/folder")),
              "log[CreateFile failed: No such file or directory]");
    std::filesystem::create_directory(base_ + ".log.txt");
    EXPECT_EQ(message_of(base_), "log[CreateFile failed: Is a directory]");
    const std::string pipe = folder_.path("pipe");
    ASSERT_EQ(::mkfifo((pipe + ".log.txt").c_str(), 0600), 0);
    EXPECT_EQ(message_of(pipe).find("log[CreateFile failed: "), 0u);
    EXPECT_EQ(log::file::mutex_name("C:\\Logs/core"), "log-C:_Logs_core");
}

TEST_F(log_file_test, closed_descriptor_loses_the_line_and_nothing_else) {
    log::file file(base_, 3, 1);
    write(file, "one");
    int closed = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        std::error_code error;
        const auto path =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
        if (path == base_ + ".log.txt") closed += ::close(descriptor) == 0;
    }
    ASSERT_EQ(closed, 1);
    write(file, "two");
    EXPECT_EQ(current(), "one\r\n");
}

class full_disk {
public:
    explicit full_disk(rlim_t bytes) : limit_(bytes) {}
    ~full_disk() { ::signal(SIGXFSZ, handler_before_); }
    full_disk(const full_disk&) = delete;
    full_disk& operator=(const full_disk&) = delete;

private:
    const sighandler_t handler_before_ = ::signal(SIGXFSZ, SIG_IGN);
    const test_support::size_limit limit_;
};

TEST_F(log_file_test, full_disk_leaves_no_torn_line) {
    log::file file(base_, 1000, 1);
    write(file, "whole");
    {
        const full_disk full(20);
        write(file, "much longer than what is left");
        EXPECT_EQ(current(), "whole\r\n");
        write(file, "fits");
        write(file, "to the end");
    }
    write(file, "room again");
    EXPECT_EQ(current(), "whole\r\nfits\r\nroom again\r\n");
}

TEST_F(log_file_test, rotation_on_a_full_disk_leaves_no_torn_copy) {
    folder_.file("core.1.log.txt", "old 1");
    folder_.file("core.log.txt", std::string(100, 'x'));
    log::file file(base_, 100, 2);
    {
        const full_disk full(20);
        write(file, "line");
    }
    EXPECT_EQ(old(1), "old 1");
    EXPECT_FALSE(std::filesystem::exists(base_ + ".2.log.txt"));
    EXPECT_EQ(current(), "line\r\n");
}

// One writer has the file open since before the fork, the other has opened it by itself.
TEST_F(log_file_test, two_processes_tear_and_lose_no_line_across_rotations) {
    constexpr int each = 400;
    const auto write_all = [&](log::file& file, char writer) {
        for (int line = 0; line < each; ++line) {
            write(file, writer + std::to_string(line) + std::string(line % 90, '.'));
        }
    };
    log::file early(base_, 2000, 1000);
    child_process one([&] { write_all(early, 'a'); });
    child_process two([&] {
        log::file own(base_, 2000, 1000);
        write_all(own, 'b');
    });
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);

    std::string all;
    for (int number = 1; !old(number).empty(); ++number) all += old(number);
    all += current();
    EXPECT_TRUE(std::filesystem::exists(base_ + ".10.log.txt"));
    std::map<char, int> next;  // line of each writer
    for (std::size_t begin = 0, end; begin < all.size(); begin = end + 2) {
        end = std::min(all.find("\r\n", begin), all.size());
        const int line = next[all[begin]]++;
        ASSERT_EQ(all.substr(begin + 1, end - begin - 1),
                  std::to_string(line) + std::string(line % 90, '.'));
    }
    EXPECT_EQ(next, (std::map<char, int>{{'a', each}, {'b', each}}));
}

TEST_F(log_test, threads_share_a_log_and_its_target) {
    constexpr int each = 500;
    lines heard;
    log main;
    main.add_listener(0, std::make_unique<memory>(heard, ""));
    log part;
    part.add_listener(0, std::make_unique<log::proxy>(main, "Part: "));
    test_support::in_threads(2, [&](int number) {
        for (int i = 0; i < each; ++i) (number == 0 ? part : main).writef(1, "%i", i);
    });
    EXPECT_EQ(heard.size(), 2u * each);
}

}  // namespace
