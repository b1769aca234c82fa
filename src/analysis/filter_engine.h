#pragma once

#include <cstdint>
#include <string>

#include "analysis/filter_services.h"
#include "analysis/record.h"
#include "message/part.h"

namespace brindlemoss::analysis {

struct analysis_run;

// What settled the rating of a message.
enum class decision {
    analysed,
    virus,
    allowed_address,
    denied_address,
    allowed_domain,
    denied_domain,
    trusted,
    language,
    offline,
    broken_header,  // a header's text could not be converted
    error,
};

inline constexpr std::uint16_t pass_rating = 0;
inline constexpr std::uint16_t block_rating = 100;
inline constexpr std::uint16_t broken_header_rating = 70;

struct verdict {
    std::uint16_t rating = pass_rating;  // 0 to 100
    decision settled_by = decision::analysed;

    std::uint16_t threshold = filter_services::default_threshold;  // in force, if it was analysed

    // What the analysis found; all empty when none ran to its end.
    std::u16string class_name;  // "HAM", "SPAM/TEXT" or "SPAM/IMAGE"
    test_list tests;
    signature_list signatures;
    analysis::report report;
};

struct sender {
    std::u16string name;
    std::string address;  // in lower case
};

// Whether a message is judged for the first time. A message judged again changes no filter counter
// and earns its sender no trust by passing the analysis.
enum class occasion { first, again };

// The road of one message: from its tree to its rating, and the user's votes.
//
// Messages are borrowed for the call. Holds no state that a call changes: any number of threads
// may call at a time, each with a message of its own. The services must outlive the engine.
class filter_engine {
public:
    explicit filter_engine(filter_services& services, bool debug_input = false)
        : services_(services), debug_input_(debug_input) {}

    // The engine of the process, with the user's settings and counters and the log, made on first
    // use. Whether messages are copied to the log is settled then.
    static filter_engine& instance();

    // A header that cannot be converted rates 70, any other fault 0. Throws only where the services
    // do while such a fault is counted and logged.
    verdict score(part& message, occasion when) const;

    // The rating at or above which a message counts as blocked.
    std::uint16_t threshold() const { return services_.threshold(); }

    // The user's votes: the message is spam; the message is not. False after a fault: the steps
    // done stay done. Throw only what logging the fault throws.
    bool report(const part& message) const;
    bool revoke(const part& message) const;

private:
    verdict judge(part& message, occasion when) const;
    verdict analyse(part& message, occasion when, const sender& from) const;
    std::uint16_t rate(analysis_run& run) const;
    void match(analysis_run& run, community::community_stats& stats) const;
    void touch(analysis_run& run, community::community_stats& stats) const;
    void log_head(std::string_view mode, const part& message) const;
    void log_head_text(std::string_view header, std::string_view label, const part& message) const;
    void count(std::string_view key, std::string_view value, std::uint32_t amount = 1) const;
    verdict pass(decision settled_by, std::string_view line) const;
    verdict block(decision settled_by, occasion when, std::string_view line) const;

    filter_services& services_;
    bool debug_input_;
};

// A line of a report as it stands in the log, in UTF-8.
std::string log_text(const report_line& line);

// The first address of "From"; false, and `found` untouched, where there is none. Throws what
// reading the header throws.
bool extract_sender(const part& message, sender& found);

// True when the message carries a virus, or the notice of one removed, by the word of a scanner
// that has seen it. Attached messages are not searched. Throws what reading a header throws.
bool virus_check(part& message);

}  // namespace brindlemoss::analysis
