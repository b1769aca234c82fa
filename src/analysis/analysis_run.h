#pragma once

#include <array>
#include <string>

#include "analysis/plugin.h"
#include "analysis/plugins/attachment_analysis.h"
#include "analysis/plugins/header_analysis.h"
#include "analysis/plugins/text_analysis.h"
#include "analysis/record.h"
#include "image/image_plugin.h"
#include "message/part.h"

namespace brindlemoss::analysis {

// All that is learned about one message while it is rated. The message is borrowed and must outlive
// the run. Belongs to one call and one thread.
struct analysis_run {
    explicit analysis_run(replay::internet::message2::part& root) : message(&root) {}
    analysis_run(const analysis_run&) = delete;
    analysis_run& operator=(const analysis_run&) = delete;

    // In the order in which they look at the message.
    std::array<plugins::generic::plugin*, 4> plugins_in_order() {
        return {&attachment, &header, &image, &text};
    }

    plugins::attachment_analysis::plugin attachment;
    plugins::header_analysis::plugin header;
    plugins::image_analysis::image_plugin_v8_6 image;
    plugins::text_analysis::plugin text;

    replay::internet::message2::part* message;
    signature_list signatures;
    test_list tests;
    std::u16string class_name;  // empty until the run is evaluated
    analysis::report report;
};

// The part that the analysis is about: of a delivery report the message that it wraps, else the
// root itself.
replay::internet::message2::part& logical_root(replay::internet::message2::part& message);

}  // namespace brindlemoss::analysis
