#pragma once

#include <string_view>

#include "message/line_end.h"

namespace replay::internet::message2 {

// A text seen as lines without their ends, read from the front. CR, LF, CR LF and LF CR each end a
// line, mixed as they come. What stands behind the last line end, even nothing, counts as a line
// when `final_line` is set; a text cut out in front of a line has none.
//
// A view: the text must outlive it. Never throws.
class line_reader {
public:
    line_reader() : line_reader({}, false) {}
    line_reader(std::string_view text, bool final_line)
        : position_(text.data()), end_(text.data() + text.size()), final_line_(final_line) {}

    bool done() const { return position_ == end_ && !final_line_; }

    // The next line; the reader must not be done.
    std::string_view next() {
        const char* stop = find_line_end(position_, end_);
        const std::string_view line(position_, static_cast<std::size_t>(stop - position_));
        position_ = stop;
        if (position_ == end_) {
            final_line_ = false;
        } else {
            pass_line_end();
        }
        return line;
    }

    // True when the next line begins with white space, as lines do that continue a header.
    bool at_continuation() const {
        return position_ != end_ && (*position_ == ' ' || *position_ == '\t' ||
                                     *position_ == '\v' || *position_ == '\f');
    }

    // What has not been read, and whether a final line is still due.
    std::string_view rest() const {
        return {position_, static_cast<std::size_t>(end_ - position_)};
    }
    bool final_line() const { return final_line_; }

private:
    void pass_line_end() {
        const char first = *position_++;
        if (position_ == end_) return;
        const char second = *position_;
        if (second != first && (second == '\r' || second == '\n')) ++position_;
    }

    const char* position_;
    const char* end_;
    bool final_line_;
};

}  // namespace replay::internet::message2
