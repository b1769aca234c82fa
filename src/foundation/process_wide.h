#pragma once

#include <memory>
#include <utility>

#include "foundation/module.h"
#include "foundation/sync.h"

namespace brindlemoss {

// The one object of a type in the process: made on first use, and kept until it is destroyed; the
// next use makes another. Any thread may call; who comes while one is made or destroyed waits. What
// the making throws goes to the caller, and the next one tries anew.
template <typename type>
class process_wide {
public:
    // `make` gives a std::unique_ptr<type>.
    template <typename factory>
    static type& instance(factory&& make) {
        const replay::scope guard(mutex());
        if (!object()) object() = std::forward<factory>(make)();
        return *object();
    }
    static type& instance() {
        return instance([] { return std::make_unique<type>(); });
    }

    // The same, with module::unload() destroying the object in the turn of `which`.
    template <typename factory>
    static type& until_unload(singleton which, factory&& make) {
        return instance([&] {
            std::unique_ptr<type> made = std::forward<factory>(make)();
            module::instance().on_unload(which, destroy);
            return made;
        });
    }
    static type& until_unload(singleton which) {
        return until_unload(which, [] { return std::make_unique<type>(); });
    }

    // Nobody may still use the object. Nothing where there is none.
    static void destroy() {
        const replay::scope guard(mutex());
        object().reset();
    }

private:
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

}  // namespace brindlemoss
