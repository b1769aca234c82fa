#include "account/account_service.h"
#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"

namespace brindlemoss::component {

using account::account_service;

namespace {

class account final : public component_object<IAccount> {
public:
    using component_object::component_object;

    status Create(std::u16string_view Name, std::u16string_view Password,
                  truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::account, "Create", [&] {
            Result = as_truth(account_service::instance().create(utf8_of(Name), utf8_of(Password)));
        });
    }

    status Login(truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::account, "Login",
                       [&] { Result = as_truth(account_service::instance().login()); });
    }

    status Setting(std::u16string_view Identifier, std::u16string& Result) noexcept override {
        Result.clear();
        return guarded(subsystem::account, "Setting", [&] {
            Result = wide_utf8(account_service::instance().setting(utf8_of(Identifier)));
        });
    }

    status Configure() noexcept override { return success; }

    status LoginWithCache(truth&) noexcept override { return not_implemented; }

    status Update(truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::account, "Update",
                       [&] { Result = as_truth(account_service::instance().update()); });
    }
};

}  // namespace

std::unique_ptr<object> make_account(const class_row& row) {
    return std::make_unique<account>(row);
}

}  // namespace brindlemoss::component
