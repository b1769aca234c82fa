#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/exception.h"
#include "message/header_list.h"

// The parsed form of an Internet mail message (RFC 5322, RFC 2045, RFC 2046).
namespace replay::internet::message2 {

namespace header_type {
class generic_value_type;
}

class generic : public exception {
public:
    explicit generic(std::string message = {});
};

// A part would stand deeper than most_depth.
class depth_limit : public generic {
public:
    depth_limit();
};

// The root has depth 0; no part is read at a greater depth than this.
inline constexpr unsigned most_depth = 64;

// Neither boundary lines nor uuencoded files open a further part once a message has given this
// many: what follows stays in the last part opened. Real mail has a few hundred at the most;
// without the bound a message of short boundary lines would cost a hundred times its size in
// memory.
inline constexpr std::size_t most_parts = 50'000;

// The name comes from "Content-Disposition" before "Content-Type" and may be given for parts that
// are no attachments, such as pictures shown within the text.
struct attachment_info {
    bool is_attachment = false;
    std::u16string name;
};

class part;

// A part of a tree and the part that holds it (null for the one the walk began at). Good as long
// as the tree stands.
struct part_entry {
    part* item;
    part* parent;
};

// Parts by level, the start being level 0; within a level in the order of a walk of the tree that
// visits each part before its children.
using part_map = std::multimap<std::uint32_t, part_entry>;

// A node of the tree; the root is the message.
//
// Reading never rejects malformed text: it skips or keeps it, and gives up only on trees deeper
// than most_depth. What it may throw beside that comes from the header values that decide the
// structure, Content-Type and Content-Transfer-Encoding: replay::unicode::generic for text that
// their character set cannot convert, replay::coding::translate::invalid_codeword for a broken
// encoded word. Time is linear in the size of the text, memory a small multiple of it.
//
// Not synchronised: one tree belongs to one thread, text() writes its cache.
class part {
public:
    // An empty text/plain part with the one header Content-Type.
    part();

    // Reads a whole message: its text is copied where it is kept, `raw` need not outlive the part.
    explicit part(std::string_view raw, unsigned depth = 0);

    // Reads lines without their ends; no line ends within them.
    explicit part(const std::vector<std::string>& lines);
    part(const std::vector<std::string>& lines, std::size_t first, std::size_t last,
         unsigned depth = 0);

    part(const part&) = default;
    part(part&&) = default;
    part& operator=(const part&) = default;
    part& operator=(part&&) = default;
    ~part() = default;

    // Reads a file as part(raw) does. Throws generic where it cannot be opened, or not be read.
    static part load(const std::string& path);

    // Writes unparse() to a file, CR LF after every line, in place of what stood there. Throws
    // generic where it cannot be opened, or not be written.
    void save(const std::string& path) const;

    // The part as text. The Content-Type headers are rewritten from content_type, charset and
    // boundary; the others stand as they were read, each on one line.
    // Throws replay::unicode::generic where such a rewritten value has no form in its charset.
    std::vector<std::string> unparse() const;

    // The same line by line, without holding it all. The view is good during the call only.
    void unparse(const std::function<void(std::string_view)>& take_line) const;

    // unparse() as one text, CR LF after every line. `usual_size` is what to make room for first.
    std::string unparse_text(std::size_t usual_size = 0) const;

    // Reads the first header of that name into `value`; false, and `value` untouched, where there
    // is none. Throws what parse of the value's type throws.
    bool find_header(std::string_view name, header_type::generic_value_type& value) const;
    bool find_header(std::string_view name, std::string& raw) const;
    void add_header(std::string_view name, std::string_view raw);
    void add_header(std::string_view name, const header_type::generic_value_type& value);
    void remove_headers(std::string_view name);

    // Content-Transfer-Encoding in lower case, empty where there is none.
    std::string transfer_encoding() const;

    // The body as text, decoded by `charset` on first demand and kept: a later change of `body` by
    // other means is not seen. Throws replay::unicode::generic.
    const std::u16string& text();

    // Sets text and body. Throws replay::unicode::generic, and then nothing is changed.
    void set_text(std::u16string wide);

    // text() and set_text() in bytes of a code page (message/character_set.h).
    std::string text_in_codepage(std::int32_t codepage);
    void set_text_from_codepage(std::string_view bytes, std::int32_t codepage);

    // Throws what reading Content-Type and Content-Disposition throws.
    attachment_info attachment() const;

    // Adds this part, at level 0, and all that it holds to `out`. With `skip_embedded` attached
    // messages ("message/rfc822") are left out with all that they hold.
    void flatten(part_map& out, bool skip_embedded);

    // The same, less the entries whose content type does not begin with `prefix`, compared in
    // lower case.
    void flatten(part_map& out, std::string_view prefix, bool skip_embedded);

    header_list headers;
    std::string content_type = "text/plain";  // lower case when read
    std::string charset = "iso-8859-1";       // lower case when read
    std::string body;          // without its transfer coding; of a multipart the preamble
    std::string boundary;      // empty: the part is not split
    std::list<part> children;  // references to them hold while others come and go

private:
    friend class part_reader;
    struct unread {};
    explicit part(unread) {}

    void take_type_fields(std::string_view content_type_value);
    void flatten_below(part* parent, std::uint32_t level, bool skip_embedded, part_map& out);

    std::u16string text_;
};

}  // namespace replay::internet::message2
