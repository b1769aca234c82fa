#include "foundation/named_mutex.h"

#include <string>

#include "platform/paths.h"

namespace replay {

namespace {

// Empty when the user has no place for it: the lock then does without a file.
std::string lock_folder() {
    try {
        return platform::paths::user_state("Locks");
    } catch (const platform::paths::path_error&) {
        return {};
    }
}

}  // namespace

named_mutex::named_mutex(std::string_view name) : lock_(lock_folder(), name) {}

}  // namespace replay
