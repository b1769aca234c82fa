#include "account/settings_cache.h"

#include "foundation/md5.h"
#include "foundation/module.h"
#include "foundation/named_mutex.h"
#include "foundation/registry.h"
#include "foundation/translate.h"
#include "platform/clock.h"

namespace brindlemoss::account::settings_cache {

namespace {

namespace registry = replay::registry2;
namespace translate = replay::coding::translate;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;

constexpr std::string_view mutex_name = "Brindlemoss.Core.Account";
constexpr std::string_view salt = "q#lk\xA7";
constexpr std::int64_t seconds_to_renewal = 93'600;  // 26 hours

constexpr const registry::setting& expiry_setting =
    setting_of(tree_key::user_account_cache, u"Expiry");
constexpr const registry::setting& refresh_setting =
    setting_of(tree_key::user_account_cache, u"Refresh");
constexpr const registry::setting& content_setting =
    setting_of(tree_key::user_account_cache, u"Content");
constexpr const registry::setting& hash_setting = setting_of(tree_key::user_account_cache, u"Hash");
constexpr const registry::setting& ignore_setting =
    setting_of(tree_key::user_account_cache, u"Ignore");

const registry::key& cache_key() {
    return registry::at(tree_key::user_account_cache);
}

std::string digest_of(std::uint32_t expiry, std::string_view document) {
    std::string salted(salt);
    salted.append(std::to_string(expiry)).append(document);
    return replay::md5(salted).base64(translate::padding::none);
}

replay::log& account_log() {
    return module::instance().log_of(subsystem::account);
}

}  // namespace

std::optional<kept_document> load() {
    replay::named_mutex processes(mutex_name);
    const replay::scope guard(processes);
    const registry::key& cache = cache_key();
    if (cache.get_raw(ignore_setting.name)) return std::nullopt;
    const std::uint32_t expiry = registry::get_integer(expiry_setting, write_back::yes);
    registry::get_integer(refresh_setting, write_back::yes);
    if (expiry <= replay::platform::clock::seconds_since_1970()) return std::nullopt;
    std::string document =
        translate::base64_decode(cache.get_bytes_text(content_setting.name, {}, write_back::no),
                                 translate::decoding::strict);
    const bool is_intact =
        digest_of(expiry, document) == cache.get_bytes_text(hash_setting.name, {}, write_back::no);
    account_log().write(0, is_intact ? "Cache loaded" : "Cache corrupted");
    return kept_document{std::move(document), std::int64_t{expiry} - seconds_kept, is_intact};
}

void store(std::string_view document, bool approved) {
    replay::named_mutex processes(mutex_name);
    const replay::scope guard(processes);
    const registry::key& cache = cache_key();
    const std::int64_t now = replay::platform::clock::seconds_since_1970();
    const auto expiry = static_cast<std::uint32_t>(now + seconds_kept);
    const auto refresh = static_cast<std::uint32_t>(approved ? now + seconds_to_renewal : 0);
    cache.set_integer(expiry_setting.name, expiry);
    cache.set_bytes_text(content_setting.name,
                         translate::base64_encode(document, translate::padding::none));
    cache.set_bytes_text(hash_setting.name, digest_of(expiry, document));
    cache.set_integer(refresh_setting.name, refresh);
    account_log().write(0, "Cache updated");
}

}  // namespace brindlemoss::account::settings_cache
