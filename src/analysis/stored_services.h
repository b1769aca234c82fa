#pragma once

#include "analysis/filter_services.h"
#include "foundation/log.h"

namespace brindlemoss::analysis {

// The services of a running program: settings, counters, sender lists and trust in the user's
// store, the community, lines in a log. What the store cannot do throws replay::registry2::generic,
// a look-up that comes to a broken entry of a list rules::unpack_failed. Senders that may not be
// learned (rules/sender_entry.h) gain no trust and are not put on the allowed list.
class stored_services : public filter_services {
public:
    // The log must outlive the services.
    explicit stored_services(replay::log& log) : log_(log) {}

    bool allowed(std::string_view address, list_entries which) override;
    bool denied(std::string_view address, list_entries which) override;
    void allow_address(std::u16string_view name, std::string_view address,
                       std::u16string_view comment) override;
    void remove_denied_address(std::string_view address) override;

    bool trusted(std::string_view address) override;
    void increase_trust(std::u16string_view name, std::string_view address) override;
    void increase_trust_of_recipients(const part& message) override;
    void remove_trust(std::string_view address) override;

    // Throws what services::language_manager::accept() throws.
    bool accept_language(part& message, int& language) override;

    // The community's part goes through the one spam::communication of the process. Beside what is
    // said above, these throw what making it throws, and match() what community::client::match()
    // throws.
    bool offline() override;
    void match(analysis_run& run, community::community_stats& stats) override;
    void touch(analysis_run& run, community::community_stats& stats) override;
    void enqueue_report(const part& message) override;
    void enqueue_revoke(const part& message) override;

    // The setting is cut to 16 bits.
    std::uint16_t threshold() override;

    // To add 0 writes nothing.
    void add_to_counter(std::string_view key, std::string_view value,
                        std::uint32_t amount) override;

    void log(int level, std::string_view line) override { log_.write(level, line); }
    bool logs(int level) override { return log_.is_heard(level); }

private:
    replay::log& log_;
};

// Whether each message is to be copied to the log: the user's "Debug Mode" is 2. No, where that
// cannot be read.
bool wants_message_copies();

}  // namespace brindlemoss::analysis
