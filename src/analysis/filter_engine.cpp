#include "analysis/filter_engine.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "analysis/analysis_engine.h"
#include "analysis/analysis_run.h"
#include "analysis/stored_services.h"
#include "analysis/virus_notices.h"
#include "community/errors.h"
#include "community/transaction.h"
#include "foundation/ascii.h"
#include "foundation/module.h"
#include "foundation/process_wide.h"
#include "foundation/registry.h"
#include "message/character_set.h"
#include "message/header_value.h"

namespace brindlemoss::analysis {

namespace unicode = replay::unicode;
using replay::internet::message2::header_type::addresses_value_type;
using replay::internet::message2::header_type::unstructured_value_type;

namespace {

// Log levels: the course of a message, the details of it, a fault that is recovered from.
constexpr int detail_level = 0;
constexpr int course_level = 1;
constexpr int recovered_level = 2;

// The ruler behind the mode fills the head line of each message to the same width.
constexpr std::size_t ruler_width = 98;

verdict settled(std::uint16_t rating, decision settled_by) {
    verdict reached;
    reached.rating = rating;
    reached.settled_by = settled_by;
    return reached;
}

}  // namespace

std::string log_text(const report_line& line) {
    std::string text = "Analysis:   ";
    text.append(static_cast<std::size_t>(line.depth) * 2, ' ');
    unicode::append_bytes(line.text, unicode::utf8, text);
    return text;
}

bool extract_sender(const part& message, sender& found) {
    addresses_value_type from;
    if (!message.find_header("From", from) || from.addresses().empty()) return false;
    found.name = from.addresses().front().name;
    found.address = replay::ascii::to_lower(from.addresses().front().address);
    return true;
}

bool virus_check(part& message) {
    unstructured_value_type status;
    if (message.find_header("X-Antivirus-Status", status) && status.value() == u"Infected") {
        return true;
    }
    replay::internet::message2::part_map parts;
    message.flatten(parts, true);
    return std::any_of(parts.begin(), parts.end(),
                       [](const auto& entry) { return holds_virus_notice(*entry.second.item); });
}

namespace {

struct running_engine {
    stored_services services{module::instance().log_of(subsystem::filter)};
    filter_engine engine{services, wants_message_copies()};
};

}  // namespace

filter_engine& filter_engine::instance() {
    return process_wide<running_engine>::until_unload(singleton::filter_engine).engine;
}

verdict filter_engine::score(part& message, occasion when) const {
    try {
        return judge(message, when);
    } catch (const unicode::generic& error) {
        if (when == occasion::first) count("Filter", "Blocked");
        services_.log(course_level, std::string("Analysis:   ") + error.what());
        services_.log(course_level,
                      "Analysis:   Message contains a broken header and is likely spam");
        return settled(broken_header_rating, decision::broken_header);
    } catch (const std::exception& error) {
        services_.log(recovered_level, std::string("Exception '") + error.what() + "' in score()");
    } catch (...) {
        services_.log(recovered_level, "Unhandled Exception in score()");
    }
    return settled(pass_rating, decision::error);
}

// The first judgement that knows the message decides. The address rules come before the domain
// rules, allowed before denied: a word about one sender beats a word about all of a domain.
verdict filter_engine::judge(part& message, occasion when) const {
    if (when == occasion::first) count("Filter", "Processed");
    log_head(when == occasion::first ? "Classify" : "Rescan", message);

    if (virus_check(message)) {
        return block(decision::virus, when, "Analysis:   Message contained a virus infection");
    }

    sender from;
    extract_sender(message, from);
    if (!from.address.empty()) {
        if (services_.allowed(from.address, list_entries::addresses)) {
            services_.increase_trust_of_recipients(message);
            return pass(decision::allowed_address, "Analysis:   Sender address is whitelisted");
        }
        if (services_.denied(from.address, list_entries::addresses)) {
            return block(decision::denied_address, when,
                         "Analysis:   Sender address is blacklisted");
        }
        if (services_.allowed(from.address, list_entries::domains)) {
            services_.increase_trust_of_recipients(message);
            return pass(decision::allowed_domain, "Analysis:   Sender domain is whitelisted");
        }
        if (services_.denied(from.address, list_entries::domains)) {
            return block(decision::denied_domain, when, "Analysis:   Sender domain is blacklisted");
        }
        if (services_.trusted(from.address)) {
            services_.increase_trust(from.name, from.address);
            services_.increase_trust_of_recipients(message);
            return pass(decision::trusted, "Analysis:   Sender address is trusted");
        }
    }

    int language = 0;
    if (!services_.accept_language(message, language)) {
        return block(
            decision::language, when,
            "Analysis:   Message language (" + std::to_string(language) + ") is not acceptable");
    }
    if (services_.offline()) {
        services_.log(course_level, "Analysis:   Community rating is not available");
        return pass(decision::offline,
                    "Reason:     Windows is reporting the network layer is offline");
    }

    return analyse(message, when, from);
}

verdict filter_engine::analyse(part& message, occasion when, const sender& from) const {
    analysis_run run(message);
    const std::uint16_t threshold = services_.threshold();
    const std::uint16_t rating = rate(run);

    // An unknown sender earns trust with each message that passes.
    if (when == occasion::first) {
        if (rating >= threshold) {
            count("Filter", "Blocked");
        } else if (!from.address.empty()) {
            services_.increase_trust(from.name, from.address);
        }
    }

    push_line(run.report, 0, {});
    if (services_.logs(detail_level)) {
        for (const report_line& line : run.report) services_.log(detail_level, log_text(line));
    }
    services_.log(course_level, "Analysis:   Overall rating is " + std::to_string(rating) + "/" +
                                    std::to_string(threshold));
    verdict reached = settled(rating, decision::analysed);
    reached.threshold = threshold;
    reached.class_name = std::move(run.class_name);
    reached.tests = std::move(run.tests);
    reached.signatures = std::move(run.signatures);
    reached.report = std::move(run.report);
    return reached;
}

std::uint16_t filter_engine::rate(analysis_run& run) const {
    const analysis_engine engine;
    engine.generate(run);
    community::community_stats stats;
    match(run, stats);
    const std::uint16_t rating = engine.evaluate(run);
    touch(run, stats);
    count("Communication", "Bytes Transmitted", stats.bytes_transmitted);
    count("Communication", "Bytes Received", stats.bytes_received);
    return rating;
}

// Without the community's word the local tests rate the message.
void filter_engine::match(analysis_run& run, community::community_stats& stats) const {
    constexpr std::string_view protocol = "Communication\\Protocol";
    try {
        services_.match(run, stats);
    } catch (const community::timed_out&) {
        return count(protocol, "Timeouts");
    } catch (const community::generic&) {
        return count(protocol, "Errors");
    }
    count(protocol, "Queries");
    count(protocol, "Response Time", stats.response_time);
}

void filter_engine::touch(analysis_run& run, community::community_stats& stats) const {
    try {
        services_.touch(run, stats);
    } catch (const community::generic&) {
        // What the community does not learn is its loss alone.
    }
}

bool filter_engine::report(const part& message) const {
    try {
        log_head("Report", message);
        sender from;
        if (extract_sender(message, from)) services_.remove_trust(from.address);
        services_.enqueue_report(message);
        count("User", "Blocked");
        return true;
    } catch (const std::exception& error) {
        services_.log(recovered_level, std::string("Exception: ") + error.what());
        return false;
    }
}

bool filter_engine::revoke(const part& message) const {
    try {
        log_head("Revoke", message);
        sender from;
        if (extract_sender(message, from)) {
            services_.allow_address(from.name, from.address, u"Added due to Unblock");
            services_.remove_denied_address(from.address);
        }
        services_.enqueue_revoke(message);
        count("User", "Unblocked");
        return true;
    } catch (const std::exception& error) {
        services_.log(recovered_level, std::string("Exception: ") + error.what());
        return false;
    }
}

void filter_engine::log_head(std::string_view mode, const part& message) const {
    std::string head = "Processing Message (";
    head.append(mode).append(") ").append(ruler_width - mode.size(), '-');
    services_.log(course_level, head);

    log_head_text("Message-ID", "Message-ID: ", message);
    log_head_text("Date", "Date:       ", message);
    addresses_value_type from;
    if (message.find_header("From", from) && !from.addresses().empty()) {
        const auto& first = from.addresses().front();
        services_.log(course_level,
                      "Sender:     " + unicode::from_wide(first.name, unicode::utf8) + " <" +
                          unicode::recode(first.address, unicode::byte_for_byte, unicode::utf8) +
                          ">");
    }
    log_head_text("Subject", "Subject:    ", message);
    if (debug_input_) {
        // All or none: a message may turn out in the middle to be one that cannot be written.
        for (const std::string& line : message.unparse()) {
            services_.log(detail_level, "Input: " + line);
        }
    }
}

void filter_engine::log_head_text(std::string_view header, std::string_view label,
                                  const part& message) const {
    unstructured_value_type text;
    if (!message.find_header(header, text) || text.value().empty()) return;
    services_.log(course_level, std::string(label) + text.value_in_codepage(unicode::utf8));
}

void filter_engine::count(std::string_view key, std::string_view value,
                          std::uint32_t amount) const {
    services_.add_to_counter(key, value, amount);
}

verdict filter_engine::pass(decision settled_by, std::string_view line) const {
    services_.log(course_level, line);
    return settled(pass_rating, settled_by);
}

verdict filter_engine::block(decision settled_by, occasion when, std::string_view line) const {
    if (when == occasion::first) count("Filter", "Blocked");
    services_.log(course_level, line);
    return settled(block_rating, settled_by);
}

}  // namespace brindlemoss::analysis
