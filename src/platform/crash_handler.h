#pragma once

#include <string_view>

// Leaves a dump (platform/crash_dump.h tells what is in it) when the process crashes, which then
// dies as it would have anyway: by SIGSEGV, SIGBUS, SIGFPE, SIGILL or SIGABRT; what nobody catches
// ends in the last one.
namespace replay::platform::crash_handler {

// A program arms for itself and takes every signal. A library in somebody else's program takes
// only those for which the program has no handler and that it does not ignore.
enum class armed_by { program, library };

// Crashes write "<stem>.<time>.dmp" from here on, with the time of this call in seconds since 1970,
// each over the one before. The folder must exist at the crash; the file is for the user alone.
//
// False when no crash would leave a dump: the path is too long, there is no memory, the system
// refuses, or the program has handlers of its own for all. Then what was armed before stays.
//
// Stays armed until the process ends: the code may not be unloaded. The calling thread gets a stack
// for the handler, so that it can run out of its own; a thread that never called does without and
// leaves no dump of that. May be called again, from any thread.
bool arm(std::string_view stem, armed_by who) noexcept;

}  // namespace replay::platform::crash_handler
