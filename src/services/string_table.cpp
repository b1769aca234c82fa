#include "services/string_table.h"

#include <filesystem>
#include <system_error>

#include "message/character_set.h"
#include "platform/character_class.h"
#include "platform/file.h"

namespace brindlemoss::services {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// The next line of `rest`, without its end, and takes it away there.
std::string_view next_line(std::string_view& rest) {
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::u16string_view trimmed(std::u16string_view text) {
    const auto& characters = replay::platform::characters();
    while (!text.empty() && characters.is_space(text.front())) text.remove_prefix(1);
    while (!text.empty() && characters.is_space(text.back())) text.remove_suffix(1);
    return text;
}

std::string bytes_of(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return {};
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > string_table::most_file_bytes) return {};
    try {
        return replay::platform::read_file(path);
    } catch (const replay::platform::file_error&) {
        return {};
    }
}

}  // namespace

string_table::string_table(std::string_view bytes) {
    using replay::platform::to_lower;
    if (bytes.starts_with(byte_order_mark)) bytes.remove_prefix(byte_order_mark.size());
    std::u16string group;
    std::u16string line;
    while (!bytes.empty()) {
        line.clear();
        replay::unicode::append_wide(next_line(bytes), replay::unicode::utf8, line);
        const std::u16string_view text = line;
        if (text.starts_with(u'[') && text.ends_with(u']')) {
            group = to_lower(text.substr(1, text.size() - 2));
            continue;
        }
        const std::size_t equals = text.find(u'=');
        if (equals == std::u16string_view::npos) continue;
        groups_[group].insert_or_assign(to_lower(trimmed(text.substr(0, equals))),
                                        std::u16string(trimmed(text.substr(equals + 1))));
    }
}

string_table string_table::read(const std::string& path) {
    return string_table(bytes_of(path));
}

const std::u16string* string_table::find(std::u16string_view group,
                                         std::u16string_view item) const {
    const auto within = groups_.find(group);
    if (within == groups_.end()) return nullptr;
    const auto found = within->second.find(item);
    return found == within->second.end() ? nullptr : &found->second;
}

}  // namespace brindlemoss::services
