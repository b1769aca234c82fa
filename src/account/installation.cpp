#include "account/installation.h"

#include <string_view>

#include "foundation/module.h"
#include "foundation/process_wide.h"
#include "foundation/registry.h"

namespace brindlemoss::account {

namespace {

namespace registry2 = replay::registry2;
using registry2::setting_of;
using registry2::tree_key;

std::string text_of(const registry2::setting& row) {
    return registry2::get_utf8(row, registry2::write_back::no);
}

}  // namespace

installation& installation::instance() {
    return process_wide<installation>::until_unload(singleton::installation);
}

void installation::destroy() {
    process_wide<installation>::destroy();
}

std::uint32_t installation::partner() const {
    constexpr const registry2::setting& row =
        setting_of(tree_key::machine_installation, u"Partner");
    return registry2::get_integer(row, registry2::write_back::no);
}

std::string installation::version() const {
    return text_of(setting_of(tree_key::machine_installation, u"Version"));
}

std::string installation::directory() const {
    return text_of(setting_of(tree_key::machine_installation, u"Directory"));
}

std::string installation::product_code() const {
    return text_of(setting_of(tree_key::machine_installation, u"Product Code"));
}

std::uint32_t installation::features() const {
    if (!packages_.is_installed(product_code())) return 0;
    std::uint32_t mask = 0;
    for (const feature& part : features_of_product) {
        if (packages_.is_installed(part.package)) mask |= part.bit;
    }
    return mask;
}

bool installation::remove() const {
    return packages_.remove(product_code());
}

}  // namespace brindlemoss::account
