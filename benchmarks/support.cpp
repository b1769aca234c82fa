#include "support.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace brindlemoss::benchmarks {

namespace {

corpus load() {
    const char* folder = std::getenv("BRINDLEMOSS_CORPUS");
    corpus loaded;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(folder == nullptr ? "examples" : folder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        loaded.mails.emplace_back(std::istreambuf_iterator<char>(file),
                                  std::istreambuf_iterator<char>());
        loaded.bytes += loaded.mails.back().size();
    }
    if (loaded.mails.empty()) {
        std::fprintf(stderr, "no mails found: set BRINDLEMOSS_CORPUS to a folder of them\n");
        std::exit(2);
    }
    return loaded;
}

}  // namespace

const corpus& loaded_corpus() {
    static const corpus loaded = load();
    return loaded;
}

std::u16string repeated(std::u16string_view piece, std::size_t units) {
    std::u16string text;
    text.reserve(units + piece.size());
    while (text.size() < units) text += piece;
    return text;
}

std::size_t allocation_count() {
    return allocations;
}

}  // namespace brindlemoss::benchmarks
