#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/sync.h"
#include "message/part.h"
#include "rules/sender_entry.h"
#include "rules/sender_index.h"

namespace brindlemoss::rules {

// Whom the program has learned to trust: senders whose mail passed, and those they write to. Each
// passing is a step; after enough steps and enough time an address is trusted. It stands in the
// user's registry and is what stands there at each call; no step of another process is lost.
//
// Addresses are the bytes of a message; they are compared, and stored, without blanks and in lower
// case. Any thread may call. Throws unpack_failed when a look-up comes to an entry with fields
// missing, and replay::registry2::generic.
class rules_sender_trusted {
public:
    struct trust {
        std::uint32_t count;       // steps
        std::uint32_t first_seen;  // seconds since 1970
    };

    // That of the process, made on first use and kept until the module is unloaded.
    static rules_sender_trusted& instance();

    rules_sender_trusted() = default;
    rules_sender_trusted(const rules_sender_trusted&) = delete;
    rules_sender_trusted& operator=(const rules_sender_trusted&) = delete;

    // Whether the address has the steps and the age that the user's settings ask for.
    bool match(std::string_view address);

    // Adds a step. The name becomes the one given now.
    void increase_trust(std::u16string_view name, std::string_view address);

    // Adds a step to everybody whom a message goes to. Throws what reading the headers throws as
    // well; the steps of the headers before stay.
    void increase_trust_of_recipients(const replay::internet::message2::part& message);

    // Takes all steps. False if there are none.
    bool remove_trust(std::string_view address);
    void empty_addresses();

    // What there is about an address.
    std::optional<trust> find(std::string_view address);

    // Each entry with a CR behind it: name, address, steps and the time when it was made, with tabs
    // between them.
    std::u16string enumerate_addresses();

    // The entries as they stand.
    text_list addresses();

private:
    replay::mutex mutex_;  // guards the entries against other threads, and all below
    sender_index index_{trusted_address_of};
};

}  // namespace brindlemoss::rules
