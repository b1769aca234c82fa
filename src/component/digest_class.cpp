#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "foundation/md5.h"

namespace brindlemoss::component {

namespace {

class digest final : public component_object<IDigest> {
public:
    using component_object::component_object;

    status MD5(std::u16string_view Text, std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(main_log(), "Digest: MD5",
                       [&] { Result = wide_bytes(replay::md5(bytes_of(Text)).hex()); });
    }
};

}  // namespace

std::unique_ptr<object> make_digest(const class_row& row) {
    return std::make_unique<digest>(row);
}

}  // namespace brindlemoss::component
