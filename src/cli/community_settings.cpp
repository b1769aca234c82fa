#include "cli/community_settings.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

#include "cli/registry_access.h"
#include "foundation/ascii.h"
#include "foundation/registry.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;

namespace {

constexpr const registry::setting& server_setting =
    setting_of(tree_key::machine_community, u"Server");
constexpr const registry::setting& refresh_setting =
    setting_of(tree_key::machine_community, u"Refresh");

std::string in_quotes(std::string_view name) {
    return "'" + std::string(name) + "'";
}

bool is_port(std::string_view digits) {
    std::uint16_t port = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, port);
    return error == std::errc() && rest == end && port != 0;
}

bool fits_host(char byte) {
    return replay::ascii::is_letter_or_digit(byte) || byte == '-' || byte == '.' || byte == '_';
}

void check_server(std::string_view name) {
    constexpr std::size_t longest_host = 253;
    if (std::count(name.begin(), name.end(), ':') > 1) {
        throw server_name_error(in_quotes(name) +
                                " is no HOST[:PORT]: the community speaks IPv4 only");
    }
    const std::size_t colon = name.find(':');
    const std::string_view host = name.substr(0, colon);
    if (host.empty() || host.size() > longest_host || host.front() == '-' ||
        !std::all_of(host.begin(), host.end(), fits_host)) {
        throw server_name_error(in_quotes(name) + " is no HOST[:PORT]");
    }
    if (colon != std::string_view::npos && !is_port(name.substr(colon + 1))) {
        throw server_name_error(in_quotes(name) + " names no port between 1 and 65535");
    }
}

void write(const std::u16string& servers, std::uint32_t refresh) {
    const registry::key& community = registry::at(tree_key::machine_community);
    community.set_text(server_setting.name, servers);
    community.set_integer(refresh_setting.name, refresh);
}

}  // namespace

community_settings read_community_settings() {
    const registry::key_place& place = registry::place_of(tree_key::machine_community);
    const auto key = open_existing(place.root, place.path);
    if (!key) return {};
    const std::u16string servers =
        key->get_text(server_setting.name, server_setting.text_default, write_back::no);
    community_settings read;
    // The default leads nowhere: it stands for no server at all.
    if (servers != server_setting.text_default) read.servers = utf8_of(servers);
    read.refresh =
        key->get_integer(refresh_setting.name, refresh_setting.integer_default, write_back::no);
    return read;
}

void name_servers(const std::vector<std::string>& servers) {
    std::u16string all;
    for (const std::string& name : servers) {
        check_server(name);
        if (!all.empty()) all += u' ';
        all.append(name.begin(), name.end());
    }
    const std::uint32_t refresh = read_community_settings().refresh;
    write(all, refresh != 0 ? refresh : refresh_setting.integer_default);
}

void forget_servers() {
    write(std::u16string(server_setting.text_default), 0);
}

}  // namespace brindlemoss::cli
