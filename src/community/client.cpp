#include "community/client.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "community/errors.h"
#include "foundation/transport.h"
#include "message/character_set.h"

namespace brindlemoss::analysis::community {

using replay::scope;
using replay::internet::address::ip4;
using replay::internet::message2::part;
using replay::internet::transport::udp::raw;
using std::chrono::milliseconds;

namespace {

std::u16string widen(std::string_view bytes) {
    return replay::unicode::to_wide(bytes, replay::unicode::byte_for_byte);
}

// A number as the report writes it: 32 bits of it, signed.
std::u16string number_text(std::uint64_t number) {
    return widen(std::to_string(static_cast<std::int32_t>(number)));
}

std::u16string server_line(const server& asked) {
    return u"Server: " + asked.name + u" [" + widen(asked.host().text()) + u"]";
}

std::u16string database_line(const database_state& database) {
    return u"Database: Serial: " +
           widen(std::to_string(static_cast<std::int64_t>(database.serial))) + u", Last update: " +
           number_text(database.age) + u" seconds ago";
}

}  // namespace

milliseconds time_to_answer(const server& asked, const client_options& options) {
    return std::max(options.shortest_attempt, milliseconds(4 * asked.latency));
}

client::client(const ip4& local, std::string hosts, std::uint32_t refresh, client_options options)
    : options_(options), local_(local), hosts_(std::move(hosts)), refresh_(refresh) {
    if (refresh == 0) return;
    open();
    try {
        discovery_ = std::thread(&client::run_discovery, this);
    } catch (...) {
        stop();
        throw;
    }
    discovery_completed_.wait();
}

client::~client() {
    stop();
}

void client::open() {
    const scope guard(opening_);
    if (receiver_.joinable()) return;
    postbox_.open(local_);
    receiver_ = std::thread(&client::run_receiver, this);
    ready_.wait();
}

void client::stop() {
    turnstile_.request_stop();
    discovery_requested_.set();
    postbox_.close();
    turnstile_.idle.wait();
    if (receiver_.joinable()) receiver_.join();
    if (discovery_.joinable()) discovery_.join();
}

void client::match(signature_list& signatures, report& lines, community_stats& stats,
                   milliseconds budget) {
    transaction exchange(transaction::kind::awaits_response, stats, options_.now);
    datagram request = match_request(signatures);
    const postbox_stay stay(postbox_, exchange, request);
    execute(exchange, lines, request, budget);
    push_line(lines, 2, database_line(read_match_response(exchange.response, signatures)));
}

void client::touch(std::u16string_view class_text, const signature_list& signatures, report& lines,
                   community_stats& stats) {
    send_only(touch_request(class_text, signatures), lines, stats);
}

void client::report_message(const part& message, community_stats& stats, const credentials& voter) {
    report nobody_reads;
    send_only(feedback_request(vote::report, message, voter), nobody_reads, stats);
}

void client::revoke_message(const part& message, community_stats& stats, const credentials& voter) {
    report nobody_reads;
    send_only(feedback_request(vote::revoke, message, voter), nobody_reads, stats);
}

void client::send_only(datagram request, report& lines, community_stats& stats) {
    transaction exchange(transaction::kind::only_sent, stats, options_.now);
    const postbox_stay stay(postbox_, exchange, request);
    execute(exchange, lines, request, milliseconds(0));
}

void client::execute(transaction& exchange, report& lines, const datagram& request,
                     milliseconds budget) {
    push_line(lines, 0, u"");
    push_line(lines, 0, u"Executing Request:");
    const shared_servers servers = usable_servers(lines, budget);
    std::string bytes;
    request.serialize(bytes);
    stopwatch overall(options_.now);
    overall.restart();
    for (auto next = servers->begin();;) {
        const server& asked = next->second;
        const milliseconds limit = time_to_answer(asked, options_);
        try {
            return attempt(exchange, lines, bytes, asked, limit);
        } catch (const raw::message_truncated&) {
            push_line(lines, 1, u"Operation failed. Buffer exceeds datagram capacity.");
            throw too_large();
        } catch (const std::exception& failure) {
            push_line(lines, 2, u"Exception: " + widen(failure.what()));
        }
        // Without a budget there is one attempt, however quickly it failed.
        const auto most = static_cast<std::uint64_t>(budget.count());
        if (most == 0 || overall.elapsed() > most) throw timed_out();
        if (postbox_.pause(limit)) throw timed_out();
        if (++next == servers->end()) next = servers->begin();
    }
}

client::shared_servers client::usable_servers(report& lines, milliseconds budget) {
    if (!discovery_started_.wait(milliseconds(0))) {
        push_line(lines, 1, u"Operation failed. Discovery not started.");
        throw discovery_pending();
    }
    if (!discovery_completed_.wait(budget)) {
        push_line(lines, 1, u"Operation failed. Discovery not completed.");
        throw discovery_pending();
    }
    shared_servers servers = current_servers();
    if (servers->empty()) {
        discovery_requested_.set();
        push_line(lines, 1, u"Operation failed. Discovery found no reachable servers.");
        throw discovery_pending();
    }
    return servers;
}

void client::attempt(transaction& exchange, report& lines, std::string_view bytes,
                     const server& asked, milliseconds limit) {
    push_line(lines, 1, server_line(asked));
    postbox_.send(exchange, asked, bytes, postbox::timer_start::before);
    if (!postbox_.wait(exchange, limit)) {
        discovery_requested_.set();
        throw raw::operation_timed_out();
    }
    postbox_.leave(exchange);  // another response may be on its way
    push_line(lines, 2, u"Latency: " + number_text(exchange.stats->response_time) + u" msec");
    push_line(lines, 2, u"Location: " + asked.location);
}

discovery_result client::discover() {
    open();
    discovery_started_.set();
    discovery_result result =
        probe_servers(postbox_, addresses_to_probe(hosts_, options_), options_);
    auto published = std::make_shared<const server_list>(result.servers);
    const scope guard(lock_);
    servers_.swap(published);
    discovery_completed_.set();
    return result;
}

server_list client::servers() {
    return *current_servers();
}

client::shared_servers client::current_servers() {
    const scope guard(lock_);
    return servers_;
}

void client::run_receiver() {
    const scope inside(turnstile_);
    ready_.set();
    postbox_.receive_unattended();
}

void client::run_discovery() {
    const scope inside(turnstile_);
    while (true) {
        discovery_requested_.clear();
        // Looked at after the clearing, which may have undone the request of the destructor.
        if (turnstile_.stopping()) return;
        try {
            discover();
        } catch (const std::exception&) {
            // No memory: the servers stay as they are, and nobody waits for ever.
            discovery_completed_.set();
        }
        discovery_requested_.wait(refresh_);
    }
}

}  // namespace brindlemoss::analysis::community
