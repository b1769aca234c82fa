#include "platform/paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <utility>

#include "platform/loaded_modules.h"

#ifndef BRINDLEMOSS_SOURCE_SHARE
#define BRINDLEMOSS_SOURCE_SHARE ""
#endif

namespace replay::platform::paths {

namespace {

constexpr char own_name[] = "Brindlemoss";
constexpr char machine_folder[] = "/var/lib/brindlemoss";
constexpr mode_t private_mode = 0700;
constexpr mode_t public_mode = 0755;

std::string absolute(std::string_view folder) {
    std::filesystem::path path = std::filesystem::absolute(folder).lexically_normal();
    if (!path.has_filename()) path = path.parent_path();  // a "/" at its end
    return path.string();
}

// The home folder by the user data base, for processes without HOME.
std::string registered_home() {
    std::array<char, 4096> buffer;
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0) return "/";
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "/";
}

// The XDG rules: a folder that is not absolute counts as not set.
std::string xdg_folder(const char* value, const std::string& user_home, const char* otherwise) {
    const std::string base =
        value != nullptr && value[0] == '/' ? std::string(value) : user_home + otherwise;
    return absolute(base + "/" + own_name);
}

bool is_folder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void make_folder(const std::string& path, mode_t mode) {
    if (is_folder(path)) return;
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string step = path.substr(0, end);
        if (::mkdir(step.c_str(), mode) != 0 && !is_folder(step)) {
            const int error_number = errno == EEXIST ? ENOTDIR : errno;  // a file in the way
            throw path_error(error_number, std::generic_category(),
                             "cannot make the folder " + step);
        }
        if (end == std::string::npos) return;
    }
}

// Where an installation has its "share" beside, seen from a folder with code; empty for one that is
// no such folder.
std::filesystem::path prefix_of(const std::filesystem::path& folder) {
    const std::filesystem::path above = folder.parent_path();
    if (above.filename() == "lib") return above.parent_path();
    const std::filesystem::path name = folder.filename();
    return name == "bin" || name == "lib" || name == "lib64" ? above : std::filesystem::path();
}

// The program or library that holds this function, which a host may have loaded from anywhere.
std::string own_file() {
    const auto own_code = reinterpret_cast<std::uintptr_t>(&prefix_of);
    for (const loaded_module& each : loaded_modules()) {
        if (each.code_begin <= own_code && own_code < each.code_end) return each.path;
    }
    return {};
}

std::mutex place_mutex;

// Read from the environment on first use only: a host may change its environment at any moment,
// which getenv() does not bear. Never destroyed: threads of a host may ask until the very end. Call
// it with the mutex held.
places& known_places() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): hence the first use only
    const auto variable = [](const char* name) -> const char* { return std::getenv(name); };
    static places& known = *new places(places_of(variable));
    return known;
}

places current_places() {
    const std::lock_guard lock(place_mutex);
    return known_places();
}

}  // namespace

places places_of(const char* (*variable)(const char* name)) {
    places found;
    const char* const own_home = variable("BRINDLEMOSS_HOME");
    if (own_home != nullptr && own_home[0] != '\0') found.home = absolute(own_home);
    const char* const home_variable = variable("HOME");
    const std::string user_home = home_variable != nullptr && home_variable[0] == '/'
                                      ? std::string(home_variable)
                                      : registered_home();
    found.data = xdg_folder(variable("XDG_DATA_HOME"), user_home, "/.local/share");
    found.state = xdg_folder(variable("XDG_STATE_HOME"), user_home, "/.local/state");
    return found;
}

std::string home() {
    return current_places().home;
}

void set_home(std::string_view folder) {
    std::string wanted = folder.empty() ? std::string() : absolute(folder);
    const std::lock_guard lock(place_mutex);
    known_places().home = std::move(wanted);
}

std::string user_data() {
    const places found = current_places();
    std::string folder = found.home.empty() ? found.data : found.home;
    make_folder(folder, private_mode);
    return folder;
}

std::string user_state(std::string_view name) {
    const places found = current_places();
    std::string folder = found.home.empty() ? found.state : found.home;
    folder.append("/").append(name);
    make_folder(folder, private_mode);
    return folder;
}

std::string machine() {
    std::string own_home = home();
    return own_home.empty() ? machine_folder : own_home;
}

void make_machine() {
    make_folder(machine(), home().empty() ? public_mode : private_mode);
}

std::string product_data_of(std::string_view own_file, std::string_view source_share) {
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(own_file, error);
    if (error) return {};
    const std::filesystem::path prefix = prefix_of(file.parent_path());
    const std::string folder =
        prefix.empty() ? std::string(source_share) : (prefix / "share" / "brindlemoss").string();
    return is_folder(folder) ? folder : std::string();
}

std::string product_data() {
    static const std::string& folder =
        *new std::string(product_data_of(own_file(), BRINDLEMOSS_SOURCE_SHARE));
    return folder;
}

}  // namespace replay::platform::paths
