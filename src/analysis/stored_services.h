#pragma once

#include "analysis/filter_services.h"
#include "foundation/log.h"

namespace brindlemoss::analysis {

// The services of a running program: settings and counters in the user's store, lines in a log.
// What the store cannot do throws replay::registry2::generic.
class stored_services : public filter_services {
public:
    // The log must outlive the services.
    explicit stored_services(replay::log& log) : log_(log) {}

    // The setting is cut to 16 bits.
    std::uint16_t threshold() override;

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
