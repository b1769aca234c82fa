// Rates mails through the C++ interface. Prints of each file the rating, from 0 (let it pass) to
// 100 (spam), the MD5 digest and the name.

#include <brindlemoss/component.h>

#include <cstdint>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace component = brindlemoss::component;

// Bytes of mail go into a text as they are, one a unit.
static std::u16string read_mail(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + name);
    std::u16string units;
    for (std::istreambuf_iterator<char> byte(file), end; byte != end; ++byte) {
        units += static_cast<unsigned char>(*byte);
    }
    return units;
}

static std::int32_t rating_of(component::IFilter& filter, const std::u16string& mail) {
    std::int32_t rating = 0;
    filter.Score(mail, component::yes, rating);
    return rating;
}

// The same by names that need not be known before the program runs.
static std::string digest_of(component::object& digest, const std::u16string& mail) {
    const component::argument arguments[] = {mail};
    std::vector<component::value> results;
    if (digest.invoke("MD5", arguments, results) != component::success) return {};
    const auto& digits = std::get<std::u16string>(results.front());
    return {digits.begin(), digits.end()};
}

int main(int argument_count, char** arguments) try {
    const auto filter = component::create<component::IFilter>();
    const auto digest = component::create_object("Brindlemoss.Digest");
    for (const std::string name : std::vector(arguments + 1, arguments + argument_count)) {
        const std::u16string mail = read_mail(name);
        std::cout << std::setw(3) << rating_of(*filter, mail) << "  " << digest_of(*digest, mail)
                  << "  " << name << '\n';
    }
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
