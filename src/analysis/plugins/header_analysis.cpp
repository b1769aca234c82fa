#include "analysis/plugins/header_analysis.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/plugins/readable_headers.h"
#include "analysis/report_text.h"
#include "foundation/ascii.h"
#include "foundation/ip4_address.h"
#include "message/character_set.h"
#include "platform/character_class.h"

namespace brindlemoss::analysis::plugins::header_analysis {

using replay::internet::address::ip4_address;
using replay::internet::message2::header;
using replay::internet::message2::part;

namespace {

constexpr std::u16string_view known_mime_writer = u"Produced By Microsoft MimeOLE";
constexpr std::u16string_view known_client = u"Microsoft Outlook Express";

// The client writes at least this much in front of the first part of a multipart message.
constexpr std::size_t least_preamble_in_bytes = 32;

bool is_received(const header& each) {
    return replay::ascii::equals_ignoring_case(each.name, "Received");
}

void push_host(signature_list& signatures, ip4_address host, std::u16string comment) {
    push_signature(signatures, u"hsi", widen(host.text()), std::move(comment));
}

void test_for_emptiness(part& root, test_list& tests) {
    const auto subject = readable_text(root, "Subject");
    if ((subject && !subject->empty()) || !root.children.empty()) return;
    const std::u16string& text = root.text();
    const auto& characters = replay::platform::characters();
    const auto is_printable = [&](char16_t unit) { return characters.is_printable(unit); };
    if (std::any_of(text.begin(), text.end(), is_printable)) return;
    push_test(tests, u"Message.Empty", 60,
              u"Message has empty Subject: field and no printable characters in Body");
}

void test_root(const part& root, test_list& tests) {
    const auto attachment = readable_attachment(root);
    if (attachment.is_attachment || !attachment.name.empty()) {
        push_test(tests, u"Message.Root_Attachment", 10, u"Message Root is an Attachment");
    }
    if (!root.content_type.starts_with("multipart/") && !root.content_type.starts_with("text/")) {
        push_test(tests, u"Message.Root_Suspicious", 10,
                  u"Message Root has suspicious Content-Type: field");
    }
}

bool claims_known_client(const part& root) {
    const auto mime_writer = readable_text(root, "X-MimeOLE");
    if (!mime_writer) return false;
    const auto client = readable_text(root, "X-Mailer");
    return client && mime_writer->starts_with(known_mime_writer) &&
           client->starts_with(known_client);
}

// The third of the four fields of "<a$b$hexaddress@host>". Nothing where `id` is not of the kind.
std::optional<std::string_view> address_field(std::string_view id) {
    if (id.starts_with('<')) id.remove_prefix(1);
    if (id.ends_with('>')) id.remove_suffix(1);
    if (std::count(id.begin(), id.end(), '$') != 2 || std::count(id.begin(), id.end(), '@') != 1) {
        return std::nullopt;
    }
    const std::size_t first = id.find_first_of("$@");
    const std::size_t second = id.find_first_of("$@", first + 1);
    const std::size_t third = id.find_first_of("$@", second + 1);
    const bool has_empty_field =
        first == 0 || second == first + 1 || third == second + 1 || third + 1 == id.size();
    if (has_empty_field) return std::nullopt;
    return id.substr(second + 1, third - second - 1);
}

// Up to eight hexadecimal digits, which give the octets of the address last one first: 0100A8C0 is
// 192.168.0.1. Nothing where `field` does not begin with a digit.
std::optional<ip4_address> read_reversed_address(std::string_view field) {
    const std::string_view digits = field.substr(0, 8);
    std::uint32_t octets = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), octets, 16);
    if (result.ec != std::errc()) return std::nullopt;
    return ip4_address(octets >> 24 | (octets >> 8 & 0xFF00) | (octets << 8 & 0xFF0000) |
                       octets << 24);
}

bool is_named_by_received(const part& root, ip4_address host) {
    const std::string dotted = host.text();
    return std::any_of(root.headers.begin(), root.headers.end(), [&](const header& each) {
        return is_received(each) && each.value.find(dotted) != std::string_view::npos;
    });
}

// The client puts the address of its machine into the Message-ID. True when that gave the
// signature.
bool test_message_id(const part& root, signature_list& signatures, test_list& tests) {
    const auto id = readable_text(root, "Message-ID");
    if (!id) return false;
    const std::string id_in_bytes = replay::unicode::from_wide(*id, replay::unicode::utf8);
    const auto field = address_field(id_in_bytes);
    if (!field) return false;

    const auto host = read_reversed_address(*field);
    if (!host) {
        push_test(tests, u"Header.Malformed_Message-ID", 15, u"Message-ID: \"" + *id + u"\"");
        return false;
    }
    if (!host->is_public()) return false;
    if (!is_named_by_received(root, *host)) {
        push_test(
            tests, u"Header.Forged_Message-ID", 30,
            u"Extracted IP \"" + widen(host->text()) + u"\" not listed in any Received: fields");
        return false;
    }
    push_host(signatures, *host, u"Extracted from Message-ID: field");
    return true;
}

// Whether a message that claims to come from one widely used client looks as that client writes.
// True when its Message-ID gave the signature.
bool test_client(const part& root, signature_list& signatures, test_list& tests) {
    if (!claims_known_client(root)) return false;
    if (root.content_type.starts_with("multipart/") && root.body.size() < least_preamble_in_bytes) {
        push_test(tests, u"Header.Forged_X-Mailer", 30,
                  u"Root part missing client-specific information");
    }
    return test_message_id(root, signatures, tests);
}

constexpr bool is_token_delimiter(char byte) {
    return byte == ' ' || byte == '(' || byte == ')' || byte == '[' || byte == ']';
}

bool looks_like_address(std::string_view token) {
    return std::all_of(token.begin(), token.end(),
                       [](char byte) { return byte == '.' || replay::ascii::is_digit(byte); }) &&
           std::count(token.begin(), token.end(), '.') == 3;
}

// Empty where no token looks like an address.
std::string_view first_address_like_token(std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin;
        while (end < text.size() && !is_token_delimiter(text[end])) ++end;
        const std::string_view token = text.substr(begin, end - begin);
        if (looks_like_address(token)) return token;
        begin = end + 1;
    }
    return {};
}

// The address that a Received header names first: an address behind it is not looked at, even when
// the first one is none.
ip4_address first_address(std::string_view received) {
    // Without an encoded word the ASCII characters of the text are those of the bytes.
    if (received.find("=?") == std::string_view::npos) {
        return ip4_address::parse(first_address_like_token(received));
    }
    const auto text = readable_text(received);
    if (!text) return replay::internet::address::no_address;
    return ip4_address::parse(
        first_address_like_token(replay::unicode::from_wide(*text, replay::unicode::utf8)));
}

// Each machine on the way puts its Received header in front of the others: the last one is of the
// first machine.
void search_received(const part& root, signature_list& signatures) {
    std::vector<std::string_view> received;
    for (const header& each : root.headers) {
        if (is_received(each)) received.push_back(each.value);
    }
    for (auto value = received.rbegin(); value != received.rend(); ++value) {
        const ip4_address host = first_address(*value);
        if (!host.is_public()) continue;
        push_host(signatures, host, u"Extracted from Received: field");
        return;
    }
}

}  // namespace

void plugin::generate(part& root, signature_list& signatures, test_list& tests, report&) {
    test_for_emptiness(root, tests);
    test_root(root, tests);
    if (!test_client(root, signatures, tests)) search_received(root, signatures);
}

}  // namespace brindlemoss::analysis::plugins::header_analysis
