#pragma once

#include <cstddef>

#include "foundation/sync.h"

// The library within the process: who is in it, and how it goes.
namespace brindlemoss::component {

// Held by each method while it runs: the library is loaded, and unload() waits. Not to be held
// twice by one thread.
class running_call {
public:
    running_call();

private:
    replay::const_scope inside_;
};

// Held by each object of a class.
class counted_life {
public:
    counted_life() noexcept;
    counted_life(const counted_life&) = delete;
    counted_life& operator=(const counted_life&) = delete;
    ~counted_life();
};

}  // namespace brindlemoss::component
