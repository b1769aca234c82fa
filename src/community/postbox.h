#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "community/transaction.h"
#include "foundation/network_environment.h"
#include "foundation/sync.h"
#include "foundation/transport.h"

namespace brindlemoss::analysis::community {

// The one socket through which all requests go out, and the table of those that are under way: a
// response finds its request by the record "RID". Any thread may call, but one alone receives.
class postbox {
public:
    postbox() = default;
    postbox(const postbox&) = delete;
    postbox& operator=(const postbox&) = delete;

    // Makes the socket, and binds it unless `local` is the default address. Before it nothing can
    // be sent or received; afterwards, and while another thread is in a call, it may not be called.
    // Throws what the transport throws; then it may be tried again.
    void open(const replay::internet::address::ip4& local);

    // Gives the transaction a number of its own, writes that into the request, and has the response
    // come to it until leave(), before which it must not be destroyed.
    void enter(transaction& entered, datagram& request);

    // From then on the transaction belongs to the caller alone. Doing it twice does no harm.
    void leave(transaction& left);

    // Sends one datagram in the name of a transaction, which may now be answered from that address,
    // and counts it. Throws what the transport throws.
    void send(transaction& sender, const replay::internet::address::ip4& to,
              std::string_view bytes);

    void start_timer(transaction& timed);

    // Waits for one datagram and hands it to the transaction that it answers. Drops one that can't
    // be read or answers none: its number is unknown, the transaction has not asked that address or
    // has its response already. Throws what the transport throws.
    void receive();

    // Ends a receive() that waits, and lets go all that wait for a response, now or later.
    void close();

private:
    struct text_hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    void deliver(datagram& response, std::size_t size, const replay::internet::address::ip4& from);

    replay::internet::environment environment_;
    replay::internet::transport::udp::raw socket_;
    std::optional<replay::internet::transport::udp::buffer> buffer_;  // of who receives; open

    replay::mutex lock_;  // guards all below and what has entered; never held across a wait
    std::unordered_map<std::string, transaction*, text_hash, std::equal_to<>> pending_;
    std::uint64_t last_number_ = 0;
    bool is_closed_ = false;
};

// Has a transaction stand in a postbox for as long as the guard lives.
class postbox_stay {
public:
    postbox_stay(postbox& box, transaction& guest, datagram& request) : box_(box), guest_(guest) {
        box_.enter(guest_, request);
    }
    ~postbox_stay() { box_.leave(guest_); }
    postbox_stay(const postbox_stay&) = delete;
    postbox_stay& operator=(const postbox_stay&) = delete;

private:
    postbox& box_;
    transaction& guest_;
};

}  // namespace brindlemoss::analysis::community
