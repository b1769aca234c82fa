#include "platform/host_process.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace replay::platform::host_process {

namespace {

// What the system puts behind the path of a program whose file was removed or replaced since.
constexpr std::string_view removed_mark = " (deleted)";

char upper_case(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

}  // namespace

std::string path() {
    std::error_code error;
    std::string found = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (found.ends_with(removed_mark) && !std::filesystem::exists(found, error)) {
        found.resize(found.size() - removed_mark.size());
    }
    return found;
}

std::string_view file_name(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

bool is_resident_agent(std::string_view path) {
    std::string name(file_name(path));
    std::transform(name.begin(), name.end(), name.begin(), upper_case);
    return name == "BMAGENT.EXE" || name == "BMAGENT";
}

}  // namespace replay::platform::host_process
