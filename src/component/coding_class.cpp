#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "foundation/translate.h"

namespace brindlemoss::component {

namespace translate = replay::coding::translate;
using translate::decoding;
using translate::padding;

namespace {

class coding final : public component_object<ICoding> {
public:
    using component_object::component_object;

    status Base64Encode(std::u16string_view Text, std::u16string& Result) noexcept override {
        return translated("Base64Encode", Text, Result, [](const std::string& bytes) {
            return translate::base64_encode(bytes, padding::pad);
        });
    }

    status Base64Decode(std::u16string_view Text, std::u16string& Result) noexcept override {
        return translated("Base64Decode", Text, Result, [](const std::string& bytes) {
            return translate::base64_decode(bytes, decoding::strict);
        });
    }

    status Base16Encode(std::u16string_view Text, std::u16string& Result) noexcept override {
        return translated("Base16Encode", Text, Result,
                          [](const std::string& bytes) { return translate::base16_encode(bytes); });
    }

    status Base16Decode(std::u16string_view Text, std::u16string& Result) noexcept override {
        return translated("Base16Decode", Text, Result, [](const std::string& bytes) {
            return translate::base16_decode(bytes, decoding::strict);
        });
    }

private:
    template <typename translation>
    static status translated(std::string_view method, std::u16string_view text,
                             std::u16string& result, translation translate_bytes) noexcept {
        result.clear();
        return guarded(main_log(), std::string("Coding: ").append(method),
                       [&] { result = wide_bytes(translate_bytes(bytes_of(text))); });
    }
};

}  // namespace

std::unique_ptr<object> make_coding(const class_row& row) {
    return std::make_unique<coding>(row);
}

}  // namespace brindlemoss::component
