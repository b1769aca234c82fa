#pragma once

#include <memory>
#include <string>
#include <string_view>

// Why the account server gave nothing, in words for people.
namespace brindlemoss::cli {

// From its making on listens to what the log of the account tells of failures, which is the one
// place that tells them. One a process: the log keeps its listener.
class account_faults {
public:
    account_faults();

    // One for each try, "at 127.0.0.1:2409 nothing answers; ..."; empty when none was told.
    std::string text() const;

private:
    struct heard;
    class listener;

    std::shared_ptr<heard> heard_;  // the log may outlive this object
};

// What one line of the log says; empty when it tells of no failure. Of the URL in it only host and
// port are kept.
std::string fault_in_plain_words(std::string_view log_line);

}  // namespace brindlemoss::cli
