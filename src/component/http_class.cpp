#include <chrono>
#include <utility>

#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "foundation/http.h"
#include "foundation/http_access.h"

namespace brindlemoss::component {

using replay::internet::http::monitor_type;
using replay::internet::http::request_type;
using replay::internet::http::response_type;
using replay::internet::http::transfer_limits;

namespace {

// A server that sends a byte now and then is never silent, and unload() waits for the call.
constexpr transfer_limits limits{.whole = std::chrono::minutes(10)};

request_type request_of(std::u16string_view uri) {
    replay::internet::http::require_connection();
    return request_type(utf8_of(uri));
}

class http final : public component_object<IHTTP> {
public:
    using component_object::component_object;

    status Get(std::u16string_view URI, std::u16string& Document,
               std::int32_t& Result) noexcept override {
        Result = 0;
        Document.clear();
        return guarded(main_log(), "HTTP: Get", [&] {
            monitor_type unwatched;
            const response_type response =
                replay::internet::http::get(request_of(URI), unwatched, limits);
            Document = wide_utf8(response.body);
            Result = response.status;
        });
    }

    status Status(std::u16string_view URI, std::int32_t& Result) noexcept override {
        Result = 0;
        return guarded(main_log(), "HTTP: Status", [&] {
            monitor_type unwatched;
            Result = replay::internet::http::head(request_of(URI), unwatched, limits).status;
        });
    }

    status Post(std::u16string_view URI, std::u16string_view PostData, std::u16string& Document,
                std::int32_t& Result) noexcept override {
        Result = 0;
        Document.clear();
        return guarded(main_log(), "HTTP: Post", [&] {
            request_type request = request_of(URI);
            request.body = utf8_of(PostData);
            monitor_type unwatched;
            const response_type response =
                replay::internet::http::post(std::move(request), unwatched, limits);
            Document = wide_utf8(response.body);
            Result = response.status;
        });
    }
};

}  // namespace

std::unique_ptr<object> make_http(const class_row& row) {
    return std::make_unique<http>(row);
}

}  // namespace brindlemoss::component
