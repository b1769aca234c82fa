#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemoss::account {

// What the account server is told of the machine and the program.
struct machine_facts {
    std::string system_version;                    // "platform:major.minor"
    std::optional<std::string> older_mail_client;  // versions, where such a client is installed
    std::optional<std::string> mail_client;
    std::string host_path;  // of the running program's file; empty when not known
};

// There is no mail client on this system that the server knows.
machine_facts facts_of_this_machine();

// What the stores hold for the query. Defaults of the user's values are written back.
struct query_facts {
    std::int32_t partner = 0;
    std::string version;
    std::int32_t features = 0;
    std::string language;
    std::string statistics;  // see statistics_text()
};

// Throws what the registry throws: there must be a key "Installation".
query_facts facts_of_the_stores();

// "0|" and ten of the usage counters, each with a bar behind it.
std::string statistics_text();

// The query of a login or a creation, from "?" on, UTF-8 in percent coding. `user` is coded,
// `password` stands as it is; both are left out unless there are both.
std::string login_query(const query_facts& stored, const machine_facts& machine,
                        std::string_view user, std::string_view password);

}  // namespace brindlemoss::account
