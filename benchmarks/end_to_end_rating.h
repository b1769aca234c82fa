#pragma once

#include <cstdint>
#include <map>
#include <string>

// The two sides of the benchmark end_to_end: a process that rates mails and the one that started
// it, with a socket between them.
namespace end_to_end {

// What was added to each counter, by its path.
using counter_sums = std::map<std::string, std::uint32_t>;

// Throws std::runtime_error.
[[noreturn]] void fail(const std::string& what);

// All of a text into a socket. Throws when the other side is gone.
void write_all(int to, const std::string& text);

// Rates, by so many threads, the share of the process with that number of all mails. Standard input
// is the socket: tells there by a byte that all is ready, waits for one to begin, and tells what
// came out, a line each: "begin" and "end" on the system's steady clock and each "time" of a mail
// in nanoseconds, "peak" in kilobytes, "sum" with number and counter.
int rate_as_child(int number, int processes, int threads);

}  // namespace end_to_end
