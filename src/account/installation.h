#pragma once

#include <cstdint>
#include <string>

#include "platform/package_manager.h"

namespace brindlemoss::account {

// A feature of the product that can be installed by itself: its bit of installation::features(),
// and the package that brings it.
struct feature {
    std::uint32_t bit;
    const char* name;
    const char* package;
};

inline constexpr feature features_of_product[] = {
    {1, "Proxy", "brindlemoss-proxy"},
    {2, "Outlook_Express", "brindlemoss-outlook-express"},
    {4, "Outlook", "brindlemoss-outlook"},
};

// What the installer left in the key "Installation" of the machine's tree, read anew at each call
// and never written back, and what the system knows of the product. Holds no state; any thread may
// call. Reading throws registry2::generic, key_error where the key is missing.
class installation {
public:
    // That of the process, made on first use and kept until the module is unloaded. A thread that
    // goes on meanwhile makes an object of its own.
    static installation& instance();

    // Frees it, if there is one; nobody may still use it. The next instance() makes another.
    static void destroy();

    // The package manager must outlive the object.
    explicit installation(
        const replay::platform::package_manager& packages = replay::platform::system_packages())
        : packages_(packages) {}

    std::uint32_t partner() const;  // 0 when missing
    std::string version() const;    // UTF-8, as the folder; empty when missing
    std::string directory() const;

    // The bits of the features that are installed; 0 when the product itself is not, or when it is
    // not known what the system calls it.
    std::uint32_t features() const;

    // Has the package manager remove the product, and waits. False when that failed.
    bool remove() const;

private:
    std::string product_code() const;

    const replay::platform::package_manager& packages_;
};

}  // namespace brindlemoss::account
