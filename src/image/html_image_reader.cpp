#include "image/html_image_reader.h"

#include <algorithm>

namespace brindlemoss::digest::plugin {

namespace {

constexpr std::u16string_view scheme = u"cid:";

// `lower` is written in small ASCII letters.
bool is_named(std::u16string_view name, std::u16string_view lower) {
    return std::equal(name.begin(), name.end(), lower.begin(), lower.end(),
                      [](char16_t unit, char16_t small) {
                          const bool is_capital = unit >= u'A' && unit <= u'Z';
                          return (is_capital ? unit + (u'a' - u'A') : unit) == small;
                      });
}

}  // namespace

void html_image_reader::tag(std::u16string_view name) {
    in_image_ = is_named(name, u"img");
    has_table_ = has_table_ || is_named(name, u"table");
}

void html_image_reader::tag_end(std::u16string_view) {
    in_image_ = false;
}

void html_image_reader::attribute(std::u16string_view name, std::u16string_view value) {
    if (!in_image_ || !is_named(name, u"src") || !value.starts_with(scheme)) return;
    identifiers_.emplace_back(value.substr(scheme.size()));
}

}  // namespace brindlemoss::digest::plugin
