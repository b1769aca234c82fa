#pragma once

#include <memory>

#include "foundation/module.h"
#include "foundation/sync.h"

namespace brindlemoss::rules {

// The one object of a type in the process: made on first use, freed when the module is unloaded.
// Any thread may call.
template <typename type, singleton which>
class process_wide {
public:
    static type& instance() {
        const replay::scope guard(mutex());
        if (!object()) {
            object() = std::make_unique<type>();
            module::instance().on_unload(which, destroy);
        }
        return *object();
    }

private:
    static void destroy() {
        const replay::scope guard(mutex());
        object().reset();
    }

    // Neither is ever destroyed: threads of a host may call until the very end.
    static replay::mutex& mutex() {
        static replay::mutex& only = *new replay::mutex;
        return only;
    }
    static std::unique_ptr<type>& object() {
        static std::unique_ptr<type>& only = *new std::unique_ptr<type>;
        return only;
    }
};

}  // namespace brindlemoss::rules
