#include "message/character_set.h"

#include <algorithm>
#include <iterator>

#include "foundation/ascii.h"
#include "platform/code_page.h"

namespace replay::unicode {
namespace {

struct charset_name {
    std::string_view key;  // lower case, without "-" and "_"
    std::int32_t codepage;
};

// "isoir100" is Western European here although the registry has it as ISO 8859-1, and the numbers
// of the ISCII names are not those of the published list: senders' labels are read this way.
constexpr charset_name charset_names[] = {
    {"arabic", 28596},
    {"ascii", -1},
    {"asmo780", 780},
    {"big5", 950},
    {"cnbig5", 950},
    {"cngb", 936},
    {"csbig5", 950},
    {"cseuccn", 51936},
    {"cseucjp", 51932},
    {"cseuckr", 51949},
    {"csgb2312", 936},
    {"csgb231280", 936},
    {"csiso2022jp", 50221},
    {"csiso58gb231280", 936},
    {"csisolatinarabic", 28596},
    {"csisolatincyrillic", 28595},
    {"csisolatingreek", 28597},
    {"csisolatinhebrew", 28598},
    {"csksc5601", 949},
    {"csksc56011987", 949},
    {"csshiftjis", 932},
    {"cswindows31j", 932},
    {"cyrillic", 28595},
    {"ecma114", 28596},
    {"ecma118", 28597},
    {"elot928", 28597},
    {"euccn", 51936},
    {"eucjp", 51932},
    {"euckr", 51949},
    {"gb18030", 54936},
    {"gb2312", 936},
    {"gb231280", 936},
    {"gbk", 936},
    {"greek", 28597},
    {"greek8", 28597},
    {"hebrew", 28598},
    {"hzgb2312", 52936},
    {"iso2022jp", 50221},
    {"iso646us", 1252},
    {"iso88598i", 38598},
    {"isoir100", 1252},
    {"isoir101", 28592},
    {"isoir110", 28594},
    {"isoir126", 28597},
    {"isoir127", 28596},
    {"isoir138", 28598},
    {"isoir144", 28595},
    {"isoir148", 1254},
    {"isoir149", 949},
    {"isoir58", 936},
    {"isoir6", 1252},
    {"johab", 1361},
    {"koi", 20866},
    {"koi8", 20866},
    {"koi8r", 20866},
    {"koi8ru", 21866},
    {"koi8u", 21866},
    {"korean", 949},
    {"ksc5601", 949},
    {"ksc56011987", 949},
    {"logical", 38598},
    {"macintosh", 10000},
    {"mskanji", 932},
    {"shiftjis", 932},
    {"tis620", 874},
    {"unicode11utf7", 65000},
    {"unicode11utf8", 65001},
    {"unicode20utf7", 65000},
    {"unicode20utf8", 65001},
    {"usascii", -1},
    {"utf7", 65000},
    {"utf8", 65001},
    {"visual", 28598},
    {"xchinesecns", 20000},
    {"xchineseeten", 20002},
    {"xcseuckr", 51949},
    {"xeuccn", 51936},
    {"xeucjp", 51932},
    {"xeuropa", 29001},
    {"xia5german", 20106},
    {"xia5norwegian", 20108},
    {"xia5swedish", 20107},
    {"xisciias", 10079},
    {"xisciibe", 57006},
    {"xisciide", 57003},
    {"xisciigu", 57010},
    {"xisciika", 57008},
    {"xisciima", 57009},
    {"xisciior", 57007},
    {"xisciipa", 57011},
    {"xisciita", 57004},
    {"xisciite", 57005},
    {"xmacarabic", 10004},
    {"xmacce", 10029},
    {"xmacchinesesimp", 52936},
    {"xmacchinesetrad", 10002},
    {"xmaccyrillic", 10007},
    {"xmacgreek", 10006},
    {"xmachebrew", 10005},
    {"xmacicelandic", 10079},
    {"xmacjapanese", 10001},
    {"xmackorean", 10003},
    {"xsjis", 932},
    {"xxbig5", 950},
};

static_assert(std::size(charset_names) == 104);
static_assert(std::ranges::is_sorted(charset_names, std::ranges::less_equal{}, &charset_name::key));

// A longer name can only be one of those with a number.
constexpr std::size_t longest_key =
    std::ranges::max_element(charset_names, {}, [](const charset_name& name) {
        return name.key.size();
    })->key.size();

// The labels of most mail as they are written most, known without a search.
constexpr charset_name usual_names[] = {
    {"iso-8859-1", 28591}, {"us-ascii", byte_for_byte}, {"utf-8", utf8}};

struct numbered_prefix {
    std::string_view prefix;
    std::int32_t offset;
};

constexpr std::int32_t before_latin1 = 28590;
constexpr numbered_prefix numbered_prefixes[] = {
    {"iso8859", before_latin1},
    {"latin", before_latin1},
    {"csisolatin", before_latin1},
    {"windows", 0},
    {"dos", 0},
    {"ibm", 0},
    {"cp", 0},
};

std::string normalised(std::string_view name) {
    std::string key;
    key.reserve(name.size());
    for (const char byte : name) {
        if (byte != '-' && byte != '_') key += ascii::to_lower(byte);
    }
    return key;
}

// The platform's own conversions know no strictness on these pages: broken text is replaced.
constexpr bool replaces_silently(std::int32_t codepage) {
    switch (codepage) {
        case 42:
        case 50221:
        case 50222:
        case 50225:
        case 50227:
        case 50229:
        case 52936:
        case 54936:
        case 65000:
        case 65001: return true;
        default: return codepage >= 57002 && codepage <= 57011;
    }
}

platform::on_error mode_of(std::int32_t codepage) {
    return replaces_silently(codepage) ? platform::on_error::replace : platform::on_error::stop;
}

// Byte for byte is what ISO 8859-1 does.
constexpr std::int32_t platform_page(std::int32_t codepage) {
    return codepage == byte_for_byte ? before_latin1 + 1 : codepage;
}

void throw_unless_done(platform::conversion_status status) {
    switch (status) {
        case platform::conversion_status::done: return;
        case platform::conversion_status::unknown_page: throw invalid_codepage();
        case platform::conversion_status::untranslatable: throw unmappable_character();
        case platform::conversion_status::no_room: throw out_of_memory();
        case platform::conversion_status::nothing: throw generic();
    }
}

}  // namespace

generic::generic() {
    append_domain("unicode");
}
out_of_memory::out_of_memory() {
    append_domain("out_of_memory");
}
invalid_codepage::invalid_codepage() {
    append_domain("invalid_codepage");
}
unmappable_character::unmappable_character() {
    append_domain("unmappable_character");
}

std::int32_t codepage(std::string_view name) {
    for (const charset_name& usual : usual_names) {
        if (name == usual.key) return usual.codepage;
    }
    const std::string key = normalised(name);
    if (key.size() <= longest_key) {
        const auto* const found =
            std::ranges::lower_bound(charset_names, std::string_view(key), {}, &charset_name::key);
        if (found != std::end(charset_names) && found->key == key) return found->codepage;
    }
    for (const auto& [prefix, offset] : numbered_prefixes) {
        if (!key.starts_with(prefix)) continue;
        const std::int32_t number =
            ascii::leading_number(std::string_view(key).substr(prefix.size()));
        // Far over the last page number; it need only stay an unknown one.
        return std::min(number, INT32_MAX - offset) + offset;
    }
    return byte_for_byte;
}

std::u16string to_wide(std::string_view bytes, std::int32_t codepage) {
    std::u16string wide;
    append_wide(bytes, codepage, wide);
    return wide;
}

void append_wide(std::string_view bytes, std::int32_t codepage, std::u16string& wide) {
    throw_unless_done(platform::decode(bytes, platform_page(codepage), mode_of(codepage), wide));
}

std::string from_wide(std::u16string_view wide, std::int32_t codepage) {
    std::string bytes;
    append_bytes(wide, codepage, bytes);
    return bytes;
}

void append_bytes(std::u16string_view wide, std::int32_t codepage, std::string& bytes) {
    throw_unless_done(platform::encode(wide, platform_page(codepage), mode_of(codepage), bytes));
}

std::string recode(std::string_view bytes, std::int32_t from, std::int32_t to) {
    return from_wide(to_wide(bytes, from), to);
}

bool is_representable(std::u16string_view wide, std::int32_t codepage) {
    try {
        return to_wide(from_wide(wide, codepage), codepage) == wide;
    } catch (const generic&) {
        return false;
    }
}

}  // namespace replay::unicode
