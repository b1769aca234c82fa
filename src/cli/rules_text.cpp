#include "cli/rules_text.h"

#include "cli/registry_access.h"
#include "message/lines.h"
#include "platform/utf8.h"
#include "rules/sender_entry.h"

namespace brindlemoss::cli {

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// What is wrong with an entry, empty if nothing is.
std::string_view fault_of(std::u16string_view entry, entry_kind kind) try {
    if (entry.find(u'\0') != std::u16string_view::npos) return "there is a NUL in it";
    if (kind == entry_kind::domains) {
        const std::u16string domain = rules::normalized(rules::unpack_domain(entry).domain);
        return domain.empty() ? "the domain is empty: it would match everybody" : "";
    }
    const bool has_sign =
        rules::unpack_address(entry).address.find(u'@') != std::u16string_view::npos;
    return has_sign ? "" : "there is no \"@\" in the address";
} catch (const rules::unpack_failed&) {
    return kind == entry_kind::domains ? "there must be a domain, a tab and a comment"
                                       : "there must be a name, a tab, an address, a tab and a "
                                         "comment";
}

}  // namespace

std::string text_of_entry(std::u16string_view entry) {
    std::string text = utf8_of(entry);
    for (char& byte : text) {
        if (byte == '\r' || byte == '\n') byte = ' ';
    }
    return text;
}

imported_list read_list(std::string_view text, entry_kind kind) {
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    imported_list read;
    std::size_t number = 0;
    for (replay::internet::message2::line_reader lines(text, false); !lines.done();) {
        const std::string_view line = lines.next();
        ++number;
        if (line.empty()) continue;
        std::u16string entry;
        std::string_view fault = "it is no UTF-8";
        if (replay::platform::decode_utf8(line, replay::platform::on_error::stop, entry) ==
            replay::platform::conversion_status::done) {
            fault = fault_of(entry, kind);
        }
        if (!fault.empty()) {
            throw list_error("line " + std::to_string(number) + ": " + std::string(fault));
        }
        read.entries.append(entry) += u'\r';
        ++read.count;
    }
    return read;
}

}  // namespace brindlemoss::cli
