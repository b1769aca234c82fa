#include "analysis/plugins/readable_headers.h"

#include "message/character_set.h"
#include "message/header_value.h"

namespace brindlemoss::analysis::plugins {

using replay::internet::message2::attachment_info;
using replay::internet::message2::part;
namespace header_type = replay::internet::message2::header_type;

namespace {

bool parse_readable(std::string_view raw, header_type::generic_value_type& value) {
    try {
        value.parse(raw);
        return true;
    } catch (const replay::unicode::generic&) {
        return false;
    }
}

void copy_readable_header(const part& from, std::string_view name, part& to) {
    header_type::parametized_value_type value;
    const auto raw = from.headers.find(name);
    if (raw && parse_readable(*raw, value)) to.headers.add(name, *raw);
}

}  // namespace

std::optional<std::u16string> readable_text(std::string_view raw) {
    header_type::unstructured_value_type value;
    if (!parse_readable(raw, value)) return std::nullopt;
    return value.value();
}

std::optional<std::u16string> readable_text(const part& item, std::string_view header_name) {
    const auto raw = item.headers.find(header_name);
    return raw ? readable_text(*raw) : std::nullopt;
}

attachment_info readable_attachment(const part& item) {
    try {
        return item.attachment();
    } catch (const replay::unicode::generic&) {
        part readable;
        readable.headers = {};
        readable.content_type = item.content_type;
        copy_readable_header(item, "Content-Type", readable);
        copy_readable_header(item, "Content-Disposition", readable);
        return readable.attachment();
    }
}

}  // namespace brindlemoss::analysis::plugins
