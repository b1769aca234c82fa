#include "message/part.h"

#include <algorithm>
#include <utility>

#include "foundation/ascii.h"
#include "message/character_set.h"
#include "message/header_value.h"
#include "message/part_reader.h"
#include "message/part_writer.h"
#include "platform/file.h"

namespace replay::internet::message2 {

using header_type::parametized_value_type;
using header_type::unstructured_value_type;

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("message2");
}

depth_limit::depth_limit() : generic("MIME tree depth exceeded") {}

part::part() {
    headers.add("Content-Type", default_content_type());
}

part::part(std::string_view raw, unsigned depth) {
    part_reader().read(*this, raw, true, depth);
}

part::part(const std::vector<std::string>& lines) : part(lines, 0, lines.size()) {}

part::part(const std::vector<std::string>& lines, std::size_t first, std::size_t last,
           unsigned depth) {
    std::string raw;
    for (std::size_t i = first; i < last; ++i) raw.append(lines[i]).append("\r\n");
    part_reader().read(*this, raw, false, depth);
}

part part::load(const std::string& path) {
    std::string raw;
    try {
        raw = platform::read_file(path);
    } catch (const platform::file_error& error) {
        if (error.at() == platform::file_error::step::open) {
            throw generic("unable to open file for input: " + path);
        }
        throw generic("unable to read file: " + path);
    }
    return part(raw);
}

void part::save(const std::string& path) const {
    try {
        platform::output_file file(path);
        unparse([&](std::string_view line) {
            file.write(line);
            file.write("\r\n");
        });
        file.close();
    } catch (const platform::file_error& error) {
        if (error.at() == platform::file_error::step::open) {
            throw generic("unable to open file for output: " + path);
        }
        throw generic("unable to write file: " + path);
    }
}

std::vector<std::string> part::unparse() const {
    std::vector<std::string> lines;
    unparse([&](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

void part::unparse(const std::function<void(std::string_view)>& take_line) const {
    write_part(*this, take_line);
}

std::string part::unparse_text(std::size_t usual_size) const {
    std::string text;
    text.reserve(usual_size);
    unparse([&](std::string_view line) { text.append(line).append("\r\n"); });
    return text;
}

bool part::find_header(std::string_view name, header_type::generic_value_type& value) const {
    const auto raw = headers.find(name);
    if (raw) value.parse(*raw);
    return raw.has_value();
}

bool part::find_header(std::string_view name, std::string& raw) const {
    const auto found = headers.find(name);
    if (found) raw = *found;
    return found.has_value();
}

void part::add_header(std::string_view name, std::string_view raw) {
    headers.add(name, raw);
}

void part::add_header(std::string_view name, const header_type::generic_value_type& value) {
    headers.add(name, value.unparse());
}

void part::remove_headers(std::string_view name) {
    headers.remove(name);
}

std::string part::transfer_encoding() const {
    unstructured_value_type encoding;
    if (!find_header("Content-Transfer-Encoding", encoding)) return {};
    return ascii::to_lower(encoding.value_in_codepage(unicode::utf8));
}

const std::u16string& part::text() {
    if (!body.empty() && text_.empty()) text_ = unicode::to_wide(body, unicode::codepage(charset));
    return text_;
}

void part::set_text(std::u16string wide) {
    body = unicode::from_wide(wide, unicode::codepage(charset));
    text_ = std::move(wide);
}

std::string part::text_in_codepage(std::int32_t codepage) {
    return unicode::from_wide(text(), codepage);
}

void part::set_text_from_codepage(std::string_view bytes, std::int32_t codepage) {
    set_text(unicode::to_wide(bytes, codepage));
}

attachment_info part::attachment() const {
    attachment_info info;
    parametized_value_type type;
    if (find_header("Content-Type", type)) {
        info.is_attachment = ascii::equals_ignoring_case(content_type, "message/rfc822");
        type.parameter("name", info.name);
    }
    parametized_value_type disposition;
    if (find_header("Content-Disposition", disposition)) {
        info.is_attachment =
            ascii::equals_ignoring_case(disposition.value_in_codepage(unicode::utf8), "attachment");
        disposition.parameter("filename", info.name);
    }
    return info;
}

void part::flatten(part_map& out, bool skip_embedded) {
    flatten_below(nullptr, 0, skip_embedded, out);
}

void part::flatten(part_map& out, std::string_view prefix, bool skip_embedded) {
    flatten(out, skip_embedded);
    const std::string lowered = ascii::to_lower(prefix);
    std::erase_if(out, [&](const part_map::value_type& entry) {
        return !entry.second.item->content_type.starts_with(lowered);
    });
}

void part::flatten_below(part* parent, std::uint32_t level, bool skip_embedded, part_map& out) {
    if (skip_embedded && content_type == "message/rfc822") return;
    out.insert({level, part_entry{this, parent}});
    for (part& child : children) child.flatten_below(this, level + 1, skip_embedded, out);
}

}  // namespace replay::internet::message2
