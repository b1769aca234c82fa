#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "analysis/plugins/url_text.h"

namespace brindlemoss::analysis::plugins::text_analysis {

// The host of a URL, less the units that do not belong into it, as a number of URLs see it: a URL
// that is embedded in the host of another shares the host's end.
class host_text {
public:
    void clear(std::size_t room);  // for so many units
    void append(char16_t unit);
    void finish();  // nothing is appended behind this

    std::size_t size() const { return units_.size(); }

    // Appends the canonical form of the host from its unit `start` on: an address of four labels
    // as it stands, a name with its last label first, at most `most` labels. Gives the number of
    // labels; below 2 there is no canonical form, and `result` is of no use.
    std::size_t append_canonical(std::size_t start, std::size_t most, std::u16string& result) const;

private:
    struct label {
        std::size_t begin;
        std::size_t end;
    };

    bool is_address(std::size_t start) const;

    std::u16string units_;
    std::size_t name_end_ = 0;  // behind the last unit that is neither digit nor punctuation
    std::array<label, 5> last_labels_{};  // the last first
    std::size_t label_count_ = 0;
};

// A URL that is stripped and decoded, and those embedded in it, one behind the other. The URL is
// cut down to what senders of bulk mail cannot vary at no cost: the host with its labels turned
// round, the first pieces of the path, nothing else. "r.example.com/a?u=http://x.example.org/" is
// "com.example.r/a", and the URL embedded in it "org.example.x".
//
// All the URLs of a nest together take about linear time, though each runs to the end of the text.
// Not synchronised.
class url_nest {
public:
    // Begins with the outermost URL. The text must outlive the nest.
    explicit url_nest(std::u16string_view decoded);

    // The canonical text of the URL, nothing when it has none: its host is neither an address nor
    // a name with a label below a known top-level name. Nothing also where a URL further out has
    // the same text from the same piece of path.
    //
    // The host keeps letters, digits, "." and "-", and ends also at a "?", "#" or ";"; a path ends
    // at these and at "&". Where nothing is left of the host the first piece of the path stands
    // for it.
    std::optional<std::u16string> canonical_text();

    // Where in the text the next URL begins that is embedded in this one, npos if there is none.
    std::size_t embedded() const;

    // Goes on to that URL and strips it; it is not decoded again. False where there is none.
    bool enter_embedded();

private:
    void read_host(std::size_t begin, std::size_t limit);
    void read_path(std::size_t begin);
    std::optional<std::u16string> text_of_path_alone(std::size_t path);
    std::optional<std::u16string> joined(const host_text& host, std::size_t host_start,
                                         std::size_t path);

    static constexpr std::size_t most_elements = 5;       // of a canonical text
    static constexpr std::size_t most_path_elements = 3;  // behind a host of two labels

    std::u16string_view text_;
    url_stripper stripper_;
    stripped_url url_;

    // What was read last: embedded URLs have often the same host end and the same path, and none
    // of it may be read again for each of them. Where a path begins tells it apart: the end of the
    // URLs only moves forward to where none has begun.

    host_text host_;
    std::size_t host_begin_ = 0;  // where in the text
    std::size_t host_end_ = 0;
    std::size_t host_limit_ = nothing_read;
    std::size_t host_start_ = 0;  // what the URL has of the host

    std::u16string path_;  // "/a/b/c"
    std::array<std::size_t, most_path_elements> piece_ends_{};
    std::size_t piece_count_ = 0;
    std::size_t path_begin_ = nothing_read;
    std::size_t path_alone_begin_ = nothing_read;

    static constexpr std::size_t nothing_read = std::u16string_view::npos;
};

}  // namespace brindlemoss::analysis::plugins::text_analysis
