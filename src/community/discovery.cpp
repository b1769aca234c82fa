#include "community/discovery.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <list>
#include <optional>
#include <utility>

#include "community/messages.h"
#include "foundation/tokens.h"
#include "foundation/translate.h"
#include "message/character_set.h"

namespace brindlemoss::analysis::community {

namespace unicode = replay::unicode;
using replay::internet::address::ip4;

namespace {

// The port of a decimal number from 1 to 65535; nothing for any other text.
std::optional<std::uint16_t> port_of(std::string_view text) {
    std::uint16_t port = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), port);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || port == 0) return {};
    return port;
}

std::vector<ip4> addresses_of(std::string_view host, name_look_up look_up) {
    const std::size_t colon = host.rfind(':');
    std::optional<std::uint16_t> port = community_port;
    if (colon != std::string_view::npos) port = port_of(host.substr(colon + 1));
    if (!port) return {};
    try {
        return look_up(std::string(host.substr(0, colon)), *port);
    } catch (const replay::internet::address::generic&) {
        return {};
    }
}

std::u16string text_of(const datagram& response, std::string_view key) {
    const std::string* value = response.find(key);
    return value == nullptr ? std::u16string() : unicode::to_wide(*value, unicode::utf8);
}

std::uint64_t number_of(const datagram& response, std::string_view key) {
    const std::string* value = response.find(key);
    return value == nullptr ? 0 : decode_numeral(*value);
}

struct probe {
    probe(postbox& box, time_source now)
        : exchange(transaction::kind::awaits_response, stats, now),
          request(discover_request()),
          stay(box, exchange, request) {}

    community_stats stats;
    transaction exchange;
    datagram request;
    postbox_stay stay;
};

// False when the probe could not be sent; then it just gets no answer.
bool send(probe& sent, postbox& box, const ip4& address) {
    try {
        std::string bytes;
        sent.request.serialize(bytes);
        box.send(sent.exchange, address, bytes, postbox::timer_start::after);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void add_server(const transaction& probe, server_list& servers) {
    try {
        server read = read_server(probe);
        servers.emplace(read.latency, std::move(read));
    } catch (const replay::coding::translate::invalid_codeword&) {
        // Who can't count is not asked for more.
    }
}

}  // namespace

std::vector<ip4> addresses_to_probe(std::string_view hosts, const client_options& options) {
    std::vector<ip4> distinct;
    for (const std::string_view host : replay::tokens_of(hosts, ' ')) {
        for (const ip4& each : addresses_of(host, options.look_up)) {
            if (std::find(distinct.begin(), distinct.end(), each) == distinct.end()) {
                distinct.push_back(each);
            }
        }
    }
    if (!distinct.empty()) return distinct;
    for (const auto& each : options.fallback) distinct.emplace_back(each, community_port);
    return distinct;
}

server read_server(const transaction& probe) {
    const datagram& response = probe.response;
    server read;
    static_cast<ip4&>(read) = probe.address;
    read.latency = probe.stats->response_time;
    read.name = text_of(response, "SRV-FQDN");
    read.location = text_of(response, "SRV-LOCATION");
    read.provider = text_of(response, "SRV-PROVIDER");
    read.server_age = number_of(response, "SRV-AGE");
    read.database_serial = number_of(response, "DB-SERIAL");
    read.database_age = number_of(response, "DB-AGE");
    return read;
}

discovery_result probe_servers(postbox& box, const std::vector<ip4>& addresses,
                               const client_options& options) {
    std::list<probe> probes;
    bool any_sent = false;
    for (const ip4& address : addresses) {
        probe& made = probes.emplace_back(box, options.now);
        if (send(made, box, address)) any_sent = true;
    }
    discovery_result result;
    for (; !probes.empty(); probes.pop_front()) {
        transaction& exchange = probes.front().exchange;
        const bool may_wait = any_sent && result.unreachable == 0;
        box.wait(exchange, may_wait ? options.probe_wait : std::chrono::milliseconds(0));
        box.leave(exchange);
        if (exchange.answered) {
            add_server(exchange, result.servers);
        } else {
            ++result.unreachable;
        }
    }
    return result;
}

}  // namespace brindlemoss::analysis::community
