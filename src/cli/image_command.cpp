#include "cli/image_command.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "cli/console.h"
#include "cli/image_document.h"
#include "cli/image_watch.h"
#include "cli/inputs.h"
#include "cli/picture_overlay.h"
#include "foundation/module.h"
#include "image/image_set.h"
#include "image/text_engine.h"

namespace brindlemoss::cli {

namespace image = analysis::plugins::image_analysis;

namespace {

constexpr std::size_t only_picture = 0;

std::string_view reason_of(std::uint32_t load_errors, const image::picture_decoder& decoder) {
    if (load_errors & image::unknown_file_type) return "not a picture";
    if (load_errors & image::unwanted_file_type)
        return "a picture, but neither GIF nor PNG nor JPEG";
    if (!decoder.is_ready()) return "the picture library cannot be opened";
    return "broken, or refused as too large";
}

class overlay_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

void write_overlay(const image::text_engine& engine, const image_watch& watch,
                   const image_options& options) {
    const std::string& path = options.overlay;
    const colour_picture drawn = options.show.empty()
                                     ? draw_overlay(engine, watch)
                                     : draw_checkpoints(engine, watch, options.show);
    const image::bitmap picture =
        image::bitmap::from_rows(drawn.width, drawn.height, drawn.bytes.data());
    if (!picture.save_as_png(path)) {
        throw overlay_error("cannot write the overlay '" + printable(path) + "'");
    }
}

std::optional<input_fault> examine(const raw_message& file, const image_options& options) {
    const image::picture_decoder decoder;
    image::decoding_budget budget;
    image::image_set images;
    image::decode_picture(only_picture, file.text, decoder, budget, images);
    if (images.bitmaps.empty()) {
        return input_fault{std::string(reason_of(images.load_errors, decoder))};
    }

    image_watch watch(options.checkpoints || !options.show.empty()
                          ? image_watch::keep::every_checkpoint
                          : image_watch::keep::little);
    image::text_engine engine(images.bitmaps[only_picture].pixels(),
                              images.frame_rects[only_picture], &watch);
    watch.follow(engine);
    image::engine_result result;
    engine.run(result);
    if (options.json) {
        print(image_as_json(file.name, engine, result, watch, options.checkpoints));
    } else {
        print(image_as_text(file.name, engine, result));
        if (options.checkpoints) print(checkpoints_as_text(watch));
    }
    if (!options.overlay.empty()) write_overlay(engine, watch, options);
    return std::nullopt;
}

}  // namespace

CLI::App* add_image(CLI::App& program, image_options& options) {
    CLI::App* command =
        program.add_subcommand("image", "Tell what the search for text sees in a picture");
    command->add_option("PATH", options.paths, "Picture files, or - for standard input")
        ->required();
    command->add_option("--overlay", options.overlay,
                        "Draw what was found over the picture, into this PNG file");
    command
        ->add_option("--show", options.show,
                     "Draw only the rectangles of the checkpoint of this label; may be repeated")
        ->expected(1)
        ->take_all();
    command->add_flag("--checkpoints", options.checkpoints,
                      "Print every stage with the rectangles that it held");
    command->add_flag("--json", options.json, "Print one JSON object a picture");
    return command;
}

int run_image(const image_options& options) try {
    module::instance().load(module::armed_by::program);
    const std::vector<input> inputs = find_inputs(options.paths);
    if (!options.overlay.empty() && inputs.size() != 1) {
        complain("--overlay draws into one file and takes one picture");
        return exit_bad_input;
    }
    return for_each_input(
        inputs, [&](const raw_message& file) { return examine(file, options); },
        options.json ? fault_as_json : nullptr);
} catch (const overlay_error& error) {
    flush_output();
    complain(error.what());
    return exit_bad_input;
}

}  // namespace brindlemoss::cli
