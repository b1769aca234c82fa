#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brindlemoss::cli {

enum exit_code : int {
    exit_done = 0,
    exit_at_threshold = 1,
    exit_bad_input = 2,
    exit_fault = 70,
    exit_interrupted = 130,  // as a shell reports a program that Ctrl-C ended
};

// Standard output cannot be written any more; the text says why.
class output_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes bytes to standard output. Throws output_error.
void print(std::string_view bytes);

// Writes out what is held back. Throws output_error.
void flush_output();

// One line for people on standard error: "brindlemoss: " and the message.
void complain(std::string_view message);

// The text with what a terminal would obey, control characters and bytes that are no UTF-8, made
// visible.
std::string printable(std::string_view utf8);

// From now on Ctrl-C sets a mark that interrupted() tells; a second one ends the program. A pipe
// that is closed or a file that may not grow is an error of the write and does not end it.
void catch_interrupts();
bool interrupted();

// While it lives Ctrl-C ends the program at once: for waits that may never end, such as for
// somebody to type.
class obey_interrupts {
public:
    obey_interrupts();
    ~obey_interrupts();
    obey_interrupts(const obey_interrupts&) = delete;
    obey_interrupts& operator=(const obey_interrupts&) = delete;
};

// "done/all" on standard error, rewritten in place; nothing where that is no terminal or the job is
// a short one.
class progress {
public:
    explicit progress(std::size_t all);
    ~progress();
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    void advance();

private:
    std::size_t all_;
    std::size_t done_ = 0;
    bool shown_;
};

}  // namespace brindlemoss::cli
