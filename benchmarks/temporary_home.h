#pragma once

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "foundation/registry.h"
#include "platform/paths.h"

namespace brindlemoss::benchmarks {

// The main function of a benchmark whose stores lie in a folder of its own, gone afterwards.
inline int run_in_temporary_home(int argument_count, char** arguments) {
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 2;
    std::string folder = (std::filesystem::temp_directory_path() / "bench.XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    {
        const replay::platform::paths::scoped_home home(folder);
        benchmark::RunSpecifiedBenchmarks();
        replay::registry2::close_all();
    }
    std::filesystem::remove_all(folder);
    benchmark::Shutdown();
    return 0;
}

}  // namespace brindlemoss::benchmarks
