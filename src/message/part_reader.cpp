#include "message/part_reader.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <span>
#include <utility>

#include "foundation/ascii.h"
#include "message/body_lines.h"
#include "message/character_set.h"
#include "message/header_value.h"
#include "platform/character_class.h"

namespace replay::internet::message2 {

using header_type::parametized_value_type;

namespace {

constexpr std::string_view embedded_type = "message/rfc822";

// Bytes that the headers of most parts fit into.
constexpr std::size_t usual_header_block = 4096;

// Empties a text and frees its memory, which an assignment would keep.
void give_back(std::string& text) {
    std::string().swap(text);
}

// The suffix is given in lower case.
bool ends_in(std::u16string_view name, std::string_view suffix) {
    if (name.size() < suffix.size()) return false;
    const std::u16string_view tail = name.substr(name.size() - suffix.size());
    const platform::character_table& characters = platform::characters();
    return std::equal(tail.begin(), tail.end(), suffix.begin(), [&](char16_t unit, char byte) {
        return characters.to_lower(unit) == static_cast<unsigned char>(byte);
    });
}

bool begins_with_space(std::string_view text) {
    return !text.empty() && ascii::is_space(text.front());
}

// Adds a header line without its leading white space, with all other white space as plain spaces.
void append_cleaned(std::string_view line, std::string& out) {
    while (begins_with_space(line)) line.remove_prefix(1);
    const std::size_t before = out.size();
    out.append(line);
    const std::span<char> appended(out.data() + before, line.size());
    for (char& byte : appended) byte = ascii::is_space(byte) ? ' ' : byte;
}

// The name ends at the first colon or space; the value begins behind all that follow.
header split_header_line(std::string_view line) {
    const auto is_separator = [](char byte) { return byte == ':' || byte == ' '; };
    const auto name_end = std::find_if(line.begin(), line.end(), is_separator);
    const auto value_begin = std::find_if_not(name_end, line.end(), is_separator);
    return {{line.begin(), name_end}, {value_begin, line.end()}};
}

std::string_view type_by_name(std::u16string_view name) {
    struct row {
        std::string_view ending;
        std::string_view type;
    };
    constexpr row table[] = {{".txt", "text/plain"},  {".htm", "text/html"},
                             {".html", "text/html"},  {".jpg", "image/jpeg"},
                             {".jpeg", "image/jpeg"}, {".gif", "image/gif"},
                             {".png", "image/png"}};
    for (const row& each : table) {
        if (ends_in(name, each.ending)) return each.type;
    }
    return "application/octet-stream";
}

void check_depth(unsigned depth) {
    if (depth >= most_depth) throw depth_limit();
}

}  // namespace

const std::string& default_content_type() {
    static const std::string value = [] {
        parametized_value_type type;
        type.set_value(u"text/plain");
        type.set_parameter("charset", u"iso-8859-1");
        return type.unparse();
    }();
    return value;
}

void part::take_type_fields(std::string_view content_type_value) {
    parametized_value_type type;
    type.parse(content_type_value);
    content_type = ascii::to_lower(type.value_in_codepage(unicode::utf8));

    std::string parameter = "iso-8859-1";
    type.parameter_in_codepage("charset", parameter, unicode::utf8);
    charset = ascii::to_lower(parameter);

    boundary.clear();
    type.parameter_in_codepage("boundary", boundary, unicode::utf8);
}

// The messages attached to a message are read behind it, but a fault in one of them comes before a
// fault in what follows it in the text.
void part_reader::read(part& target, std::string_view raw, bool final_line, unsigned depth) {
    const std::exception_ptr fault = try_part(target, line_reader(raw, final_line), depth);
    read_attached_messages();
    if (fault) std::rethrow_exception(fault);
}

void part_reader::read_attached_messages() {
    for (attached_message& next : std::exchange(attached_messages_, {})) {
        const std::exception_ptr fault =
            try_part(*next.target, line_reader(next.raw, true), next.depth);
        give_back(next.raw);
        read_attached_messages();
        if (fault) std::rethrow_exception(fault);
    }
}

std::exception_ptr part_reader::try_part(part& target, line_reader lines, unsigned depth) {
    try {
        read_part(target, lines, depth);
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

void part_reader::read_part(part& target, line_reader lines, unsigned depth) {
    const bool has_body = read_headers(target, lines);
    if (!target.headers.find("Content-Type")) {
        target.headers.add("Content-Type", default_content_type());
    }
    if (has_body) read_body(target, lines, depth);
}

// Reads up to and with the empty line that ends the header block; false where there is none.
bool part_reader::read_headers(part& target, line_reader& lines) {
    target.headers.reserve(std::min(lines.rest().size(), usual_header_block));
    while (!lines.done()) {
        const std::string_view first = lines.next();
        if (first.empty()) return true;
        unfolded_.clear();
        append_cleaned(first, unfolded_);
        while (lines.at_continuation()) {
            unfolded_ += ' ';
            append_cleaned(lines.next(), unfolded_);
        }
        add_header(target);
    }
    return false;
}

void part_reader::add_header(part& target) {
    const header read = split_header_line(unfolded_);
    target.headers.add(read.name, read.value);
    if (ascii::equals_ignoring_case(read.name, "Content-Type")) target.take_type_fields(read.value);
    if (unfolded_.capacity() > usual_header_block) give_back(unfolded_);
}

// A "boundary" parameter splits a part, whatever its type: the first segment is its own content,
// each further one a child. A part of the type "message/rfc822" has no content of its own.
void part_reader::read_body(part& target, line_reader lines, unsigned depth) {
    const std::string delimiter_line = "--" + target.boundary;
    std::string_view delimiter;
    if (!target.boundary.empty()) delimiter = delimiter_line;
    bool is_child = target.content_type == embedded_type;
    ending found = ending::open_delimiter;
    while (found == ending::open_delimiter) {
        const bool may_open_more = parts_opened_ + (is_child ? 1 : 0) < most_parts;
        const line_reader segment =
            cut_segment(lines, may_open_more ? delimiter : std::string_view(), found);
        if (is_child) {
            read_part(open_child(target, depth), segment, depth + 1);
        } else {
            read_own_content(target, segment, depth);
            is_child = !delimiter.empty();
        }
    }
}

// The lines before the next one that is the delimiter, alone or with "--" behind it; `lines` goes
// on behind that one. All lines where there is no delimiter.
line_reader part_reader::cut_segment(line_reader& lines, std::string_view delimiter,
                                     ending& found) {
    found = ending::end_of_range;
    const line_reader all = lines;
    if (delimiter.empty()) return all;

    while (!lines.done()) {
        const std::string_view line = lines.next();
        if (!line.starts_with(delimiter)) continue;
        const std::string_view behind = line.substr(delimiter.size());
        if (!behind.empty() && behind != "--") continue;
        found = behind.empty() ? ending::open_delimiter : ending::close_delimiter;
        const char* begin = all.rest().data();
        return {{begin, static_cast<std::size_t>(line.data() - begin)}, false};
    }
    return all;
}

part& part_reader::open_child(part& target, unsigned depth) {
    check_depth(depth);
    ++parts_opened_;
    return target.children.emplace_back(part(part::unread{}));
}

void part_reader::read_own_content(part& target, line_reader segment, unsigned depth) {
    const std::string encoding = target.transfer_encoding();
    if (encoding == "base64") {
        append_base64_lines(segment, target.body);
    } else if (encoding == "quoted-printable") {
        append_quoted_printable_lines(segment, target.body);
    } else {
        read_plain_content(target, segment);
    }
    if (target.content_type == "application/octet-stream" &&
        ends_in(target.attachment().name, ".eml")) {
        promote_attached_message(target, depth);
    }
}

// Text as it stands; files uuencoded in it become children, and the text itself the last one.
void part_reader::read_plain_content(part& target, line_reader lines) {
    reserve_plain_text(lines.rest(), target.body);
    std::optional<std::int32_t> codepage;
    bool has_files = false;
    while (!lines.done()) {
        const std::string_view line = lines.next();
        if (line.starts_with("begin") && parts_opened_ < most_parts) {
            if (!codepage) codepage = unicode::codepage(target.charset);
            if (auto file = take_uuencoded_file(line, lines, *codepage)) {
                ++parts_opened_;
                has_files = true;
                target.children.push_back(make_attachment(std::move(*file)));
                continue;
            }
        }
        target.body.append(line).append("\r\n");
    }
    if (has_files) move_text_behind_attachments(target);
}

part part_reader::make_attachment(uuencoded_file file) {
    parametized_value_type disposition("utf-8");
    disposition.set_value(u"attachment");
    disposition.set_parameter("filename", file.name);

    part made;
    made.add_header("Content-Disposition", disposition);
    made.add_header("Content-Transfer-Encoding", "base64");
    made.content_type = type_by_name(file.name);
    made.body = std::move(file.content);
    return made;
}

void part_reader::move_text_behind_attachments(part& target) {
    part text;
    std::swap(text.content_type, target.content_type);
    std::swap(text.charset, target.charset);
    std::swap(text.body, target.body);
    std::swap(text.boundary, target.boundary);
    target.children.push_back(std::move(text));
    target.content_type = "multipart/mixed";
    target.boundary = "=_uue_conversion_boundary";
}

void part_reader::promote_attached_message(part& target, unsigned depth) {
    part& child = open_child(target, depth);
    attached_messages_.push_back({&child, std::exchange(target.body, {}), depth + 1});
    target.content_type = embedded_type;
    target.remove_headers("Content-Transfer-Encoding");
}

}  // namespace replay::internet::message2
