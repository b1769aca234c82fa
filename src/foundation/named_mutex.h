#pragma once

#include <string_view>

#include "foundation/sync.h"
#include "platform/process_lock.h"

namespace replay {

// A recursive lock that excludes the other threads of this process and the other processes of the
// user. It waits without limit, is free again when its holder dies, and throws nothing but
// std::bad_alloc. Where no lock file can be made it excludes threads only.
class named_mutex : public scope_semantics {
public:
    // Objects of one name are one lock. Its file lies in the user's state folder "Locks".
    explicit named_mutex(std::string_view name);

    // The shared operations do nothing.
    void acquire_shared() override {}
    void acquire() override { lock_.acquire(); }
    void release_shared() override {}
    void release() override { lock_.release(); }

    // See platform::process_lock::show_use().
    void show_use() { lock_.show_use(); }

private:
    platform::process_lock lock_;
};

}  // namespace replay
