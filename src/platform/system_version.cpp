#include "platform/system_version.h"

#include <sys/utsname.h>

#include <charconv>
#include <cstdint>

namespace replay::platform {

namespace {

constexpr std::string_view platform_number = "4";

// Takes the number that `text` begins with off it.
std::uint32_t take_number(std::string_view& text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    text.remove_prefix(
        static_cast<std::size_t>(std::from_chars(text.data(), end, number).ptr - text.data()));
    return number;
}

}  // namespace

std::string system_version() {
    utsname names{};
    return system_version_of(::uname(&names) == 0 ? names.release : "");
}

std::string system_version_of(std::string_view release) {
    const std::uint32_t major = take_number(release);
    const bool has_minor = release.starts_with('.');
    if (has_minor) release.remove_prefix(1);
    const std::uint32_t minor = has_minor ? take_number(release) : 0;
    return std::string(platform_number)
        .append(":")
        .append(std::to_string(major))
        .append(".")
        .append(std::to_string(minor));
}

}  // namespace replay::platform
