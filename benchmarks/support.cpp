#include "support.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>

namespace {

thread_local brindlemoss::benchmarks::allocation_tally tally;

}  // namespace

void* operator new(std::size_t size) {
    ++tally.calls;
    tally.bytes += size;
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

allocation_tally allocated() {
    return tally;
}

std::u16string repeated(std::u16string_view piece, std::size_t units) {
    std::u16string text;
    text.reserve(units + piece.size());
    while (text.size() < units) text += piece;
    return text;
}

std::string filled(std::string text, std::string_view piece, std::size_t size) {
    text.reserve(size + piece.size());
    while (text.size() < size) text += piece;
    return text;
}

std::string numbered(std::string text, std::string_view piece, std::size_t size) {
    text.reserve(size + piece.size() + 30);
    for (std::size_t i = 0; text.size() < size; ++i) {
        text.append(piece).append(std::to_string(i)).append(" ");
    }
    return text;
}

void keep_memory() {
    ::mallopt(M_MMAP_MAX, 0);
    ::mallopt(M_TRIM_THRESHOLD, -1);
}

}  // namespace brindlemoss::benchmarks
