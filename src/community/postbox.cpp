#include "community/postbox.h"

#include <algorithm>
#include <utility>

#include "foundation/translate.h"

namespace brindlemoss::analysis::community {

using replay::scope;
using replay::internet::address::ip4;

namespace {

constexpr std::string_view number_key = "RID";

bool has_asked(const transaction& asking, const ip4& address) {
    return std::find(asking.asked.begin(), asking.asked.end(), address) != asking.asked.end();
}

}  // namespace

void postbox::open(const ip4& local) {
    socket_.open(local);
    if (local.not_equal(ip4())) socket_.bind(local);
    buffer_.emplace(socket_.maximum_message_size());
}

void postbox::enter(transaction& entered, datagram& request) {
    // Made first: nothing may fail once the table knows the transaction.
    std::string& number = request.records[std::string(number_key)];
    const scope guard(lock_);
    entered.id = encode_numeral(++last_number_);
    number = entered.id;
    pending_.emplace(entered.id, &entered);
    if (is_closed_) entered.completed.set();
}

void postbox::leave(transaction& left) {
    {
        const scope guard(lock_);
        if (pending_.erase(left.id) != 0) left.completed.set();
    }
    // Who else took it out has completed it, or is about to.
    left.completed.wait();
}

void postbox::send(transaction& sender, const ip4& to, std::string_view bytes) {
    {
        const scope guard(lock_);
        if (!has_asked(sender, to)) sender.asked.push_back(to);
    }
    socket_.send(to, bytes);
    sender.stats->bytes_transmitted += static_cast<std::uint32_t>(bytes.size());
    ++sender.stats->packets_transmitted;
}

void postbox::start_timer(transaction& timed) {
    const scope guard(lock_);
    timed.timer.restart();
}

void postbox::receive() {
    ip4 from;
    socket_.receive(from, *buffer_);
    datagram response;
    try {
        response.parse(buffer_->text());
    } catch (const replay::coding::translate::invalid_codeword&) {
        return;
    }
    deliver(response, buffer_->size(), from);
}

void postbox::deliver(datagram& response, std::size_t size, const ip4& from) {
    const std::string* number = response.find(number_key);
    if (number == nullptr) return;
    scope guard(lock_);
    const auto found = pending_.find(*number);
    if (found == pending_.end() || !has_asked(*found->second, from)) return;
    transaction& answered = *found->second;
    answered.stats->response_time = static_cast<std::uint32_t>(answered.timer.finish());
    answered.stats->bytes_received += static_cast<std::uint32_t>(size);
    ++answered.stats->packets_received;
    answered.address = from;
    answered.response = std::move(response);
    answered.answered = true;
    if (answered.is_only_sent) return;
    pending_.erase(found);
    guard.release();
    answered.completed.set();
}

void postbox::close() {
    if (buffer_) socket_.close();
    const scope guard(lock_);
    is_closed_ = true;
    for (const auto& [number, waiting] : pending_) waiting->completed.set();
    pending_.clear();
}

}  // namespace brindlemoss::analysis::community
