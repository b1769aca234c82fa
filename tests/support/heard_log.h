#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/module.h"

namespace test_support {

// What the log of a subsystem has told since it was last asked: the level, a blank and the text.
template <brindlemoss::subsystem of>
class heard_log {
public:
    heard_log() { take(); }

    static std::vector<std::string> take() {
        lines& all = heard();
        const std::lock_guard guard(all.lock);
        return std::exchange(all.texts, {});
    }

private:
    struct lines {
        std::mutex lock;
        std::vector<std::string> texts;
    };

    class ear : public replay::log::listener {
    public:
        explicit ear(lines& into) : into_(into) {}
        void write(std::int32_t level, std::string_view, std::string_view text) override {
            const std::lock_guard guard(into_.lock);
            into_.texts.push_back(std::to_string(level) + " " + std::string(text));
        }

    private:
        lines& into_;
    };

    // A listener stays for the life of the log, which is that of the process.
    static lines& heard() {
        static lines& all = []() -> lines& {
            lines& made = *new lines;
            brindlemoss::module::instance().log_of(of).add_listener(0, std::make_unique<ear>(made));
            return made;
        }();
        return all;
    }
};

}  // namespace test_support
