// Any bytes as a datagram that a server has sent: as the answer to a question about three
// signatures, and as what a server tells of itself.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "community/datagram.h"
#include "community/discovery.h"
#include "community/errors.h"
#include "community/messages.h"
#include "foundation/translate.h"
#include "support.h"

namespace {

using namespace brindlemoss::analysis;
using namespace brindlemoss::analysis::community;
using fuzz_support::require;
using replay::coding::translate::invalid_codeword;

constexpr std::size_t signatures_asked = 3;

// What was read and is written again reads the same.
void come_back(const datagram& read) {
    if (read.command.empty()) return;
    for (const auto& [key, value] : read.records) require(!key.empty());
    std::string text;
    read.serialize(text);
    datagram again;
    again.parse(text);
    require(again.command == read.command && again.records == read.records);
    require(again.lines == read.lines);
}

void read_as_match(const datagram& response) {
    signature_list signatures;
    for (std::size_t i = 0; i < signatures_asked; ++i)
        push_signature(signatures, u"kind", u"digest");
    signatures.front().matched = true;
    bool failed = false;
    try {
        read_match_response(response, signatures);
    } catch (const malformed_response&) {
        failed = true;
    } catch (const invalid_codeword&) {
        failed = true;
    }
    if (failed) {
        require(signatures.size() == signatures_asked && signatures.front().matched);
        require(!signatures.back().matched && signatures.back().kind == u"kind");
    } else {
        require(!signatures.empty() && signatures.size() <= signatures_asked);
    }
}

void read_as_server(const datagram& response) {
    community_stats stats;
    transaction probe(transaction::kind::awaits_response, stats, std::chrono::steady_clock::now);
    probe.response = response;
    try {
        const server read = read_server(probe);
        require(response.find("SRV-FQDN") != nullptr || read.name.empty());
    } catch (const invalid_codeword&) {
        // Left out.
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    datagram read;
    try {
        read.parse({reinterpret_cast<const char*>(data), size});
    } catch (const invalid_codeword&) {
        return 0;
    }
    come_back(read);
    read_as_match(read);
    read_as_server(read);
    return 0;
}
