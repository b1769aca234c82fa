#include "analysis/virus_notices.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "message/character_set.h"

namespace brindlemoss::analysis {

namespace unicode = replay::unicode;

namespace {

constexpr std::string_view notices[] = {
    "Thistlegrove has deleted",
    "Thistlegrove har slettet",
    "Viruses found in the attached files",
    "This message was modified by F-Secure",
};

// True for code pages, those of nearly all mail, in which ASCII text is always written as ASCII
// bytes in a row. (The bytes may mean something else: then the text has to be looked at.)
bool keeps_ascii(std::int32_t codepage) {
    const bool is_windows_page = codepage >= 1250 && codepage <= 1258;
    const bool is_iso_page = codepage >= 28591 && codepage <= 28605;
    constexpr std::int32_t others[] = {
        unicode::byte_for_byte, unicode::utf8, 874, 932, 936, 949, 950, 20866, 21866};
    return is_windows_page || is_iso_page ||
           std::find(std::begin(others), std::end(others), codepage) != std::end(others);
}

bool holds_notice(std::string_view bytes) {
    return std::any_of(std::begin(notices), std::end(notices), [&](std::string_view notice) {
        return bytes.find(notice) != std::string_view::npos;
    });
}

bool holds_notice(std::u16string_view text) {
    return std::any_of(std::begin(notices), std::end(notices), [&](std::string_view notice) {
        return std::search(text.begin(), text.end(), notice.begin(), notice.end()) != text.end();
    });
}

}  // namespace

bool holds_virus_notice(replay::internet::message2::part& item) {
    // Most bodies, the large binary ones above all, are done with here and never become text.
    const bool ascii_stays = keeps_ascii(unicode::codepage(item.charset));
    if (ascii_stays && !holds_notice(std::string_view(item.body))) return false;
    try {
        return holds_notice(std::u16string_view(item.text()));
    } catch (const unicode::generic&) {
        return false;
    }
}

}  // namespace brindlemoss::analysis
