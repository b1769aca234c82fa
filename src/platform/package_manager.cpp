#include "platform/package_manager.h"

#include <algorithm>
#include <optional>
#include <string>

#include "platform/run_program.h"

namespace replay::platform {

namespace {

// Names by the Debian Policy, section 5.6.1: nothing else may reach the tools, which would take it
// for an option or a pattern.
bool is_package_name(std::string_view name) {
    const auto is_alphanumeric = [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9');
    };
    return name.size() >= 2 && is_alphanumeric(name.front()) &&
           std::all_of(name.begin(), name.end(), [&](char byte) {
               return is_alphanumeric(byte) || byte == '+' || byte == '-' || byte == '.';
           });
}

class debian_packages : public package_manager {
public:
    bool is_installed(std::string_view package) const override {
        if (!is_package_name(package)) return false;
        const std::optional<program_result> result =
            run_program({"/usr/bin/dpkg-query", "--show", "--showformat=${db:Status-Status}\n",
                         "--", std::string(package)});
        return result && result->exit_code == 0 && result->output == "installed\n";
    }

    bool remove(std::string_view package) const override {
        // Of a name that it does not know, the tool would make a pattern.
        if (!is_installed(package)) return false;
        const std::optional<program_result> result = run_program(
            {"/usr/bin/apt-get", "--yes", "--quiet", "remove", "--", std::string(package)});
        return result && result->exit_code == 0;
    }
};

}  // namespace

const package_manager& system_packages() {
    static const debian_packages& packages = *new debian_packages;
    return packages;
}

}  // namespace replay::platform
