#include "platform/hidden_input.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

#include "platform/file.h"
#include "support/child_process.h"
#include "support/pseudo_terminal.h"
#include "support/temporary_folder.h"

namespace {

using namespace test_support;
using replay::platform::hidden_input;
using std::string;

void use_as_input(const string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    require(file >= 0 && ::dup2(file, STDIN_FILENO) >= 0, "no input");
}

TEST(hidden_input, reads_the_first_line_where_there_is_no_terminal) {
    struct row {
        const char* name;
        string input;
        std::optional<string> line;
        string rest;
    };
    const string longest(4096, 'x');
    const row rows[] = {
        {"more lines", "secret\nmore\n", "secret", "more\n"},
        {"carriage return", " se\rcret \r\n", " se\rcret ", ""},
        {"no end", "secret", "secret", ""},
        {"an empty line", "\nsecret\n", "", "secret\n"},
        {"nothing", "", std::nullopt, ""},
        {"bytes that are no text", string("\0\xFF\n", 3), string("\0\xFF", 2), ""},
        {"the longest", longest + "\n", longest, ""},
    };
    const temporary_folder folder;
    for (const row& each : rows) {
        SCOPED_TRACE(each.name);
        const string path = folder.file("in", each.input);
        child_process child([&] {
            use_as_input(path);
            require(!replay::platform::input_is_terminal(), "a terminal");
            require(replay::platform::read_input_line() == each.line, "another line");
            require(replay::platform::read_descriptor(STDIN_FILENO, "") == each.rest, "rest");
        });
        EXPECT_EQ(child.wait(), 0);
    }
    const string path = folder.file("in", longest + "x\n");
    child_process child([&] {
        use_as_input(path);
        try {
            replay::platform::read_input_line();
        } catch (const replay::platform::file_error& error) {
            if (error.code().value() == EFBIG) return;
        }
        require(false, "it was not refused");
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(hidden_input, wants_a_terminal) {
    const temporary_folder folder;
    child_process child([path = folder.file("in", "x\n")] {
        use_as_input(path);
        try {
            hidden_input input;
        } catch (const std::system_error&) {
            return;
        }
        require(false, "there is none");
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(hidden_input, shows_nothing_of_what_is_typed) {
    const pseudo_terminal terminal;
    child_process child([&] {
        terminal.take_over();
        hidden_input input;
        require(input.ask("One: ") == "first", "another line");
        require(input.ask("Two: ") == "", "another line");
        require(!input.ask("Three: "), "a line");
    });
    string screen = terminal.screen_until("One: ");
    EXPECT_FALSE(terminal.shows_keys());
    terminal.press("firsr\x7Ft\n");
    screen += terminal.screen_until("Two: ");
    terminal.press("\n");
    screen += terminal.screen_until("Three: ");
    terminal.press("\x04");  // the end of the input
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(screen, "One: \r\nTwo: \r\nThree: ");
    EXPECT_TRUE(terminal.shows_keys());
}

TEST(hidden_input, a_signal_finds_the_terminal_as_it_was) {
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        const pseudo_terminal terminal;
        child_process child([&] {
            terminal.take_over();
            ::signal(signal, SIG_DFL);                    // whatever this process was started with
            ::signal(SIGQUIT, [](int) { ::_exit(42); });  // instead of a core file
            hidden_input().ask("Password: ");
        });
        terminal.screen_until("Password: ");
        EXPECT_FALSE(terminal.shows_keys());
        terminal.press("half");
        if (signal == SIGINT) {
            terminal.press("\x03");
        } else {
            child.kill(signal);
        }
        EXPECT_EQ(child.wait(), signal == SIGQUIT ? 42 : -signal);
        EXPECT_TRUE(terminal.shows_keys());
    }
}

TEST(hidden_input, asks_again_after_a_stop) {
    const pseudo_terminal terminal;
    child_process session([&] {
        terminal.take_over();
        // A process of the shell's, whose terminal it is while it runs.
        child_process job([&] {
            ::setpgid(0, 0);
            ::signal(SIGTTOU, SIG_IGN);
            ::tcsetpgrp(STDIN_FILENO, ::getpid());
            hidden_input input;
            require(input.ask("Password: ") == "secret", "another line");
        });
        int status = 0;
        require(::waitpid(-1, &status, WUNTRACED) > 0 && WIFSTOPPED(status), "it did not stop");
        require(terminal.shows_keys(), "stopped, it hides");
        job.kill(SIGCONT);
        require(job.wait() == 0, "the job failed");
    });
    terminal.screen_until("Password: ");
    terminal.press("sec\x1A");
    terminal.screen_until("Password: ");
    EXPECT_FALSE(terminal.shows_keys());
    terminal.press("secret\n");
    EXPECT_EQ(session.wait(), 0);
    EXPECT_TRUE(terminal.shows_keys());
}

}  // namespace
