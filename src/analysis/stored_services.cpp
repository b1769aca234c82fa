#include "analysis/stored_services.h"

#include <algorithm>

#include "foundation/counters.h"
#include "foundation/registry.h"

namespace brindlemoss::analysis {

namespace registry = replay::registry2;

std::uint16_t stored_services::threshold() {
    constexpr const registry::setting& filter =
        registry::setting_of(registry::tree_key::user_thresholds, u"Filter");
    return static_cast<std::uint16_t>(registry::get_integer(filter, registry::write_back::yes));
}

void stored_services::add_to_counter(std::string_view key, std::string_view value,
                                     std::uint32_t amount) {
    replay::counters::add(key, value, amount);
}

bool wants_message_copies() {
    constexpr std::u16string_view name = u"Debug Mode";
    constexpr std::uint32_t with_messages = 2;
    try {
        const registry::key& root = registry::at(registry::tree_key::user_root);
        const auto names = root.value_names();
        if (std::find(names.begin(), names.end(), name) == names.end()) return false;
        return root.get_integer(name, 0, registry::write_back::no) == with_messages;
    } catch (const registry::generic&) {
        return false;
    }
}

}  // namespace brindlemoss::analysis
