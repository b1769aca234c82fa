#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "foundation/translate.h"

namespace replay {

// The MD5 digest of a byte string (RFC 1321), taken in one go: there is no incremental form.
// Never throws but for memory.
class md5 {
public:
    explicit md5(std::string_view input) noexcept;

    // The 16 bytes of the digest, the state words stored low byte first.
    std::span<const unsigned char, 16> bytes() const noexcept { return digest_; }

    // 32 lower-case hexadecimal digits.
    std::string hex() const;

    // 24 characters of base64 with padding, 22 without: the digest text of signatures.
    std::string base64(coding::translate::padding fill) const;

private:
    std::string_view as_text() const noexcept;

    std::array<unsigned char, 16> digest_;
};

}  // namespace replay
