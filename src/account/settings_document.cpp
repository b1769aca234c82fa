#include "account/settings_document.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/utf8.h"
#include "platform/wide_search.h"

namespace brindlemoss::account {

namespace {

using replay::platform::find_unit;

constexpr std::size_t npos = std::u16string_view::npos;

constexpr bool is_dropped(char16_t unit) {
    return unit == u'\r' || unit == u'\n' || unit == u'\t';
}

constexpr char16_t to_upper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

// Behind the next run of `unit`, npos where there is none.
std::size_t behind_next_run(std::u16string_view text, char16_t unit, std::size_t from) {
    std::size_t at = find_unit(text, unit, from);
    if (at == npos) return npos;
    while (at < text.size() && text[at] == unit) ++at;
    return at;
}

// The names of a path, upper-cased; there are no empty ones.
std::vector<std::u16string> names_of(std::u16string_view path) {
    std::vector<std::u16string> names;
    bool is_in_name = false;
    for (const char16_t unit : path) {
        if (unit == u'.') {
            is_in_name = false;
            continue;
        }
        if (!is_in_name) names.emplace_back();
        is_in_name = true;
        names.back() += to_upper(unit);
    }
    return names;
}

bool begins_with(std::u16string_view text, std::u16string_view upper_name) {
    return text.size() >= upper_name.size() &&
           std::equal(upper_name.begin(), upper_name.end(), text.begin(),
                      [](char16_t wanted, char16_t unit) { return wanted == to_upper(unit); });
}

// Where the name stands in the tag that the last of the names found, npos where one finds none.
std::size_t find_tag(std::u16string_view text, const std::vector<std::u16string>& names) {
    std::size_t at = 0;
    for (const std::u16string& name : names) {
        do {
            at = behind_next_run(text, u'<', at);
            if (at == npos) return npos;
        } while (!begins_with(text.substr(at), name));
    }
    return at;
}

void replace_all(std::u16string& text, std::u16string_view from, char16_t to) {
    std::size_t found = text.find(from);
    if (found == npos) return;
    std::size_t written = found;
    while (found != npos) {
        text[written++] = to;
        const std::size_t begin = found + from.size();
        found = text.find(from, begin);
        const std::size_t size = std::min(found, text.size()) - begin;
        std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(begin), size,
                    text.begin() + static_cast<std::ptrdiff_t>(written));
        written += size;
    }
    text.resize(written);
}

// One after the other over the whole text: "&amp;lt;" is "&lt;" in the end, not "<".
void resolve_entities(std::u16string& value) {
    replace_all(value, u"&lt;", u'<');
    replace_all(value, u"&gt;", u'>');
    replace_all(value, u"&amp;", u'&');
    replace_all(value, u"&apos;", u'\'');
    replace_all(value, u"&quot;", u'"');
}

}  // namespace

settings_document::settings_document(std::u16string_view text)
    : settings_document(std::u16string(text), owned{}) {}

settings_document::settings_document(std::u16string text, owned) : text_(std::move(text)) {
    std::erase_if(text_, is_dropped);
}

settings_document settings_document::of_utf8(std::string_view bytes) {
    return {replay::platform::from_utf8(bytes), owned{}};
}

std::u16string settings_document::setting(std::u16string_view name) const {
    const std::u16string_view text = text_;
    const std::vector<std::u16string> names = names_of(name);
    if (names.empty()) return {};
    const std::size_t tag = find_tag(text, names);
    if (tag == npos) return {};
    const std::size_t begin = behind_next_run(text, u'>', tag);
    if (begin == npos) return {};
    std::u16string value(text.substr(begin, find_unit(text, u'<', begin) - begin));
    resolve_entities(value);
    return value;
}

}  // namespace brindlemoss::account
