// soak MINUTES [RATE [THREADS]]: how the library does under load for long. RATE is of operations a
// second and thread. The exit code is 1 when something went wrong; each fault is a line of standard
// error. BRINDLEMOSS_CORPUS names a folder of mails to rate beside those of examples/.

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "soak/soak_run.h"

namespace {

int usage() {
    std::fprintf(stderr, "usage: soak MINUTES [RATE [THREADS]]\n");
    return 2;
}

}  // namespace

int main(int argument_count, char** arguments) try {
    if (argument_count < 2 || argument_count > 4) return usage();
    const double minutes = std::atof(arguments[1]);
    soak::soak_options options;
    if (argument_count > 2) options.rate = std::atof(arguments[2]);
    if (argument_count > 3) options.threads = std::atoi(arguments[3]);
    if (!(minutes >= 0.1 && minutes <= 10'000) || !(options.rate > 0) || options.threads < 1) {
        return usage();
    }
    options.length = std::chrono::milliseconds(static_cast<long long>(minutes * 60'000));
    const auto faults = soak::run(options);
    for (const std::string& each : faults) std::fprintf(stderr, "soak: %s\n", each.c_str());
    std::printf(faults.empty() ? "well\n" : "NOT WELL\n");
    return faults.empty() ? 0 : 1;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "soak: %s\n", failure.what());
    return 1;
}
