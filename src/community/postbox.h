#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "community/seat.h"
#include "community/transaction.h"
#include "foundation/network_environment.h"
#include "foundation/transport.h"

namespace brindlemoss::analysis::community {

// The one socket through which all requests go out, and the table of those that are under way: a
// response finds its request by the record "RID". Any thread may call.
//
// One thread at a time receives, for all. As long as somebody waits it is one of those: so the
// response to a lone request costs no change of threads. Whose own wait is over hands the receiving
// on to another that waits; the thread in receive_unattended() does it when there is none.
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
    // counts it, and starts the timer just before or after it. Throws what the transport throws.
    enum class timer_start { before, after };
    void send(transaction& sender, const replay::internet::address::ip4& to, std::string_view bytes,
              timer_start start);

    // Returns true when the transaction is over: its response is in or will not come any more.
    // False when the time went by first; 0 or less only looks. What the network tells by an error
    // is passed over, and so is a datagram that can't be read or answers nobody: its number is
    // unknown, the transaction has not asked that address or has its response already.
    bool wait(transaction& waiting, std::chrono::milliseconds timeout);

    // Lets the time go by, receiving for whoever needs it. True when close() cut it short.
    bool pause(std::chrono::milliseconds timeout);

    // Receives whenever nobody waits; returns after close(). For one thread.
    void receive_unattended();

    // Ends all that waits, now or later.
    void close();

private:
    using time_point = std::chrono::steady_clock::time_point;
    using hold = std::unique_lock<std::mutex>;

    struct text_hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    // A datagram, but for its lines.
    struct arrival {
        replay::internet::address::ip4 from;
        datagram head;
        std::string body;
    };

    bool attend(const bool& is_over, const seat*& place, std::chrono::milliseconds timeout);
    seat::call sit(hold& guard, const seat*& place, time_point end);
    shared_seat take_out(const seat* wanted);
    void receive_one(hold& guard, time_point end);
    bool read_datagram(arrival& arrived, time_point end);
    shared_seat deliver(arrival& arrived);
    void hand_on(hold& guard);

    replay::internet::environment environment_;
    replay::internet::transport::udp::raw socket_;

    // Of who receives.
    std::optional<replay::internet::transport::udp::buffer> buffer_;  // since open()
    int errors_in_a_row_ = 0;
    shared_seat answered_;  // to be called as soon as the lock is free

    std::mutex lock_;  // guards all below and what has entered; never held across a wait
    std::unordered_map<std::string, transaction*, text_hash, std::equal_to<>> pending_;
    std::uint64_t last_number_ = 0;
    bool is_closed_ = false;
    std::condition_variable closed_;

    bool is_received_ = false;          // somebody receives, or has been called to
    std::uint64_t times_left_ = 0;      // how often the receiving was left to nobody
    std::vector<shared_seat> waiting_;  // for a call; the newest at the end
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
