#include "soak/mail_pool.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "support/mail_text.h"

namespace soak {

using namespace brindlemoss::analysis;

namespace {

class nobody_else : public filter_services {
public:
    void match(analysis_run&, community::community_stats&) override {
        was_asked = true;
        throw community::discovery_pending();
    }

    bool was_asked = false;
};

void add(std::string name, std::string bytes, std::vector<pooled_mail>& pool) try {
    part message(bytes);
    nobody_else services;
    const verdict alone = filter_engine(services).score(message, occasion::again);
    sender from;
    try {
        extract_sender(message, from);
    } catch (const std::exception&) {
        // Then it has none.
    }
    pool.push_back(
        {std::move(name), std::move(bytes), alone.settled_by, services.was_asked, from.address});
} catch (const std::exception&) {
    // No message.
}

std::vector<std::filesystem::path> files_below(const char* folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<pooled_mail> mail_pool(std::size_t most) {
    std::vector<pooled_mail> pool;
    for (const auto& [name, bytes] : test_support::examples()) add(name, bytes, pool);
    const char* const corpus = std::getenv("BRINDLEMOSS_CORPUS");
    if (corpus == nullptr) return pool;
    const std::vector<std::filesystem::path> files = files_below(corpus);
    const std::size_t step = files.size() / most + 1;
    for (std::size_t i = 0; i < files.size(); i += step) {
        std::ifstream file(files[i], std::ios::binary);
        add(files[i].string(), {std::istreambuf_iterator<char>(file), {}}, pool);
    }
    return pool;
}

}  // namespace soak
