#include "image/layout.h"

#include <utility>

#include "image/layout_frame.h"
#include "image/layout_scan.h"
#include "image/picture_signatures.h"
#include "image/rect.h"
#include "image/text_signatures.h"
#include "image/uniform_area.h"

namespace brindlemoss::analysis::plugins::image_analysis {
namespace {

bool is_large_enough_for_layout(const rect& area) {
    return width_of(area) >= 64 && height_of(area) >= 45 && area_of(area) >= 10'000;
}

void append_if_made(std::string signature, std::vector<std::string>& signatures) {
    if (!signature.empty()) signatures.push_back(std::move(signature));
}

}  // namespace

std::vector<std::string> make_layout_signatures(const plane& mean_plane,
                                                const checkpoints& checkpoint) {
    rect area{0, 0, mean_plane.width - 1, mean_plane.height - 1};
    checkpoint("Image:", area);
    if (!is_large_enough_for_layout(area)) return {};
    area = strip_frame(mean_plane, area);
    checkpoint("Frame:", area);
    if (!is_large_enough_for_layout(area)) return {};
    area = strip_lasso(mean_plane, area);
    checkpoint("Lasso:", area);
    if (!is_large_enough_for_layout(area)) return {};

    text_signatures text = make_text_signatures(find_layout(mean_plane, area, checkpoint));
    std::vector<std::string> signatures;
    if (text.whole.empty() && text.windows.empty()) {
        const flatness flat(mean_plane);
        append_if_made(make_quad_code(flat, area), signatures);
        append_if_made(make_bitmap_signature(flat, area), signatures);
        return signatures;
    }
    append_if_made(std::move(text.whole), signatures);
    for (std::string& window : text.windows) signatures.push_back(std::move(window));
    return signatures;
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
