// The most memory that one piece of work holds: peak_memory FILE
//
// Reads each hostile mail of 64 MB and a file of 100 MB, and runs the engine on pictures, each in a
// process of its own. Writes to FILE, in the form of the benchmarks, "size_mb" and "peak_mb" (of
// reading: the mail counts), the "multiple" of the mail's size that the peak is beyond 1 MB, and
// "bytes_per_pixel" of a picture beside its bitmap.

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "image/text_engine.h"
#include "message/part.h"
#include "message_shapes.h"
#include "picture_drawing.h"

namespace {

using namespace brindlemoss::benchmarks;
using namespace brindlemoss::analysis::plugins::image_analysis;
using replay::internet::message2::part;

constexpr double megabyte = 1 << 20;

// A line of /proc/self/status, in MB.
double status(const std::string& name) {
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name + ":"))
            return std::strtod(&line[name.size() + 1], nullptr) / 1024;
    }
    throw std::runtime_error("no " + name);
}

// From here on the peak is counted anew.
double held_now() {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    return status("VmRSS");
}

double peak() {
    return status("VmHWM");
}

std::string of_message(const mail_shape& shape, std::size_t size) {
    const double before = held_now();
    const std::string mail = shape.make(size);
    held_now();
    const part message(mail);
    const double size_mb = static_cast<double>(mail.size()) / megabyte;
    const double used = peak() - before;
    return "\"size_mb\": " + std::to_string(size_mb) + ", \"peak_mb\": " + std::to_string(used) +
           ", \"multiple\": " + std::to_string((used - 1) / size_mb);
}

void run_engine(const picture& drawn) {
    text_engine engine(drawn.bitmap());
    engine_result result;
    engine.run(result);
}

std::string of_picture(const picture& drawn) {
    run_engine(text_page(200, 100));
    const double before = held_now();
    run_engine(drawn);
    return "\"bytes_per_pixel\": " +
           std::to_string((peak() - before) * megabyte / (drawn.megapixels() * 1e6));
}

// Does the work in a child process, and gives the text it made.
std::string apart(const std::function<std::string()>& work) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string made = work();
        ::_exit(::write(ends[1], made.data(), made.size()) < 0 ? 1 : 0);
    }
    ::close(ends[1]);
    std::string made;
    char piece[512];
    for (ssize_t count; (count = ::read(ends[0], piece, sizeof piece)) > 0;) {
        made.append(piece, static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    int state = 0;
    ::waitpid(child, &state, 0);
    if (state != 0 || made.empty()) throw std::runtime_error("a measurement failed");
    return made;
}

void measure(std::ofstream& out) {
    const char* before = "{\"benchmarks\": [\n";
    const auto add = [&](const std::string& name, const std::function<std::string()>& work) {
        out << before << "{\"name\": \"" << name << "\", " << apart(work) << "}" << std::flush;
        before = ",\n";
    };
    for (const mail_shape& shape : message_shapes()) {
        const bool ordinary = std::strcmp(shape.name, "attached_file") == 0;
        const std::size_t size = std::size_t{ordinary ? 100u : 64u} << 20;
        add(std::string("parse/") + shape.name, [&] { return of_message(shape, size); });
    }
    add("picture/text", [] { return of_picture(text_page(1600, 1200)); });
    add("picture/photo", [] { return of_picture(photograph(1600, 1200)); });
    add("picture/noise", [] { return of_picture(noise(1600, 1200, 20)); });
    add("picture/specks", [] { return of_picture(specks(1600, 1200, 50000)); });
    add("picture/dashes", [] { return of_picture(staggered_dashes(1600, 1200)); });
    out << "\n]}\n";
}

}  // namespace

int main(int argument_count, char** arguments) {
    if (argument_count != 2) {
        std::fprintf(stderr, "usage: peak_memory FILE\n");
        return 2;
    }
    try {
        std::ofstream out(arguments[1]);
        measure(out);
        return out ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peak_memory: %s\n", error.what());
        return 1;
    }
}
