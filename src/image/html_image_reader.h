#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "message/html_reader.h"

namespace brindlemoss::digest::plugin {

// Takes from HTML which pictures of the message it shows, and whether it lays them out in a table.
// Names of tags and attributes count in either case.
class html_image_reader : public replay::html::reader {
public:
    // What stands behind "cid:" in the "src" of each "img", in the order of the text.
    const std::vector<std::u16string>& identifiers() const { return identifiers_; }

    bool has_table() const { return has_table_; }

    void tag(std::u16string_view name) override;
    void tag_end(std::u16string_view name) override;
    void attribute(std::u16string_view name, std::u16string_view value) override;
    void attribute(std::u16string_view) override {}
    void text(std::u16string_view) override {}
    void entity(std::u16string_view) override {}

private:
    std::vector<std::u16string> identifiers_;
    bool has_table_ = false;
    bool in_image_ = false;
};

}  // namespace brindlemoss::digest::plugin
