#include "cli/account_server.h"

#include "cli/registry_access.h"
#include "foundation/registry.h"
#include "platform/clock.h"

namespace brindlemoss::cli {

namespace platform = replay::platform;
namespace registry = replay::registry2;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;

namespace {

bool may_have_kept_document() {
    constexpr const registry::setting& expiry = setting_of(tree_key::user_account_cache, u"Expiry");
    const registry::key_place& place = registry::place_of(expiry.key);
    const auto key = open_existing(place.root, place.path);
    return key &&
           key->get_integer(expiry.name, 0, write_back::no) > platform::clock::seconds_since_1970();
}

}  // namespace

bool is_server_named() {
    constexpr const registry::setting& host = setting_of(tree_key::machine_account, u"Host");
    const registry::key_place& place = registry::place_of(host.key);
    const auto key = open_existing(place.root, place.path);
    if (!key) return false;
    const std::u16string name = key->get_text(host.name, host.text_default, write_back::no);
    // The default leads nowhere: it stands for no server at all.
    return !name.empty() && name != host.text_default;
}

bool may_have_document() {
    return is_server_named() || may_have_kept_document();
}

std::string no_server_named() {
    return "no account server is named: " + how_to_name_a_server();
}

std::string how_to_name_a_server() {
    return "'brindlemoss registry set --machine Account Host NAME' names one";
}

}  // namespace brindlemoss::cli
