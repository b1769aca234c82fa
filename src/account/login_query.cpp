#include "account/login_query.h"

#include "account/installation.h"
#include "foundation/registry.h"
#include "foundation/translate.h"
#include "platform/host_process.h"
#include "platform/system_version.h"

namespace brindlemoss::account {

namespace {

namespace registry = replay::registry2;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using replay::coding::translate::percent_encode;

constexpr const registry::setting* counters_told[] = {
    &setting_of(tree_key::user_statistics_filter, u"Blocked"),
    &setting_of(tree_key::user_statistics_filter, u"Processed"),
    &setting_of(tree_key::user_statistics_user, u"Unblocked"),
    &setting_of(tree_key::user_statistics_user, u"Blocked"),
    &setting_of(tree_key::user_statistics_communication, u"Bytes Transmitted"),
    &setting_of(tree_key::user_statistics_communication, u"Bytes Received"),
    &setting_of(tree_key::user_statistics_protocol, u"Response Time"),
    &setting_of(tree_key::user_statistics_protocol, u"Timeouts"),
    &setting_of(tree_key::user_statistics_protocol, u"Errors"),
    &setting_of(tree_key::user_statistics_protocol, u"Queries"),
};

void append_coded(std::string& query, std::string_view name, std::string_view value) {
    query.append(name);
    percent_encode(value, query);
}

}  // namespace

machine_facts facts_of_this_machine() {
    return {replay::platform::system_version(), {}, {}, replay::platform::host_process::path()};
}

std::string statistics_text() {
    std::string text = "0|";
    for (const registry::setting* const counter : counters_told) {
        // A counter beyond the largest 32-bit signed number shows as a negative one.
        const auto number =
            static_cast<std::int32_t>(registry::get_integer(*counter, write_back::yes));
        text.append(std::to_string(number)).append("|");
    }
    return text;
}

query_facts facts_of_the_stores() {
    constexpr const registry::setting& language_setting =
        setting_of(tree_key::user_root, u"Language");
    const installation installed;  // that of the process may go while a login is in the background
    query_facts facts;
    facts.partner = static_cast<std::int32_t>(installed.partner());
    facts.version = installed.version();
    facts.features = static_cast<std::int32_t>(installed.features());
    facts.language = registry::get_utf8(language_setting, write_back::yes);
    facts.statistics = statistics_text();
    return facts;
}

std::string login_query(const query_facts& stored, const machine_facts& machine,
                        std::string_view user, std::string_view password) {
    std::string query = "?Pr=1&Pa=" + std::to_string(stored.partner);
    append_coded(query, "&SV=", stored.version);
    if (!user.empty() && !password.empty()) {
        append_coded(query, "&U=", user);
        query.append("&P=").append(password);
    }
    query.append("&I=").append(std::to_string(stored.features));
    append_coded(query, "&OSV=", machine.system_version);
    if (machine.older_mail_client) append_coded(query, "&OEV=", *machine.older_mail_client);
    if (machine.mail_client) append_coded(query, "&OV=", *machine.mail_client);
    query.append("&L=").append(stored.language);
    const std::string_view host = replay::platform::host_process::file_name(machine.host_path);
    if (!host.empty()) append_coded(query, "&Process=", host);
    append_coded(query, "&Statistics=", stored.statistics);
    return query.append("&CP=65001");
}

}  // namespace brindlemoss::account
