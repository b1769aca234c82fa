#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// What the machine's store says of the community.
namespace brindlemoss::cli {

struct community_settings {
    std::string servers;        // as they were named, empty if nobody has named any
    std::uint32_t refresh = 0;  // seconds between two searches for servers, 0: none

    bool is_named() const { return !servers.empty(); }
    bool is_on() const { return is_named() && refresh != 0; }
};

// Why a server cannot be named so; the text is for people.
class server_name_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Makes nothing. Throws registry2::generic.
community_settings read_community_settings();

// Has messages looked up from now on at these servers, each HOST or HOST:PORT. Throws
// server_name_error, and then nothing is written, and registry2::generic.
void name_servers(const std::vector<std::string>& servers);

// Ends the look-ups. Throws registry2::generic.
void forget_servers();

}  // namespace brindlemoss::cli
