// Any text through the HTML reader and the conversion to text. An odd first byte says that 16-bit
// units follow, low byte first; other input is UTF-8, so that a file of HTML is a seed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/html_reader.h"
#include "platform/character_class.h"
#include "support.h"

namespace {

using fuzz_support::require;
using fuzz_support::to_units;
using replay::html::convert_to_text;

// Events come in the order of the text, each from a stretch of its own, and hold nothing that would
// have ended them.
class watcher : public replay::html::reader {
public:
    explicit watcher(std::u16string_view text) : left_(text) {}

    void tag(std::u16string_view name) override {
        take(name, u">", blanks::end_it);
        tag_ = name;
        tag_open_ = true;
    }

    void tag_end(std::u16string_view name) override {
        require(tag_open_ && name.data() == tag_.data() && name.size() == tag_.size());
        require(left_.find(u'>') != std::u16string_view::npos);
        tag_open_ = false;
    }

    void attribute(std::u16string_view name, std::u16string_view value) override {
        require(tag_open_);
        take(name, u"=/>", blanks::end_it);
        require(value.size() <= left_.size());
        if (is_left(value)) take(value, u"", blanks::stay);
    }

    void attribute(std::u16string_view name) override {
        require(tag_open_ && !name.empty());
        take(name, u"=/>", blanks::end_it);
    }

    void text(std::u16string_view text) override {
        require(!tag_open_);
        take(text, u"<&", blanks::stay);
    }

    void entity(std::u16string_view name) override {
        require(!tag_open_);
        take(name, u";", blanks::end_it);
    }

private:
    enum class blanks { end_it, stay };

    bool is_left(std::u16string_view view) const {
        constexpr std::less_equal<const char16_t*> not_behind;
        return not_behind(left_.data(), view.data()) &&
               not_behind(view.data() + view.size(), left_.data() + left_.size());
    }

    void take(std::u16string_view view, std::u16string_view ends, blanks role) {
        require(is_left(view));
        require(view.find_first_of(ends) == std::u16string_view::npos);
        const auto is_space = [this](char16_t unit) { return characters_.is_space(unit); };
        require(role == blanks::stay || std::none_of(view.begin(), view.end(), is_space));
        left_.remove_prefix(static_cast<std::size_t>(view.data() + view.size() - left_.data()));
    }

    const replay::platform::character_table& characters_ = replay::platform::characters();
    std::u16string_view left_;
    std::u16string_view tag_;
    bool tag_open_ = false;
};

void convert(std::u16string_view text) {
    convert_to_text converter;
    try {
        replay::html::parse(text, converter);
    } catch (const replay::coding::translate::invalid_codeword&) {
        require(text.find(u"#x") != std::u16string_view::npos ||
                text.find(u"#X") != std::u16string_view::npos);
    }
    require(converter.result.size() <= text.size());
    require(converter.unknown_entities.size() <= convert_to_text::most_unknown_entities);
    for (const std::u16string& name : converter.unknown_entities) {
        require(text.find(name) != std::u16string_view::npos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = to_units({reinterpret_cast<const char*>(data), size});
    watcher handler(text);
    replay::html::parse(text, handler);
    convert(text);
    convert(u"<body>" + text);
    return 0;
}
