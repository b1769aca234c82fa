#include "platform/crash_dump.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "platform/clock.h"

namespace replay::platform {

namespace {

constexpr std::size_t word_size = sizeof(std::uintptr_t);

// Text on its way to a file, collected to save calls of the system.
class text_writer {
public:
    explicit text_writer(int descriptor) noexcept : descriptor_(descriptor) {}
    ~text_writer() { flush(); }
    text_writer(const text_writer&) = delete;
    text_writer& operator=(const text_writer&) = delete;

    text_writer& text(std::string_view bytes) noexcept {
        while (!bytes.empty()) {
            if (used_ == held_.size()) flush();
            const std::size_t count = std::min(bytes.size(), held_.size() - used_);
            std::memcpy(held_.data() + used_, bytes.data(), count);
            used_ += count;
            bytes.remove_prefix(count);
        }
        return *this;
    }

    // With zeros ahead up to `width` digits.
    text_writer& decimal(std::int64_t number, int width = 1) noexcept {
        if (number < 0) text("-");
        return digits(number < 0 ? 0 - static_cast<std::uint64_t>(number)
                                 : static_cast<std::uint64_t>(number),
                      10, width);
    }

    text_writer& hexadecimal(std::uintptr_t number, int width = 1) noexcept {
        return text("0x").digits(number, 16, width);
    }

    text_writer& address(std::uintptr_t number) noexcept {
        return hexadecimal(number, 2 * word_size);
    }

    void flush() noexcept {
        std::string_view rest(held_.data(), used_);
        used_ = 0;
        while (!rest.empty()) {
            const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return;
            rest.remove_prefix(static_cast<std::size_t>(count));
        }
    }

private:
    text_writer& digits(std::uint64_t number, unsigned radix, int width) noexcept {
        std::array<char, 20> reversed;
        std::size_t count = 0;
        do {
            reversed[count++] = "0123456789abcdef"[number % radix];
            number /= radix;
        } while (number != 0);
        for (int missing = width - static_cast<int>(count); missing > 0; --missing) text("0");
        while (count > 0) text({&reversed[--count], 1});
        return *this;
    }

    const int descriptor_;
    std::array<char, 1024> held_;
    std::size_t used_ = 0;
};

struct machine_register {
    std::string_view name;
    std::uintptr_t value;
};

#if defined(__x86_64__)

auto registers_of(const ucontext_t& context) noexcept {
    const auto value = [&](int index) {
        return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[index]);
    };
    return std::to_array<machine_register>({
        {"rip", value(REG_RIP)},   {"rsp", value(REG_RSP)},     {"rbp", value(REG_RBP)},
        {"rax", value(REG_RAX)},   {"rbx", value(REG_RBX)},     {"rcx", value(REG_RCX)},
        {"rdx", value(REG_RDX)},   {"rsi", value(REG_RSI)},     {"rdi", value(REG_RDI)},
        {"r8", value(REG_R8)},     {"r9", value(REG_R9)},       {"r10", value(REG_R10)},
        {"r11", value(REG_R11)},   {"r12", value(REG_R12)},     {"r13", value(REG_R13)},
        {"r14", value(REG_R14)},   {"r15", value(REG_R15)},     {"flags", value(REG_EFL)},
        {"error", value(REG_ERR)}, {"trap", value(REG_TRAPNO)},
    });
}

#elif defined(__aarch64__)

auto registers_of(const ucontext_t& context) noexcept {
    constexpr std::string_view names[] = {"x0",  "x1",  "x2",  "x3",  "x4",  "x5",  "x6",  "x7",
                                          "x8",  "x9",  "x10", "x11", "x12", "x13", "x14", "x15",
                                          "x16", "x17", "x18", "x19", "x20", "x21", "x22", "x23",
                                          "x24", "x25", "x26", "x27", "x28", "x29", "x30"};
    std::array<machine_register, 2 + std::size(names)> found;
    found[0] = {"pc", context.uc_mcontext.pc};
    found[1] = {"sp", context.uc_mcontext.sp};
    for (std::size_t index = 0; index < std::size(names); ++index) {
        found[2 + index] = {names[index], context.uc_mcontext.regs[index]};
    }
    return found;
}

#else
#error "The registers of this machine are not known."
#endif

// Both machines: the code address first, then the stack pointer.
constexpr std::size_t code_register = 0;
constexpr std::size_t stack_register = 1;

std::string_view name_of(int signal) noexcept {
    switch (signal) {
        case SIGABRT: return "SIGABRT";
        case SIGBUS: return "SIGBUS";
        case SIGFPE: return "SIGFPE";
        case SIGILL: return "SIGILL";
        case SIGSEGV: return "SIGSEGV";
        default: return "another";
    }
}

void write_time(text_writer& out) noexcept {
    using namespace std::chrono;
    const sys_seconds moment{seconds(clock::seconds_since_1970())};
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    out.text("Time: ").decimal(static_cast<int>(date.year()), 4);
    out.text("-").decimal(static_cast<unsigned>(date.month()), 2);
    out.text("-").decimal(static_cast<unsigned>(date.day()), 2);
    out.text(" ").decimal(time.hours().count(), 2);
    out.text(":").decimal(time.minutes().count(), 2);
    out.text(":").decimal(time.seconds().count(), 2);
    out.text(" UTC (").decimal(moment.time_since_epoch().count()).text(")\n");
}

void write_signal(text_writer& out, const crash& what) noexcept {
    out.text("Signal: ").decimal(what.signal).text(" ").text(name_of(what.signal));
    out.text(", code ").decimal(what.info.si_code).text("\n");
    // Positive codes come from the system, for something that the thread did.
    if (what.info.si_code > 0) {
        out.text("Address: ").address(reinterpret_cast<std::uintptr_t>(what.info.si_addr));
    } else {
        out.text("Sent by: process ").decimal(what.info.si_pid);
    }
    out.text("\n");
}

const loaded_module* module_at(std::uintptr_t address,
                               const std::vector<loaded_module>& modules) noexcept {
    for (const loaded_module& module : modules) {
        if (address >= module.code_begin && address < module.code_end) return &module;
    }
    return nullptr;
}

// As tools want it that look up an address in a file.
void write_place(text_writer& out, std::uintptr_t address, const loaded_module& module) noexcept {
    out.text(module.path).text("+").hexadecimal(address - module.base);
}

// Reads on a stack that may be broken or end at any word.
class stack_reader {
public:
    explicit stack_reader(std::uintptr_t pointer) noexcept : next_(pointer & ~(word_size - 1)) {}

    // False where there is no memory, and far up the stack.
    bool next(std::uintptr_t& address, std::uintptr_t& word) noexcept {
        if (used_ == count_ && !read_block()) return false;
        address = next_;
        word = words_[used_++];
        next_ += word_size;
        return true;
    }

private:
    static constexpr std::size_t block_words = 128;
    static constexpr int most_blocks = 64;

    // The system refuses to read what is not there, where this code would fault.
    bool read_block() noexcept {
        if (++blocks_ > most_blocks) return false;
        used_ = 0;
        const iovec to{words_.data(), sizeof words_};
        // Split at the pages: of one piece the system gives all or nothing.
        const std::size_t page_left = page - (next_ & (page - 1));
        // NOLINTNEXTLINE(performance-no-int-to-ptr): it came out of a register, a number
        const iovec from{reinterpret_cast<void*>(next_), std::min(page_left, sizeof words_)};
        const ssize_t size = ::process_vm_readv(::getpid(), &to, 1, &from, 1, 0);
        count_ = size > 0 ? static_cast<std::size_t>(size) / word_size : 0;
        return count_ > 0;
    }

    static constexpr std::size_t page = 4096;

    std::uintptr_t next_;
    std::array<std::uintptr_t, block_words> words_;
    std::size_t used_ = 0;
    std::size_t count_ = 0;
    int blocks_ = 0;
};

// Every word that points into code: the return addresses are among them. To follow the frames
// properly is not for a process that cannot trust its memory.
void write_return_addresses(text_writer& out, std::uintptr_t pointer,
                            const std::vector<loaded_module>& modules) noexcept {
    constexpr int most_lines = 256;
    out.text("\nStack, words that point into code:\n");
    stack_reader stack(pointer);
    std::uintptr_t address = 0;
    std::uintptr_t word = 0;
    for (int lines = 0; lines < most_lines && stack.next(address, word);) {
        const loaded_module* const module = module_at(word, modules);
        if (module == nullptr) continue;
        out.text("  ").address(address).text(": ").address(word).text(" ");
        write_place(out, word, *module);
        out.text("\n");
        ++lines;
    }
}

void write_stack_words(text_writer& out, std::uintptr_t pointer) noexcept {
    constexpr int most_words = 256;
    constexpr int words_a_line = 4;
    out.text("\nStack, first words:");
    stack_reader stack(pointer);
    std::uintptr_t address = 0;
    std::uintptr_t word = 0;
    for (int count = 0; count < most_words && stack.next(address, word); ++count) {
        if (count % words_a_line == 0) out.text("\n  ").address(address).text(":");
        out.text(" ").address(word);
    }
    out.text("\n");
}

void write_modules(text_writer& out, const std::vector<loaded_module>& modules) noexcept {
    out.text("\nModules when the handler was armed (base, code, build id):\n");
    for (const loaded_module& module : modules) {
        out.text("  ").address(module.base).text(" ").address(module.code_begin);
        out.text("-").address(module.code_end).text(" ");
        out.text(module.build_id.empty() ? std::string_view("none") : module.build_id);
        out.text(" ").text(module.path).text("\n");
    }
}

void write_memory_map(text_writer& out) noexcept {
    out.text("\nMemory map:\n");
    const int map = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (map < 0) return;
    std::array<char, 1024> piece;
    for (;;) {
        const ssize_t count = ::read(map, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        out.text({piece.data(), static_cast<std::size_t>(count)});
    }
    ::close(map);
}

}  // namespace

void write_crash_dump(int descriptor, const crash& what,
                      const std::vector<loaded_module>& modules) noexcept {
    const auto registers = registers_of(what.context);
    const std::uintptr_t code = registers[code_register].value;
    const std::uintptr_t stack = registers[stack_register].value;

    text_writer out(descriptor);
    out.text("Crash dump\n");
    write_time(out);
    out.text("Process: ").decimal(::getpid());
    out.text(", thread ").decimal(::syscall(SYS_gettid)).text("\n");
    out.text("Program: ").text(modules.empty() ? std::string_view() : modules.front().path);
    out.text("\n");
    write_signal(out, what);
    if (const loaded_module* const module = module_at(code, modules)) {
        write_place(out.text("At: "), code, *module);
        out.text("\n");
    }
    out.text("\nRegisters:\n");
    for (const machine_register& shown : registers) {
        out.text("  ").text(shown.name).text(" ").address(shown.value).text("\n");
    }
    // What is sure to work goes out before what might not.
    out.flush();
    write_return_addresses(out, stack, modules);
    write_stack_words(out, stack);
    write_modules(out, modules);
    write_memory_map(out);
}

}  // namespace replay::platform
