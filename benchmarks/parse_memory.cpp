// Peak memory of reading one message file: parse_memory FILE prints the size of the message, the
// most memory the process ever held above what it held before, and the ratio of the two.

#include <sys/resource.h>

#include <cstdio>

#include "message/part.h"
#include "platform/file.h"

namespace {

long peak_kilobytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argument_count, char** arguments) {
    if (argument_count != 2) {
        std::fprintf(stderr, "usage: parse_memory FILE\n");
        return 2;
    }
    { replay::internet::message2::part warm_up("Content-Type: text/plain; charset=utf-8\n\nx"); }
    const long before = peak_kilobytes();
    const std::string raw = replay::platform::read_file(arguments[1]);
    const replay::internet::message2::part message(raw);
    const double peak = static_cast<double>(peak_kilobytes() - before) / 1024;
    const double size = static_cast<double>(raw.size()) / (1 << 20);
    std::printf("%.2f MB message, %.2f MB peak, %.2f times\n", size, peak, peak / size);
    return 0;
}
