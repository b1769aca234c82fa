#include "cli/image_document.h"

#include <array>
#include <cstdio>
#include <span>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "foundation/md5.h"
#include "message/character_set.h"

namespace brindlemoss::cli {

namespace image = analysis::plugins::image_analysis;
using image::rect;
using image::text_engine;

namespace {

std::string histogram_md5(const image::level_counters& histogram) {
    std::string bytes;
    for (const std::uint32_t count : histogram) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>((count >> shift) & 0xFF);
        }
    }
    return replay::md5(bytes).hex();
}

void write_rect(const rect& r, json_writer& json) {
    json.begin_array().number(r.left).number(r.top).number(r.right).number(r.bottom).end_array();
}

void write_rects(std::span<const rect> rects, json_writer& json) {
    json.begin_array();
    for (const rect& each : rects) write_rect(each, json);
    json.end_array();
}

void write_levels(const image::level_flags& levels, json_writer& json) {
    json.begin_array();
    for (std::size_t level = 0; level < levels.size(); ++level) {
        if (levels[level]) json.unsigned_number(level);
    }
    json.end_array();
}

void write_line(const image::text_line& line, json_writer& json) {
    json.begin_object().key("box");
    write_rect(line.box, json);
    json.key("bounding_box");
    write_rect(line.bounding_box, json);
    json.key("valid").boolean(line.valid);
    json.key("glyphs").unsigned_number(line.glyphs.size());
    json.key("words").begin_array();
    for (const image::component& word : line.words) {
        json.begin_array().number(word.box.left).number(word.box.top).number(word.box.right);
        json.number(word.box.bottom).boolean(word.valid).end_array();
    }
    json.end_array().end_object();
}

void write_block(const image::block& block, json_writer& json) {
    json.begin_object().key("box");
    write_rect(block.box, json);
    json.key("meta_lines").begin_array();
    for (const image::meta_line& line : block.meta_lines) write_rect(line.box, json);
    json.end_array().end_object();
}

void write_planes(const text_engine& engine, const image_watch& watch, json_writer& json) {
    const std::string pp_plane = levels_md5(engine.pp_plane);
    json.key("mean_plane_md5").utf8(levels_md5(engine.mean_plane));
    json.key("pp_plane_md5").utf8(pp_plane);
    json.key("pp_plane_after_preprocess_md5");
    json.utf8(watch.preprocessed_md5().empty() ? pp_plane : watch.preprocessed_md5());
    json.key("histogram_md5").utf8(histogram_md5(engine.histogram));
    json.key("background_level").number(engine.background_level);
    json.key("background_levels");
    write_levels(engine.background_levels, json);
}

void write_regions(const text_engine& engine, json_writer& json) {
    json.key("crop");
    write_rect(engine.crop, json);
    json.key("segment_density").real_number(engine.segment_density);
    json.key("slope").real_number(engine.slope);
    json.key("regions");
    write_rects(engine.regions, json);
    json.key("region_density").real_number(engine.region_density);
    json.key("background_fraction").real_number(engine.background_fraction);
}

void write_text(const text_engine& engine, json_writer& json) {
    json.key("lines").begin_array();
    for (const image::text_line& line : engine.lines) write_line(line, json);
    json.end_array().key("blocks").begin_array();
    for (const image::block& block : engine.blocks) write_block(block, json);
    json.end_array();
    json.key("valid_line_count").number(engine.valid_line_count);
    json.key("valid_word_count").number(engine.valid_word_count);
    json.key("text_fraction").real_number(engine.text_fraction);
    json.key("correction_kinds").number(engine.correction_kinds);
}

void write_result(const image::engine_result& result, json_writer& json) {
    json.key("tests").begin_array();
    for (const image::image_test& test : result.tests) {
        json.begin_array().text(test.name).number(test.score).end_array();
    }
    json.end_array().key("signatures").begin_array();
    for (const std::string& signature : result.signatures) json.utf8(signature);
    json.end_array();
}

std::string one_line(const char* format, double value) {
    std::array<char, 64> text;
    const int size = std::snprintf(text.data(), text.size(), format, value);
    return std::string(text.data(), static_cast<std::size_t>(size));
}

std::string_view ending(std::int32_t stop_code) {
    switch (stop_code) {
        case image::no_stop: return "went through all stages";
        case image::picture_too_small: return "too small to hold text";
        case image::flat_histogram: return "all of one level";
        case image::crop_too_small:
        case image::rotated_crop_too_small: return "too small without its margins";
        case image::few_segments:
        case image::few_rotated_segments: return "few stretches of text";
        case image::few_regions: return "few regions of text";
        case image::few_raw_lines: return "few lines of text";
        case image::little_background: return "little background";
        default: return "stopped early";
    }
}

}  // namespace

std::string levels_md5(const image::plane& levels) {
    const auto* bytes = reinterpret_cast<const char*>(levels.levels.data());
    return replay::md5({bytes, levels.levels.size()}).hex();
}

std::string image_as_json(std::string_view file, const text_engine& engine,
                          const image::engine_result& result, const image_watch& watch,
                          bool with_checkpoints) {
    json_writer json;
    json.begin_object().key("file").utf8(file);
    json.key("width").number(engine.width).key("height").number(engine.height);
    json.key("stop_code").number(engine.stop_code).key("keep_going").boolean(engine.keep_going);
    write_planes(engine, watch, json);
    write_regions(engine, json);
    write_text(engine, json);
    write_result(result, json);
    json.key("score").number(engine.score);
    if (with_checkpoints) {
        json.key("checkpoints").begin_array();
        for (const image_watch::checkpoint& each : watch.checkpoints()) {
            json.begin_array().utf8(each.label);
            write_rects(each.rects, json);
            json.end_array();
        }
        json.end_array();
    }
    return json.end_object().line() + "\n";
}

std::string image_as_text(std::string_view file, const text_engine& engine,
                          const image::engine_result& result) {
    std::string text = printable(file) + ": " + std::to_string(engine.width) + " x " +
                       std::to_string(engine.height) + " pixels, ";
    text.append(ending(engine.stop_code)).append("\n");
    text += "  text regions: " + std::to_string(engine.regions.size()) +
            ", lines: " + std::to_string(engine.valid_line_count) +
            ", words: " + std::to_string(engine.valid_word_count) +
            one_line(", slope: %.4f", engine.slope) +
            one_line(", background: %.0f %%\n", engine.background_fraction * 100.0);
    for (const image::image_test& test : result.tests) {
        text += "  test " + replay::unicode::from_wide(test.name, replay::unicode::utf8) + ": " +
                std::to_string(test.score) + "\n";
    }
    for (const std::string& signature : result.signatures) {
        constexpr std::size_t shown_units = 72;
        text += "  signature " + signature.substr(0, shown_units);
        text += signature.size() > shown_units ? "...\n" : "\n";
    }
    return text;
}

std::string checkpoints_as_text(const image_watch& watch) {
    std::string text;
    for (const image_watch::checkpoint& each : watch.checkpoints()) {
        text.append("  ").append(each.label).append(":");
        for (const rect& r : each.rects) {
            text += " [" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
                    std::to_string(r.right) + "," + std::to_string(r.bottom) + "]";
        }
        text += "\n";
    }
    return text;
}

}  // namespace brindlemoss::cli
