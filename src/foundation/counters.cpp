#include "foundation/counters.h"

#include <string>

#include "foundation/registry.h"
#include "foundation/registry_values.h"

namespace replay::counters {

namespace {

using registry2::tree_key;

constexpr tree_key first_counters = tree_key::user_statistics_filter;
constexpr tree_key last_counters = tree_key::user_statistics_protocol;

// The key of the table at a path below "Statistics": those stay open. nullptr when there is none.
const registry2::key* table_key(std::u16string_view path) {
    constexpr std::size_t prefix = registry2::statistics_path.size() + 1;
    for (const registry2::key_place& place : registry2::key_places) {
        if (place.key < first_counters || place.key > last_counters) continue;
        if (place.path.substr(prefix) == path) return &registry2::at(place.key);
    }
    return nullptr;
}

}  // namespace

void add(std::string_view path, std::string_view name, std::uint32_t amount) {
    const std::u16string wide_path = registry2::wide_name(path);
    const std::u16string wide_name = registry2::wide_name(name);
    if (const registry2::key* const key = table_key(wide_path)) {
        return key->add_to_integer(wide_name, amount);
    }
    const registry2::key statistics(registry2::key(registry2::predefined_root::current_user),
                                    registry2::statistics_path, registry2::when_missing::create);
    registry2::key(statistics, wide_path, registry2::when_missing::create)
        .add_to_integer(wide_name, amount);
}

}  // namespace replay::counters
