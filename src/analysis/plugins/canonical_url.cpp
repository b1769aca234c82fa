#include "analysis/plugins/canonical_url.h"

#include <algorithm>

#include "analysis/plugins/top_level_names.h"
#include "platform/character_class.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::platform::characters;
namespace character_class = replay::platform::character_class;

constexpr std::size_t nowhere = std::u16string_view::npos;
constexpr std::size_t most_label_units = 63;
constexpr std::size_t most_piece_units = 24;
constexpr std::size_t address_labels = 4;
constexpr std::size_t usual_path_units = 32;  // of a canonical text, to have room for

bool is_any_of(char16_t unit, character_class::flags flags) {
    return (characters().classes(unit) & flags) != 0;
}

bool is_kept_in_host(char16_t unit) {
    return unit == u'.' || unit == u'-' ||
           is_any_of(unit, character_class::alpha | character_class::digit);
}

bool ends_host(char16_t unit) {
    return unit == u'?' || unit == u'#' || unit == u';';
}

bool ends_path(char16_t unit) {
    return ends_host(unit) || unit == u'&';
}

bool is_control(char16_t unit) {
    return characters().is_control(unit);
}

}  // namespace

void host_text::clear(std::size_t room) {
    units_.clear();
    units_.reserve(room);
    name_end_ = 0;
    label_count_ = 0;
}

void host_text::append(char16_t unit) {
    units_ += unit;
    if (!is_any_of(unit, character_class::digit | character_class::punctuation)) {
        name_end_ = units_.size();
    }
}

void host_text::finish() {
    label_count_ = 0;
    std::size_t end = units_.size();
    while (end > 0 && label_count_ < last_labels_.size()) {
        if (units_[end - 1] == u'.') {
            --end;
            continue;
        }
        const std::size_t dot = units_.rfind(u'.', end - 1);
        const std::size_t begin = dot == nowhere ? 0 : dot + 1;
        last_labels_[label_count_++] = {begin, end};
        end = begin;
    }
}

// Not slow for a nest of many: each embedded "www." is a name, so the hosts without one are apart.
bool host_text::is_address(std::size_t start) const {
    if (start < name_end_) return false;
    std::size_t labels = 0;
    bool within_label = false;
    for (std::size_t at = start; at < units_.size(); ++at) {
        const bool is_dot = units_[at] == u'.';
        if (!is_dot && !within_label) ++labels;
        within_label = !is_dot;
    }
    return labels == address_labels;
}

std::size_t host_text::append_canonical(std::size_t start, std::size_t most,
                                        std::u16string& result) const {
    if (is_address(start)) {
        result.append(units_, start);
        return address_labels;
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < label_count_ && count < most; ++i) {
        const auto [label_begin, end] = last_labels_[i];
        if (end <= start) break;
        const std::size_t begin = std::max(label_begin, start);
        const auto name = std::u16string_view(units_).substr(begin, end - begin);
        if (count == 0) {
            if (!is_top_level_name(name)) return 0;
        } else {
            if (name.size() > most_label_units) break;
            result += u'.';
        }
        result += name;
        ++count;
    }
    return count;
}

url_nest::url_nest(std::u16string_view decoded)
    : text_(decoded), stripper_(decoded), url_{0, decoded.size(), decoded.size(), decoded.size()} {
    url_.front_end = url_.rest = std::min(decoded.find(u'/'), decoded.size());
}

std::optional<std::u16string> url_nest::canonical_text() {
    if (url_.begin < url_.front_end) {
        read_host(url_.begin, url_.front_end);
        if (host_start_ < host_.size()) return joined(host_, host_start_, url_.rest);
        return text_of_path_alone(url_.rest);
    }
    std::size_t begin = url_.rest;
    while (begin < url_.end && text_[begin] == u'/') ++begin;
    const std::size_t limit = std::min(text_.find(u'/', begin), url_.end);
    read_host(begin, limit);
    if (host_start_ < host_.size()) return joined(host_, host_start_, limit);
    return text_of_path_alone(limit);
}

std::size_t url_nest::embedded() const {
    if (url_.begin < url_.front_end) {
        const std::size_t found = find_url_mark(text_.substr(0, url_.front_end), url_.begin + 1);
        if (found != nowhere) return found;
    }
    return find_url_mark(text_.substr(0, url_.end), url_.rest);
}

bool url_nest::enter_embedded() {
    const std::size_t found = embedded();
    if (found == nowhere) return false;
    // What was cut behind the front as a port is no part of a URL that begins in the front.
    const bool port_is_cut = url_.front_end != url_.rest;
    if (found < url_.front_end && port_is_cut) {
        url_.begin = stripper_.strip(found, url_.front_end).begin;
        return true;
    }
    url_ = stripper_.strip(found, url_.end);
    return true;
}

void url_nest::read_host(std::size_t begin, std::size_t limit) {
    if (limit == host_limit_ && begin >= host_begin_ && begin <= host_end_) {
        for (; host_begin_ < begin; ++host_begin_) {
            if (is_kept_in_host(text_[host_begin_])) ++host_start_;
        }
        return;
    }
    host_.clear(limit - begin);
    host_begin_ = begin;
    host_limit_ = limit;
    host_start_ = 0;
    for (host_end_ = begin; host_end_ < limit && !ends_host(text_[host_end_]); ++host_end_) {
        if (is_kept_in_host(text_[host_end_])) host_.append(text_[host_end_]);
    }
    host_.finish();
}

void url_nest::read_path(std::size_t begin) {
    if (begin == path_begin_) return;
    path_begin_ = begin;
    path_.clear();
    path_.reserve(most_path_elements * (most_piece_units + 1));
    piece_count_ = 0;
    std::size_t piece_size = 0;
    const auto end_piece = [&] {
        if (piece_size > 0) piece_ends_[piece_count_++] = path_.size();
        piece_size = 0;
    };
    for (std::size_t at = begin; at < url_.end && piece_count_ < most_path_elements; ++at) {
        const char16_t unit = text_[at];
        if (ends_path(unit)) break;
        if (unit == u'/') {
            end_piece();
        } else if (!is_control(unit)) {
            if (piece_size == most_piece_units) return;
            if (piece_size++ == 0) path_ += u'/';
            path_ += unit;
        }
    }
    end_piece();
}

std::optional<std::u16string> url_nest::text_of_path_alone(std::size_t path) {
    if (path == path_alone_begin_) return std::nullopt;
    path_alone_begin_ = path;
    host_text host;
    std::size_t at = path;
    for (; at < url_.end && !ends_path(text_[at]); ++at) {
        if (text_[at] == u'/') {
            if (host.size() > 0) break;
        } else if (!is_control(text_[at])) {
            host.append(text_[at]);
        }
    }
    host.finish();
    return joined(host, 0, at);
}

std::optional<std::u16string> url_nest::joined(const host_text& host, std::size_t host_start,
                                               std::size_t path) {
    std::u16string result;
    result.reserve(std::min(host.size() - host_start, most_elements * (most_label_units + 1)) +
                   usual_path_units);
    const std::size_t labels = host.append_canonical(host_start, most_elements, result);
    if (labels < 2) return std::nullopt;
    read_path(path);
    const std::size_t pieces = std::min(most_elements - labels, piece_count_);
    if (pieces > 0) result.append(path_, 0, piece_ends_[pieces - 1]);
    return result;
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
