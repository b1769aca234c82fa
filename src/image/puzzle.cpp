#include "image/puzzle.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "analysis/report_text.h"
#include "image/html_image_reader.h"
#include "image/picture_guard.h"

namespace brindlemoss::analysis::plugins::image_analysis {

using digest::plugin::html_image_reader;
using replay::internet::message2::part;
using replay::internet::message2::part_map;

namespace {

using part_places = std::vector<std::size_t>;

// The one HTML part; null, with a note, where there is none or more than one.
part* find_html(part& root, image_set& images) {
    constexpr std::string_view type = "text/html";
    part_map found;
    root.flatten(found, type, false);
    std::erase_if(found, [&](const auto& each) { return each.second.item->content_type != type; });
    if (found.empty()) images.notes |= puzzle_without_html;
    if (found.size() > 1) images.notes |= puzzle_with_several_html;
    return found.size() == 1 ? found.begin()->second.item : nullptr;
}

// None where the pictures are not laid out by the text alone.
std::vector<std::u16string> named_identifiers(part& html, image_set& images) {
    html_image_reader reader;
    replay::html::parse(html.text(), reader);
    if (reader.has_table()) {
        images.notes |= puzzle_in_table;
        return {};
    }
    if (reader.identifiers().empty()) images.notes |= puzzle_without_identifiers;
    return reader.identifiers();
}

// The places of the parts by identifier; of several with one, the first.
std::map<std::u16string, std::size_t> places_by_identifier(const image_parts& parts) {
    constexpr std::size_t brackets = 2;
    std::map<std::u16string, std::size_t> places;
    for (std::size_t place = 0; place < parts.size(); ++place) {
        std::string value;
        if (!parts[place]->find_header("Content-ID", value) || value.size() <= brackets) continue;
        places.emplace(widen(std::string_view(value).substr(1, value.size() - brackets)), place);
    }
    return places;
}

// One place for each identifier that a part has; none, with a note, unless there are as many as
// parts.
part_places match_parts(const std::vector<std::u16string>& identifiers, const image_parts& parts,
                        image_set& images) {
    const auto places = places_by_identifier(parts);
    part_places matched;
    for (const std::u16string& each : identifiers) {
        const auto found = places.find(each);
        if (found != places.end()) matched.push_back(found->second);
        if (matched.size() > parts.size()) break;
    }
    if (matched.size() == parts.size()) return matched;
    images.notes |= puzzle_count_differs;
    return {};
}

struct tile {
    const bitmap* picture;
    std::int64_t left;
    std::int64_t top;
};

struct tile_layout {
    std::vector<tile> tiles;
    std::int64_t width = 0;
    std::int64_t height = 0;
};

// Rows of tiles; nothing where they differ in width or make more than one picture may have.
std::optional<tile_layout> lay_out(const std::vector<const bitmap*>& pictures) {
    struct row {
        std::int64_t width;
        std::int64_t height;
    };
    std::vector<row> rows;
    tile_layout layout;
    for (const bitmap* const each : pictures) {
        if (rows.empty() || each->height() != rows.back().height) {
            rows.push_back({0, each->height()});
            layout.height += each->height();
        }
        layout.tiles.push_back({each, rows.back().width, layout.height - rows.back().height});
        rows.back().width += each->width();
    }
    layout.width = rows.front().width;
    const bool has_even_rows = std::all_of(
        rows.begin(), rows.end(), [&](const row& each) { return each.width == layout.width; });
    const auto most = static_cast<std::int64_t>(most_canvas_pixels);
    if (!has_even_rows || layout.width > most / layout.height) return std::nullopt;
    return layout;
}

bitmap assemble(const tile_layout& layout) {
    bitmap canvas = bitmap::allocate(static_cast<std::int32_t>(layout.width),
                                     static_cast<std::int32_t>(layout.height));
    for (const tile& each : layout.tiles) {
        canvas.paste(*each.picture, static_cast<std::int32_t>(each.left),
                     static_cast<std::int32_t>(each.top));
    }
    return canvas;
}

// The pictures of the parts; none, with a note, where one was not decoded.
std::vector<const bitmap*> pictures_of(const part_places& places, image_set& images) {
    std::vector<const bitmap*> pictures;
    for (const std::size_t place : places) {
        const auto found = images.bitmaps.find(place);
        if (found == images.bitmaps.end()) {
            images.notes |= puzzle_tile_missing;
            return {};
        }
        pictures.push_back(&found->second);
    }
    return pictures;
}

}  // namespace

void check_puzzle(part& root, const image_parts& parts, image_set& images) {
    part* const html = find_html(root, images);
    if (html == nullptr) return;
    const std::vector<std::u16string> identifiers = named_identifiers(*html, images);
    if (identifiers.empty()) return;
    images.puzzle_parts = match_parts(identifiers, parts, images);
    const std::vector<const bitmap*> pictures = pictures_of(images.puzzle_parts, images);
    if (pictures.empty()) return;
    const std::optional<tile_layout> layout = lay_out(pictures);
    if (!layout) return;
    bitmap canvas = assemble(*layout);
    if (!canvas) return;
    images.bitmaps.clear();
    images.frame_rects.clear();
    images.bitmaps[images.puzzle_parts.front()] = std::move(canvas);
    images.notes |= puzzle_assembled;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
