#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "community/errors.h"
#include "message/part.h"

namespace brindlemoss::analysis::community {
struct community_stats;
}

namespace brindlemoss::analysis {

struct analysis_run;

using replay::internet::message2::part;

// Which entries of a sender list count in a look-up.
enum class list_entries { addresses, domains };

// What filter_engine asks of the rest of the house while it judges one message: the user's sender
// lists and trust, the language gate, the network, counters and log.
//
// The base answers every question with "no" and takes every order without an effect, which is what
// holds where none of these is installed. Called from any thread, several at a time; an
// implementation guards itself. Addresses are in lower case, names are text.
class filter_services {
public:
    virtual ~filter_services() = default;

    virtual bool allowed(std::string_view, list_entries) { return false; }
    virtual bool denied(std::string_view, list_entries) { return false; }
    virtual void allow_address(std::u16string_view, std::string_view, std::u16string_view) {}
    virtual void remove_denied_address(std::string_view) {}

    virtual bool trusted(std::string_view) { return false; }
    virtual void increase_trust(std::u16string_view, std::string_view) {}
    virtual void increase_trust_of_recipients(const part&) {}
    virtual void remove_trust(std::string_view) {}

    // False when the user does not want mail in the language of the message; then `language` holds
    // its number.
    virtual bool accept_language(part&, int& language) {
        language = 0;
        return true;
    }

    // True when the machine is known to have no network.
    virtual bool offline() { return false; }

    // Asks the community about the signatures of a run, and tells it the verdict on them. Add to
    // `stats` what that cost, also when they throw. Throw community::generic where the community
    // has no word.
    virtual void match(analysis_run&, community::community_stats&) {
        throw community::discovery_pending();
    }
    virtual void touch(analysis_run&, community::community_stats&) {}

    virtual void enqueue_report(const part&) {}
    virtual void enqueue_revoke(const part&) {}

    // The rating at or above which a message counts as blocked, read anew for each message.
    virtual std::uint16_t threshold() { return default_threshold; }

    virtual void add_to_counter(std::string_view, std::string_view, std::uint32_t) {}

    // Levels go from 0, the most talkative, to 4; the line is UTF-8. logs() tells whether anybody
    // reads lines of a level: long reports are not put into words for nobody.
    virtual void log(int, std::string_view) {}
    virtual bool logs(int) { return false; }

    static constexpr std::uint16_t default_threshold = 50;
};

}  // namespace brindlemoss::analysis
