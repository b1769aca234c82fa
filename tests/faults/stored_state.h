#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "faults/workload.h"

namespace kill_rounds {

// Every counter by its path, how often an address or domain stands in a list ("allow ann@x"), the
// steps of those in the list of the trusted, and which text each worker wrote last.
using facts = std::map<std::string, std::uint32_t>;

// As they stand in the store. Throws when something there is not whole.
facts stored_facts();

// The facts that must be in the store, and what may be there besides: each effect of a call that
// did not return is there or is not.
class expectation {
public:
    explicit expectation(facts known) : known_(std::move(known)) {}

    void acknowledged(const std::vector<effect>& effects);
    void in_flight(const std::vector<effect>& effects);

    // One line for each fact that is none of those it may be.
    std::vector<std::string> differences(const facts& found) const;

private:
    facts known_;
    std::map<std::string, std::vector<effect>> uncertain_;
};

// SQLite's own word on all of a file that nobody has open: "ok", or what is wrong.
std::string full_check(const std::string& file);

}  // namespace kill_rounds
