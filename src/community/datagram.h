#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/md5.h"

namespace brindlemoss::analysis::community {

// A request to the community, or a response: lines of text in one UDP datagram.
//
//   COMMAND TAB key=value TAB key CR LF
//   body line CR LF ...
//
// Values are percent-encoded on the wire and held decoded; body lines go as they stand.
struct datagram {
    std::string command;
    std::map<std::string, std::string, std::less<>> records;  // written in the order of the keys
    std::vector<std::string> lines;                           // without their ends

    // Writes the bytes of the datagram over what stood in `text`.
    void serialize(std::string& text) const;

    // Reads received bytes into an empty datagram. CR, LF and pairs of both end a line; what no
    // line end follows is dropped. Of two records with one key the first counts, and a token with
    // more than one "=" between other characters is no record. Throws
    // replay::coding::translate::invalid_codeword for a bad percent escape.
    void parse(std::string_view text) { parse_lines(parse_head(text)); }

    // The same in two steps: the first reads all but the lines and gives the part of the text where
    // those are, which can't fail to be read.
    std::string_view parse_head(std::string_view text);
    void parse_lines(std::string_view text);

    // The value of a record, nullptr when there is none.
    const std::string* find(std::string_view key) const;
};

// Numbers stand on the wire as digits of base64, most significant first: 64 is "BA". Decoding
// passes "=" over and throws replay::coding::translate::invalid_codeword for any other character;
// what exceeds 64 bits is lost, no digit at all is 0.
std::string encode_numeral(std::uint64_t value);
std::uint64_t decode_numeral(std::string_view text);

// 22 characters: base64 of the 16 bytes, without padding.
std::string encode_digest(const replay::md5& digest);

}  // namespace brindlemoss::analysis::community
