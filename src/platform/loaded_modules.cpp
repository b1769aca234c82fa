#include "platform/loaded_modules.h"

#include <link.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <string_view>

#include "platform/host_process.h"

namespace replay::platform {

namespace {

std::string hexadecimal(std::string_view bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4];
        text += digits[value & 0xF];
    }
    return text;
}

std::size_t round_up(std::size_t size, std::size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

// The build id in a segment of notes (ELF, generic ABI, chapter 5): each a header, a name and a
// content, both filled up to the alignment.
std::string build_id_in(std::string_view notes, std::size_t alignment) {
    constexpr std::string_view owner("GNU\0", 4);
    ElfW(Nhdr) header;
    while (notes.size() >= sizeof header) {
        std::memcpy(&header, notes.data(), sizeof header);
        notes.remove_prefix(sizeof header);
        const std::size_t name_size = round_up(header.n_namesz, alignment);
        if (name_size > notes.size() || header.n_descsz > notes.size() - name_size) break;
        if (header.n_type == NT_GNU_BUILD_ID && notes.substr(0, header.n_namesz) == owner) {
            return hexadecimal(notes.substr(name_size, header.n_descsz));
        }
        notes.remove_prefix(
            std::min(notes.size(), name_size + round_up(header.n_descsz, alignment)));
    }
    return {};
}

loaded_module module_of(const dl_phdr_info& info) {
    loaded_module found{info.dlpi_addr, UINTPTR_MAX, 0, info.dlpi_name, {}};
    for (const ElfW(Phdr) & segment : std::span(info.dlpi_phdr, info.dlpi_phnum)) {
        const std::uintptr_t begin = info.dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
            found.code_begin = std::min(found.code_begin, begin);
            found.code_end = std::max<std::uintptr_t>(found.code_end, begin + segment.p_memsz);
        }
        if (segment.p_type == PT_NOTE && found.build_id.empty()) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells addresses as numbers
            found.build_id = build_id_in({reinterpret_cast<const char*>(begin), segment.p_memsz},
                                         segment.p_align == 8 ? 8 : 4);
        }
    }
    return found;
}

// The loader calls this from C code, through which nothing may be thrown.
int collect(dl_phdr_info* info, std::size_t, void* into) noexcept {
    constexpr int stop = 1;
    try {
        static_cast<std::vector<loaded_module>*>(into)->push_back(module_of(*info));
    } catch (const std::bad_alloc&) {
        return stop;
    }
    return 0;
}

}  // namespace

std::vector<loaded_module> loaded_modules() {
    std::vector<loaded_module> found;
    if (::dl_iterate_phdr(&collect, &found) != 0) throw std::bad_alloc();
    if (!found.empty() && found.front().path.empty()) found.front().path = host_process::path();
    return found;
}

}  // namespace replay::platform
