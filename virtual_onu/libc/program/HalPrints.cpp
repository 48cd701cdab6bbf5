#include "libc/program/HalPrints.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <set>
#include <streambuf>
#include <string>
#include <vector>

#include "libc/program/OwnFile.h"
#include "libc/program/Program.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::halprints {

namespace {

// ---- what the HAL calls instead ----

OwnFile& file() {
    static OwnFile& one = *new OwnFile(program::settings().halFile);
    return one;
}

int printed(const std::string& text) {
    file().append(text);
    return static_cast<int>(text.size());
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, std::va_list values) {
    std::va_list measured;
    va_copy(measured, values);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::vector<char> text(length < 0 ? 1 : static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, values);
    return text.data();
}

__attribute__((format(printf, 1, 0))) int halVprintf(const char* format, std::va_list values) {
    return printed(formatted(format, values));
}
__attribute__((format(printf, 2, 0))) int halVprintfChecked(int /*flag*/, const char* format, std::va_list values) {
    return printed(formatted(format, values));
}
__attribute__((format(printf, 1, 2))) int halPrintf(const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    const int count = halVprintf(format, values);
    va_end(values);
    return count;
}
__attribute__((format(printf, 2, 3))) int halPrintfChecked(int /*flag*/, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    const int count = halVprintf(format, values);
    va_end(values);
    return count;
}
int halPuts(const char* text) {
    return printed(std::string(text) + "\n");
}
int halPutchar(int c) {
    printed(std::string(1, static_cast<char>(c)));
    return static_cast<unsigned char>(c);
}
int halFputs(const char* text, FILE* stream) {
    return stream == stdout ? printed(text) : std::fputs(text, stream);
}
int halFputc(int c, FILE* stream) {
    return stream == stdout ? halPutchar(c) : std::fputc(c, stream);
}
std::size_t halFwrite(const void* data, std::size_t size, std::size_t count, FILE* stream) {
    if (stream != stdout) return std::fwrite(data, size, count, stream);
    printed(std::string(static_cast<const char*>(data), size * count));
    return count;
}
__attribute__((format(printf, 2, 0))) int halVfprintf(FILE* stream, const char* format, std::va_list values) {
    return stream == stdout ? halVprintf(format, values) : std::vfprintf(stream, format, values);
}
__attribute__((format(printf, 2, 3))) int halFprintf(FILE* stream, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    const int count = halVfprintf(stream, format, values);
    va_end(values);
    return count;
}
__attribute__((format(printf, 3, 4))) int halFprintfChecked(FILE* stream, int /*flag*/, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    const int count = halVfprintf(stream, format, values);
    va_end(values);
    return count;
}
void halPerror(const char* text) {
    const std::string reason = std::strerror(errno);
    printed((text != nullptr && *text != '\0' ? text + std::string(": ") : "") + reason + "\n");
}

// In the place of std::cout.
class HalStream : public std::streambuf {
protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        printed(std::string(text, static_cast<std::size_t>(size)));
        return size;
    }
    int_type overflow(int_type c) override {
        if (c != traits_type::eof()) printed(std::string(1, traits_type::to_char_type(c)));
        return traits_type::not_eof(c);
    }
};

std::ostream& halCout() {
    static auto& stream = *new std::ostream(new HalStream);
    return stream;
}

struct Replacement {
    const char* name;
    std::uintptr_t address;  // of a function or an object
};

template <typename Thing>
Replacement replacement(const char* name, Thing* thing) {
    return {name, reinterpret_cast<std::uintptr_t>(thing)};
}

std::uintptr_t replacementOf(const char* name) {
    static const auto& all = *new std::array<Replacement, 15>{
        replacement("printf", halPrintf),     replacement("__printf_chk", halPrintfChecked),
        replacement("vprintf", halVprintf),   replacement("__vprintf_chk", halVprintfChecked),
        replacement("puts", halPuts),         replacement("putchar", halPutchar),
        replacement("fputs", halFputs),       replacement("fputc", halFputc),
        replacement("putc", halFputc),        replacement("fwrite", halFwrite),
        replacement("fprintf", halFprintf),   replacement("__fprintf_chk", halFprintfChecked),
        replacement("vfprintf", halVfprintf), replacement("perror", halPerror),
        replacement("_ZSt4cout", &halCout()),
    };
    for (const Replacement& one : all)
        if (std::strcmp(one.name, name) == 0) return one.address;
    return 0;
}

// ---- binding the HAL's calls to them ----

// A loaded library's list of what it takes from others, as the dynamic linker left it.
class Imports {
public:
    explicit Imports(const dl_phdr_info& library) : base_(library.dlpi_addr) {
        for (int i = 0; i < library.dlpi_phnum; ++i) {
            const auto& header = library.dlpi_phdr[i];
            if (header.p_type == PT_DYNAMIC) readDynamic(reinterpret_cast<const ElfW(Dyn)*>(base_ + header.p_vaddr));
            if (header.p_type != PT_GNU_RELRO) continue;
            const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
            sealed_ = (base_ + header.p_vaddr) & ~(page - 1);
            sealedEnd_ = (base_ + header.p_vaddr + header.p_memsz) & ~(page - 1);
        }
    }

    void bindPrints() {
        if (symbols_ == nullptr || names_ == nullptr) return;
        if (!protect(PROT_READ | PROT_WRITE)) return;
        bindAll<ElfW(Rela)>(calls_, callsSize_, callsHaveAddends_);
        bindAll<ElfW(Rel)>(calls_, callsSize_, !callsHaveAddends_);
        bindAll<ElfW(Rela)>(rela_, relaSize_, true);
        bindAll<ElfW(Rel)>(rel_, relSize_, true);
        protect(PROT_READ);
    }

private:
    void readDynamic(const ElfW(Dyn) * entry) {
        for (; entry->d_tag != DT_NULL; ++entry) {
            const std::uintptr_t value = entry->d_un.d_val;
            switch (entry->d_tag) {
                case DT_SYMTAB:
                    symbols_ = reinterpret_cast<const ElfW(Sym)*>(placeOf(value));
                    break;
                case DT_STRTAB:
                    names_ = reinterpret_cast<const char*>(placeOf(value));
                    break;
                case DT_JMPREL:
                    calls_ = placeOf(value);
                    break;
                case DT_PLTRELSZ:
                    callsSize_ = value;
                    break;
                case DT_PLTREL:
                    callsHaveAddends_ = value == DT_RELA;
                    break;
                case DT_RELA:
                    rela_ = placeOf(value);
                    break;
                case DT_RELASZ:
                    relaSize_ = value;
                    break;
                case DT_REL:
                    rel_ = placeOf(value);
                    break;
                case DT_RELSZ:
                    relSize_ = value;
                    break;
                default:
                    break;
            }
        }
    }
    // The linker has turned offsets into addresses where it may write.
    std::uintptr_t placeOf(std::uintptr_t value) const { return value < base_ ? base_ + value : value; }

    static std::size_t symbolOf(ElfW(Xword) info) {
        return sizeof(void*) == 8 ? static_cast<std::size_t>(info >> 32) : static_cast<std::size_t>(info >> 8);
    }

    template <typename Relocation>
    void bindAll(std::uintptr_t start, std::size_t size, bool wanted) const {
        if (start == 0 || !wanted) return;
        const auto* list = reinterpret_cast<const Relocation*>(start);
        for (std::size_t i = 0; i < size / sizeof(Relocation); ++i) {
            const std::size_t symbol = symbolOf(list[i].r_info);
            if (symbol == 0) continue;
            const std::uintptr_t address = replacementOf(names_ + symbols_[symbol].st_name);
            if (address != 0) *reinterpret_cast<std::uintptr_t*>(base_ + list[i].r_offset) = address;
        }
    }

    // What the linker has made read-only once it was done.
    bool protect(int how) const {
        return sealedEnd_ <= sealed_ || mprotect(reinterpret_cast<void*>(sealed_), sealedEnd_ - sealed_, how) == 0;
    }

    std::uintptr_t base_;
    const ElfW(Sym) * symbols_ = nullptr;
    const char* names_ = nullptr;
    std::uintptr_t calls_ = 0, rela_ = 0, rel_ = 0;
    std::size_t callsSize_ = 0, relaSize_ = 0, relSize_ = 0;
    bool callsHaveAddends_ = false;
    std::uintptr_t sealed_ = 0, sealedEnd_ = 0;
};

bool isHal(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* name = slash != nullptr ? slash + 1 : path;
    return std::strncmp(name, "libvorn_hal.so", 14) == 0;
}

// Whoever started the program learns how it came to its HAL.
void tell(const char* how) {
    if (program::settings().runFolder.empty()) return;
    const std::string path = program::settings().runFolder + "/hal";
    const int fd = real::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return;
    writeAll(fd, std::string(how) + "\n");
    real::close(fd);
}

int dealWith(dl_phdr_info* library, std::size_t /*size*/, void* how) {
    static auto& done = *new std::set<std::uintptr_t>;  // the linker's lock is held here
    if (library->dlpi_name == nullptr || !isHal(library->dlpi_name)) return 0;
    if (!done.insert(library->dlpi_addr).second) return 0;
    if (!program::settings().halFile.empty()) Imports(*library).bindPrints();
    tell(static_cast<const char*>(how));
    return 0;
}

}  // namespace

void divert(Found found) {
    if (program::settings().halFile.empty() && program::settings().runFolder.empty()) return;
    dl_iterate_phdr(dealWith, const_cast<char*>(found == Found::Linked ? "linked" : "loaded"));
}

}  // namespace virtual_onu::halprints
