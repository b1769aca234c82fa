#pragma once

#include "analysis/plugin.h"

namespace brindlemoss::analysis::plugins::image_analysis {

// Holds the place of the pictures in the order of the plugins: it looks at none yet.
class image_plugin_v8_6 : public generic::plugin {
public:
    void generate(replay::internet::message2::part&, signature_list&, test_list&,
                  report&) override {}
    void evaluate(replay::internet::message2::part&, signature_list&, test_list&,
                  report&) override {}
};

}  // namespace brindlemoss::analysis::plugins::image_analysis
