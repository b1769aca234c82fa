// Finding text in pictures: pages of text, other ordinary pictures and the worst shapes, drawn
// here. Each stage of the engine alone (behind the stages before it, which are not timed), the run
// as a whole, the decoder on the same picture as a PNG, and the page segmentation of Leptonica
// behind its conversion to one bit. All in milliseconds of processor time per megapixel
// (`ms_per_MP`). A stage that a picture does not come to is left out; `stop_code` says why.

// First: the decoder's header has a macro of the name of one of its constants.
#include <leptonica/allheaders.h>

#include <FreeImage.h>
#include <benchmark/benchmark.h>
#include <time.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "image/layout.h"
#include "image/preprocess.h"
#include "image/text_engine.h"
#include "image/text_lines.h"
#include "image/text_regions.h"
#include "picture_drawing.h"
#include "support.h"

namespace {

using namespace brindlemoss::analysis::plugins::image_analysis;
using brindlemoss::benchmarks::picture;

// Times the work of a benchmark on a picture, in processor time: what else runs on the machine
// changes it little.
class stopwatch {
public:
    stopwatch(benchmark::State& state, const picture& drawn) : state_(state), drawn_(drawn) {}

    template <typename work>
    void time(work&& timed) {
        const double start = seconds();
        timed();
        const double taken = seconds() - start;
        state_.SetIterationTime(taken);
        total_ += taken;
    }

    ~stopwatch() {
        state_.counters["ms_per_MP"] = benchmark::Counter(1e3 * total_ / drawn_.megapixels(),
                                                          benchmark::Counter::kAvgIterations);
    }

private:
    static double seconds() {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
    }

    benchmark::State& state_;
    const picture& drawn_;
    double total_ = 0.0;
};

// Layout signatures need the mean plane only; the other stages go on where the one before ended.
struct stage {
    const char* name;
    void (*work)(text_engine&);
};

constexpr stage stages[] = {
    {"preprocess", preprocess},
    {"regions", find_text_regions},
    {"lines", find_text_lines},
};

// The engine as it is before the stage of that number.
std::unique_ptr<text_engine> engine_before(std::size_t number, const picture& drawn) {
    auto engine = std::make_unique<text_engine>(drawn.bitmap());
    engine->mean_plane = plane(engine->width, engine->height);
    engine->pp_plane = plane(engine->width, engine->height);
    for (std::size_t index = 0; index < number && engine->keep_going; ++index) {
        stages[index].work(*engine);
    }
    return engine;
}

void one_stage(benchmark::State& state, const picture& drawn, std::size_t number) {
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        const auto engine = engine_before(number, drawn);
        watch.time([&] { stages[number].work(*engine); });
        benchmark::DoNotOptimize(engine->pp_plane.levels.data());
    }
}

void layout(benchmark::State& state, const picture& drawn) {
    const auto engine = engine_before(1, drawn);
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        watch.time([&] {
            auto signatures = make_layout_signatures(engine->mean_plane, engine->checkpoint);
            benchmark::DoNotOptimize(signatures.data());
        });
    }
}

void whole_run(benchmark::State& state, const picture& drawn) {
    std::int32_t stop_code = no_stop;
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        watch.time([&] {
            text_engine engine(drawn.bitmap());
            engine_result result;
            engine.run(result);
            stop_code = engine.stop_code;
            benchmark::DoNotOptimize(result.signatures.data());
        });
    }
    state.counters["stop_code"] = stop_code;
}

using memory_stream = std::unique_ptr<FIMEMORY, decltype(&FreeImage_CloseMemory)>;
using decoded_bitmap = std::unique_ptr<FIBITMAP, decltype(&FreeImage_Unload)>;
using lept_picture = std::unique_ptr<PIX, void (*)(PIX*)>;

memory_stream as_png(const picture& drawn) {
    const source_bitmap bits = drawn.bitmap();
    const decoded_bitmap bitmap(
        FreeImage_ConvertFromRawBits(const_cast<BYTE*>(bits.bits), bits.width, bits.height,
                                     bits.pitch, 24, FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK,
                                     FI_RGBA_BLUE_MASK, FALSE),
        FreeImage_Unload);
    memory_stream png(FreeImage_OpenMemory(), FreeImage_CloseMemory);
    if (!FreeImage_SaveToMemory(FIF_PNG, bitmap.get(), png.get())) {
        throw std::runtime_error("no PNG could be made");
    }
    return png;
}

void decode_png(benchmark::State& state, const picture& drawn) {
    const memory_stream png = as_png(drawn);
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        watch.time([&] {
            FreeImage_SeekMemory(png.get(), 0, SEEK_SET);
            const decoded_bitmap bitmap(FreeImage_LoadFromMemory(FIF_PNG, png.get(), 0),
                                        FreeImage_Unload);
            const decoded_bitmap converted(FreeImage_ConvertTo24Bits(bitmap.get()),
                                           FreeImage_Unload);
            benchmark::DoNotOptimize(FreeImage_GetBits(converted.get()));
        });
    }
}

lept_picture owned(PIX* handle) {
    return {handle, [](PIX* lent) { pixDestroy(&lent); }};
}

// The preprocessed plane, as Leptonica keeps grey levels.
lept_picture as_lept(const picture& drawn) {
    const auto engine = engine_before(1, drawn);
    lept_picture grey = owned(pixCreate(engine->width, engine->height, 8));
    l_uint32* const words = pixGetData(grey.get());
    for (std::int32_t y = 0; y < engine->height; ++y) {
        l_uint32* const row = words + static_cast<std::ptrdiff_t>(y) * pixGetWpl(grey.get());
        for (std::int32_t x = 0; x < engine->width; ++x) {
            SET_DATA_BYTE(row, x, engine->pp_plane.at(x, y));
        }
    }
    return grey;
}

constexpr int ink_threshold = 128;

void lept_regions(benchmark::State& state, const picture& drawn) {
    const lept_picture grey = as_lept(drawn);
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        watch.time([&] {
            const lept_picture bits = owned(pixConvertTo1(grey.get(), ink_threshold));
            PIX *halftone = nullptr, *text_lines = nullptr, *text_blocks = nullptr;
            pixGetRegionsBinary(bits.get(), &halftone, &text_lines, &text_blocks, nullptr);
            for (PIX* made : {halftone, text_lines, text_blocks}) pixDestroy(&made);
        });
    }
}

void lept_words(benchmark::State& state, const picture& drawn) {
    const lept_picture grey = as_lept(drawn);
    stopwatch watch(state, drawn);
    for (auto _ : state) {
        watch.time([&] {
            const lept_picture bits = owned(pixConvertTo1(grey.get(), ink_threshold));
            BOXA* words = nullptr;
            NUMA* line_of_word = nullptr;
            pixGetWordBoxesInTextlines(bits.get(), 4, 4, 500, 100, &words, &line_of_word);
            boxaDestroy(&words);
            numaDestroy(&line_of_word);
        });
    }
}

struct named_picture {
    std::string name;
    picture drawn;
};

std::vector<named_picture> ordinary_pictures() {
    using namespace brindlemoss::benchmarks;
    std::vector<named_picture> pictures;
    pictures.push_back({"text_600x400", text_page(600, 400)});
    pictures.push_back({"text_800x600", text_page(800, 600)});
    pictures.push_back({"text_1600x1200", text_page(1600, 1200)});
    pictures.push_back({"noise", noise(800, 600, 50)});
    pictures.push_back({"photo", photograph(800, 600)});
    pictures.push_back({"flat", picture(800, 600)});
    return pictures;
}

// All of the size of the middle page, which they are compared with, or of the largest where it
// takes that to hold so many things.
std::vector<named_picture> worst_pictures() {
    using namespace brindlemoss::benchmarks;
    std::vector<named_picture> pictures;
    for (std::int32_t period = 1; period <= 40; ++period) {
        pictures.push_back(
            {"worst/checkerboard_" + std::to_string(period), checkerboard(800, 600, period)});
    }
    for (const std::int32_t percent : {1, 3, 10, 20, 30, 40, 60, 70, 80, 90, 97, 99}) {
        pictures.push_back({"worst/noise_" + std::to_string(percent), noise(800, 600, percent)});
    }
    for (const std::int32_t thickness : {1, 3, 8}) {
        const std::string suffix = "_" + std::to_string(thickness);
        pictures.push_back({"worst/spiral" + suffix, spiral(800, 600, thickness)});
        pictures.push_back({"worst/comb" + suffix, comb(800, 600, thickness)});
    }
    pictures.push_back({"worst/specks", specks(1600, 1200, 50000)});
    pictures.push_back({"worst/staggered_dashes", staggered_dashes(1600, 1200)});
    pictures.push_back({"worst/one_wide_line", one_wide_line(1600, 1200)});
    pictures.push_back({"worst/one_pixel_high", one_wide_line(65535, 1)});
    return pictures;
}

template <typename work, typename... more>
void add(const char* what, const named_picture& on, work&& function, more... arguments) {
    const std::string name = std::string(what) + "/" + on.name;
    benchmark::RegisterBenchmark(name.c_str(), function, on.drawn, arguments...)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void add_stages(const named_picture& on) {
    for (std::size_t number = 0; number < std::size(stages); ++number) {
        const auto engine = engine_before(number, on.drawn);
        if (engine->keep_going) add(stages[number].name, on, one_stage, number);
    }
    add("layout", on, layout);
    add("whole", on, whole_run);
}

}  // namespace

int main(int argc, char** argv) {
    brindlemoss::benchmarks::keep_memory();
    FreeImage_Initialise(TRUE);
    for (const named_picture& each : ordinary_pictures()) {
        add_stages(each);
        add("decode_png", each, decode_png);
        add("leptonica_regions", each, lept_regions);
        add("leptonica_words", each, lept_words);
    }
    for (const named_picture& each : worst_pictures()) add("whole", each, whole_run);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    FreeImage_DeInitialise();
    return 0;
}
