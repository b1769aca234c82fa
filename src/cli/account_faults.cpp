#include "cli/account_faults.h"

#include <cstdint>
#include <mutex>
#include <optional>

#include "cli/console.h"
#include "foundation/module.h"

namespace brindlemoss::cli {

namespace {

constexpr std::int32_t details = 2;  // and the failures above

struct known_fault {
    std::string_view domain;  // in the text of an exception, ahead of its "["
    std::string_view words;
};

// The first that fits counts.
constexpr known_fault known_faults[] = {
    {"invalid_name", "is no name that leads anywhere"},
    {"timeout", "is silent"},
    {"connect_failed", "does not answer"},
    {"closed", "hangs up too early"},
    {"invalid_response", "sends what is no answer of a server"},
    {"aborted", "takes too long"},
    {"Too many redirects", "sends us round in circles"},
};

struct parted {
    std::string_view inside;
    std::string_view rest;  // behind what ends the inside
};

// What stands in a line between two texts, the first of them at its beginning.
std::optional<parted> between(std::string_view line, std::string_view begin, std::string_view end) {
    if (!line.starts_with(begin)) return std::nullopt;
    line.remove_prefix(begin.size());
    const std::size_t at = line.rfind(end);
    if (at == std::string_view::npos) return std::nullopt;
    return parted{line.substr(0, at), line.substr(at + end.size())};
}

// "host:port" of a URL.
std::string server_in(std::string_view url) {
    const std::size_t scheme = url.find("//");
    if (scheme != std::string_view::npos) url.remove_prefix(scheme + 2);
    return printable(url.substr(0, url.find_first_of("/?'")));
}

std::string words_of(std::string_view exception) {
    for (const known_fault& each : known_faults) {
        if (exception.find(each.domain) != std::string_view::npos) return std::string(each.words);
    }
    return "fails: " + printable(exception);
}

}  // namespace

struct account_faults::heard {
    std::mutex lock;  // guards the text
    std::string text;
};

class account_faults::listener : public replay::log::listener {
public:
    explicit listener(std::shared_ptr<heard> into) : into_(std::move(into)) {}

    void write(std::int32_t, std::string_view, std::string_view line) override {
        const std::string fault = fault_in_plain_words(line);
        if (fault.empty()) return;
        const std::lock_guard guard(into_->lock);
        if (!into_->text.empty()) into_->text += "; ";
        into_->text += fault;
    }

private:
    const std::shared_ptr<heard> into_;
};

account_faults::account_faults() : heard_(std::make_shared<heard>()) {
    module::instance()
        .log_of(subsystem::account)
        .add_listener(details, std::make_unique<listener>(heard_));
}

std::string account_faults::text() const {
    const std::lock_guard guard(heard_->lock);
    return heard_->text;
}

std::string fault_in_plain_words(std::string_view log_line) {
    if (const auto failed = between(log_line, "Exception '", "' while processing '")) {
        return server_in(failed->rest) + " " + words_of(failed->inside);
    }
    if (const auto answered = between(log_line, "Fetching '", "' returned status ")) {
        const std::string_view status = answered->rest.substr(0, answered->rest.find(' '));
        return server_in(answered->inside) + " answers with the error " + std::string(status);
    }
    for (const std::string_view whole : {"Login: ", "Update: ", "Create: ", "Setting: "}) {
        if (log_line.starts_with(whole)) return printable(log_line.substr(whole.size()));
    }
    return {};
}

}  // namespace brindlemoss::cli
