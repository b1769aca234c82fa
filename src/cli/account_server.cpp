#include "cli/account_server.h"

#include "account/document_fetch.h"
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

bool may_have_document() {
    return account::is_server_named() || may_have_kept_document();
}

std::string no_server_named() {
    return "no account server is named: " + how_to_name_a_server();
}

std::string how_to_name_a_server() {
    return "'brindlemoss registry set --machine Account Host NAME' names one";
}

}  // namespace brindlemoss::cli
