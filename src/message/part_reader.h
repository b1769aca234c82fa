#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "message/body_lines.h"
#include "message/lines.h"
#include "message/part.h"

namespace replay::internet::message2 {

// The value of the header that a part gets which has no Content-Type.
const std::string& default_content_type();

// Reads the text of a part into a tree: headers, body, children. Works on views of the text, which
// must stand during the call only. Throws as part does; the tree is then not fit for use.
class part_reader {
public:
    // Reads `raw` into `target`, which must be as new but for its headers, and has none. With
    // `final_line` what stands behind the last line end counts as a line even when it is empty.
    void read(part& target, std::string_view raw, bool final_line, unsigned depth);

private:
    // An attached message whose text was found as the body of a part. It is read when the tree
    // around it stands, so that the texts of messages nested in each other are not all held at a
    // time.
    struct attached_message {
        part* target;
        std::string raw;
        unsigned depth;
    };

    // How a segment of a body ended.
    enum class ending { open_delimiter, close_delimiter, end_of_range };

    void read_attached_messages();
    std::exception_ptr try_part(part& target, line_reader lines, unsigned depth);
    void read_part(part& target, line_reader lines, unsigned depth);
    bool read_headers(part& target, line_reader& lines);
    void add_header(part& target);
    void read_body(part& target, line_reader lines, unsigned depth);
    void read_own_content(part& target, line_reader segment, unsigned depth);
    static line_reader cut_segment(line_reader& lines, std::string_view delimiter, ending& found);
    part& open_child(part& target, unsigned depth);
    void read_plain_content(part& target, line_reader lines);
    static part make_attachment(uuencoded_file file);
    static void move_text_behind_attachments(part& target);
    void promote_attached_message(part& target, unsigned depth);

    std::vector<attached_message> attached_messages_;
    std::size_t parts_opened_ = 0;
    std::string unfolded_;  // the header being read, on one line
};

}  // namespace replay::internet::message2
