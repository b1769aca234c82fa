#include "component/classes.h"
#include "component/component_object.h"
#include "component/guarded.h"
#include "message/part.h"
#include "services/language_manager.h"

namespace brindlemoss::component {

using replay::internet::message2::part;
using services::language_manager;

namespace {

class language_recognition final : public component_object<ILanguageRecognition> {
public:
    using component_object::component_object;

    status Classify(std::u16string_view Message, std::int32_t& Result) noexcept override {
        Result = 0;
        return guarded(subsystem::language, "Classify", [&] {
            part message(bytes_of(Message));
            const std::uint32_t language = language_manager::instance().classify(message);
            Result = static_cast<std::int32_t>(language);
        });
    }

    status Accept(std::u16string_view Message, truth& Result) noexcept override {
        Result = no;
        return guarded(subsystem::language, "Accept", [&] {
            part message(bytes_of(Message));
            int language = 0;
            Result = as_truth(language_manager::instance().accept(message, language));
        });
    }
};

}  // namespace

std::unique_ptr<object> make_language_recognition(const class_row& row) {
    return std::make_unique<language_recognition>(row);
}

}  // namespace brindlemoss::component
