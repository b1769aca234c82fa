#include "account/installation.h"

#include <memory>
#include <string_view>

#include "foundation/registry.h"
#include "foundation/sync.h"
#include "platform/utf8.h"

namespace brindlemoss::account {

namespace {

namespace registry2 = replay::registry2;
using registry2::setting_of;
using registry2::tree_key;

struct singleton {
    replay::mutex mutex;
    std::unique_ptr<installation> object;  // guarded by mutex
};

// Outlives all threads of a host.
singleton& the_singleton() {
    static singleton& only = *new singleton;
    return only;
}

std::string text_of(const registry2::setting& row) {
    std::string bytes;
    replay::platform::encode_utf8(registry2::get_text(row, registry2::write_back::no),
                                  replay::platform::on_error::replace, bytes);
    return bytes;
}

}  // namespace

installation& installation::instance() {
    singleton& only = the_singleton();
    const replay::scope guard(only.mutex);
    if (!only.object) only.object = std::make_unique<installation>();
    return *only.object;
}

void installation::destroy() {
    singleton& only = the_singleton();
    const replay::scope guard(only.mutex);
    only.object.reset();
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
