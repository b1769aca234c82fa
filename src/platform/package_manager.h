#pragma once

#include <string_view>

namespace replay::platform {

// What the installer of the system knows and does. A name that no package can have, an empty one
// among them, is not installed. Any thread may call.
class package_manager {
public:
    virtual ~package_manager() = default;

    virtual bool is_installed(std::string_view package) const = 0;

    // Removes a package with what depends on it, and waits for that. False when it is not
    // installed or could not be removed, for want of the right to do so as a rule.
    virtual bool remove(std::string_view package) const = 0;
};

// That of Debian and its kin; where there is none, nothing is installed.
const package_manager& system_packages();

}  // namespace replay::platform
