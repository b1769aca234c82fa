#pragma once

#include "analysis/record.h"
#include "message/part.h"

namespace brindlemoss::analysis::plugins::generic {

// What looks at a message for one kind of evidence. Belongs to one run and one thread.
class plugin {
public:
    virtual ~plugin() = default;

    // Looks at the message below `root`, before the community is asked, and adds what it finds to
    // the ends of the lists. What it throws ends the analysis of the message.
    virtual void generate(replay::internet::message2::part& root, signature_list& signatures,
                          test_list& tests, report& lines) = 0;

    // The same when the community has marked the signatures that it knows.
    virtual void evaluate(replay::internet::message2::part& root, signature_list& signatures,
                          test_list& tests, report& lines) = 0;

protected:
    plugin() = default;
    plugin(const plugin&) = default;
    plugin& operator=(const plugin&) = default;
};

}  // namespace brindlemoss::analysis::plugins::generic
