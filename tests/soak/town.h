#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

#include "support/http_peer.h"
#include "support/scripted_peer.h"

namespace soak {

// How a server of the community takes requests.
enum class mood {
    knows_nothing,
    knows_signatures,
    answers_twice,
    answers_from_elsewhere,
    talks_nonsense,
    contradicts_itself,  // answers that are read, and cannot be right
    silent,
};

// The servers on loopback that the program is to get along with: three of the community, one for
// accounts. They come and go and change their moods; the settings always name those that there are.
class town {
public:
    town();
    town(const town&) = delete;
    town& operator=(const town&) = delete;

    // The next thing that happens to the servers or to the library; they come round in a circle.
    void turn();

    // Of the server for accounts. Any thread may call.
    std::string account_url() const;

private:
    struct neighbour {
        std::atomic<mood> in{mood::knows_nothing};
        test_support::scripted_peer peer;

        neighbour();
    };

    void rebuild_community();
    void replace_account_server();
    void all_are(mood in);

    std::array<std::unique_ptr<neighbour>, 3> community_;
    std::unique_ptr<test_support::http_peer> account_server_;
    mutable std::mutex url_lock_;
    std::string account_url_;  // guarded by url_lock_
    std::size_t turns_ = 0;
};

// Ends whatever of the library runs in the background, and frees what its calls share.
void end_library();

}  // namespace soak
