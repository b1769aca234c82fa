#include "component/library_life.h"

#include <brindlemoss/component.h>

#include <atomic>

#include "foundation/module.h"
#include "foundation/registry.h"

namespace brindlemoss::component {

namespace {

std::atomic<std::size_t> objects_alive{0};

// Never destroyed: threads of a host may call until the very end.
replay::rw& gate() {
    static replay::rw& only = *new replay::rw;
    return only;
}

}  // namespace

running_call::running_call() : inside_(gate()) {
    module::instance().load(module::armed_by::library);
}

counted_life::counted_life() noexcept {
    ++objects_alive;
}
counted_life::~counted_life() {
    --objects_alive;
}

void load() noexcept try {
    const running_call call;
} catch (...) {  // without memory, or room for a lock: the next call tries again
}

void unload() noexcept try {
    const replay::scope alone(gate());
    module::instance().unload();
} catch (...) {
}

std::size_t live_objects() noexcept {
    return objects_alive;
}

bool can_unload_now() noexcept {
    return objects_alive == 0;
}

}  // namespace brindlemoss::component
