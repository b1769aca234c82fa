#pragma once

#include <signal.h>
#include <ucontext.h>

#include <vector>

#include "platform/loaded_modules.h"

namespace replay::platform {

struct crash {
    int signal;
    const siginfo_t& info;
    const ucontext_t& context;  // of the thread that crashed
};

// Writes a crash as text for people: time, process, signal, address, registers, stack, the modules
// handed in, the memory map. Safe in a signal handler of a broken process: takes no lock and no
// memory, and reads what may be gone only by way of the system. Failures to write are ignored.
void write_crash_dump(int descriptor, const crash& what,
                      const std::vector<loaded_module>& modules) noexcept;

}  // namespace replay::platform
