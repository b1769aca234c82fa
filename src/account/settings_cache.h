#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The last good settings document, kept in the user's store with its time of expiry and a digest of
// both. The processes of one user take turns.
namespace brindlemoss::account::settings_cache {

inline constexpr std::int64_t seconds_kept = 604'800;  // 7 days

struct kept_document {
    std::string document;  // UTF-8
    std::int64_t since;    // when it was kept, in seconds since 1970
    bool is_intact;        // otherwise it is not what was kept, and of no use
};

// nullopt, and no line in the log, when nothing is kept, when it has expired or when it is not to
// be used (the value "Ignore"). Throws what the registry throws, and
// replay::coding::translate::invalid_codeword.
std::optional<kept_document> load();

// Keeps a document, UTF-8. An `approved` one, of a login that was accepted, is due for renewal in
// 26 hours, another at once. Throws what the registry throws.
void store(std::string_view document, bool approved);

}  // namespace brindlemoss::account::settings_cache
