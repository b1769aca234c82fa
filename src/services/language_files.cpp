#include "services/language_files.h"

#include <filesystem>
#include <system_error>

#include "account/installation.h"
#include "foundation/registry.h"
#include "message/character_set.h"
#include "platform/character_class.h"
#include "platform/paths.h"
#include "platform/store.h"

namespace brindlemoss::services::language_files {

namespace {

namespace fs = std::filesystem;
namespace registry = replay::registry2;
namespace unicode = replay::unicode;

constexpr std::u16string_view extension = u".ini";

// The directory that the installation names; empty also where nothing was installed.
std::string installed_directory() {
    try {
        return account::installation::instance().directory();
    } catch (const registry::key_error& error) {
        const auto fault = static_cast<replay::platform::store_fault>(error.number());
        if (fault != replay::platform::store_fault::not_found) throw;
        return {};
    }
}

std::u16string lower_name(const fs::path& file) {
    return replay::platform::to_lower(unicode::to_wide(file.filename().native(), unicode::utf8));
}

// Calls `take` with each regular file until it gives false.
template <typename taker>
void for_each_file(const std::string& folder, taker&& take) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code gone;
        if (entry->is_regular_file(gone) && !take(entry->path())) return;
    }
}

}  // namespace

std::string folder() {
    std::string directory = installed_directory();
    if (directory.empty()) directory = replay::platform::paths::product_data();
    if (directory.empty()) return {};
    if (!directory.ends_with('/')) directory += '/';
    for (const char* const name : {"Languages/", "languages/"}) {
        std::error_code error;
        if (fs::is_directory(directory + name, error)) return directory + name;
    }
    return {};
}

std::string path_of(const std::string& folder, std::u16string_view language,
                    std::uint32_t partner) {
    constexpr std::u16string_view unfit(u"/\\\0", 3);
    if (folder.empty() || language.find_first_of(unfit) != std::u16string_view::npos) return {};
    std::string name = unicode::from_wide(language, unicode::utf8);
    // The number is written as a signed one.
    name += std::to_string(static_cast<std::int32_t>(partner)) + ".ini";
    std::error_code error;
    if (fs::is_regular_file(folder + name, error)) return folder + name;
    const std::u16string wanted = lower_name(name);
    std::string found;
    for_each_file(folder, [&](const fs::path& file) {
        if (lower_name(file) != wanted) return true;
        found = file.native();
        return false;
    });
    return found;
}

std::vector<listed_file> list(const std::string& folder) {
    constexpr std::u16string_view digits = u"0123456789";
    std::vector<listed_file> files;
    if (folder.empty()) return files;
    for_each_file(folder, [&](const fs::path& file) {
        if (!lower_name(file).ends_with(extension)) return true;
        const std::u16string name = unicode::to_wide(file.filename().native(), unicode::utf8);
        files.push_back({name.substr(0, name.find_first_of(digits)), file.native()});
        return true;
    });
    return files;
}

}  // namespace brindlemoss::services::language_files
