#include "interface/Modules.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace CalcEngine {

namespace {

// A module's file, mapped for reading: its sections and its functions,
// ordered by address.
class ElfImage {
public:
    explicit ElfImage(const std::string& path) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) return;
        struct stat status;
        if (fstat(file, &status) == 0 &&
            static_cast<size_t>(status.st_size) >= sizeof(Elf64_Ehdr)) {
            size = static_cast<size_t>(status.st_size);
            void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
            if (mapped != MAP_FAILED) bytes = static_cast<const unsigned char*>(mapped);
        }
        close(file);
        if (bytes && !ReadHeaders()) {
            munmap(const_cast<unsigned char*>(bytes), size);
            bytes = nullptr;
        }
        if (bytes) ReadFunctions();
    }
    ElfImage(const ElfImage&) = delete;
    ElfImage& operator=(const ElfImage&) = delete;

    // The section holding the module address `address`: its number from 1
    // and the offset into it; false when none does.
    bool FindSection(uint64_t address, unsigned& number, uint64_t& offset) const {
        for (unsigned i = 1; i < sectionCount; ++i) {
            const Elf64_Shdr& section = sections[i];
            if (!(section.sh_flags & SHF_ALLOC)) continue;
            if (address >= section.sh_addr && address < section.sh_addr + section.sh_size) {
                number = i;
                offset = address - section.sh_addr;
                return true;
            }
        }
        return false;
    }

    // The function holding the module address `address`, or null.
    const char* FindFunction(uint64_t address, uint64_t& displacement) const {
        auto after = std::upper_bound(
            functions.begin(), functions.end(), address,
            [](uint64_t value, const Function& function) { return value < function.start; });
        if (after == functions.begin()) return nullptr;
        const Function& function = *(after - 1);
        if (function.size != 0 && address >= function.start + function.size) return nullptr;
        displacement = address - function.start;
        return function.name;
    }

private:
    struct Function {
        uint64_t start;
        uint64_t size;
        const char* name;
    };

    template <class T>
    const T* At(uint64_t offset, uint64_t count = 1) const {
        if (offset > size || count > (size - offset) / sizeof(T)) return nullptr;
        return reinterpret_cast<const T*>(bytes + offset);
    }

    bool ReadHeaders() {
        const auto* header = At<Elf64_Ehdr>(0);
        if (std::string_view(reinterpret_cast<const char*>(header->e_ident), SELFMAG) != ELFMAG ||
            header->e_ident[EI_CLASS] != ELFCLASS64 || header->e_shentsize != sizeof(Elf64_Shdr))
            return false;
        sections = At<Elf64_Shdr>(header->e_shoff, header->e_shnum);
        sectionCount = sections ? header->e_shnum : 0;
        return sections != nullptr;
    }

    // The functions of the full symbol table, or of the dynamic one where
    // the file has been stripped.
    void ReadFunctions() {
        for (uint32_t type : {SHT_SYMTAB, SHT_DYNSYM}) {
            for (unsigned i = 1; i < sectionCount && functions.empty(); ++i) {
                if (sections[i].sh_type == type) ReadFunctions(sections[i]);
            }
        }
        std::sort(functions.begin(), functions.end(),
                  [](const Function& a, const Function& b) { return a.start < b.start; });
    }

    void ReadFunctions(const Elf64_Shdr& table) {
        if (table.sh_link >= sectionCount) return;
        const Elf64_Shdr& names = sections[table.sh_link];
        const auto* symbols = At<Elf64_Sym>(table.sh_offset, table.sh_size / sizeof(Elf64_Sym));
        const char* strings = At<char>(names.sh_offset, names.sh_size);
        if (!symbols || !strings || names.sh_size == 0 || strings[names.sh_size - 1] != '\0')
            return;
        for (size_t i = 0; i < table.sh_size / sizeof(Elf64_Sym); ++i) {
            const Elf64_Sym& symbol = symbols[i];
            if (ELF64_ST_TYPE(symbol.st_info) != STT_FUNC || symbol.st_shndx == SHN_UNDEF ||
                symbol.st_name >= names.sh_size)
                continue;
            functions.push_back({symbol.st_value, symbol.st_size, strings + symbol.st_name});
        }
    }

    const unsigned char* bytes = nullptr;
    size_t size = 0;
    const Elf64_Shdr* sections = nullptr;
    unsigned sectionCount = 0;
    std::vector<Function> functions;
};

// The images read so far, by path; they live as long as the process.
const ElfImage& ImageOf(const std::string& path) {
    static std::mutex mutex;
    static std::map<std::string, std::unique_ptr<ElfImage>> images;
    std::lock_guard<std::mutex> lock(mutex);
    std::unique_ptr<ElfImage>& image = images[path];
    if (!image) image = std::make_unique<ElfImage>(path);
    return *image;
}

// The loaded module whose segments hold an address.
struct LoadedModule {
    explicit LoadedModule(uintptr_t address) : address(address) {}
    uintptr_t address;
    uintptr_t base = 0;
    std::string path;
    bool found = false;
};

int FindModule(dl_phdr_info* info, size_t, void* data) {
    auto& module = *static_cast<LoadedModule*>(data);
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        const uintptr_t start = info->dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && module.address >= start &&
            module.address < start + segment.p_memsz) {
            module.base = info->dlpi_addr;
            module.path = info->dlpi_name;
            module.found = true;
            return 1;
        }
    }
    return 0;
}

// The program itself has no name among the modules.
std::string ProgramPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

std::string Demangled(const char* name) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 && readable ? std::string(readable.get()) : std::string(name);
}

// Where an address lies, found afresh.
CodeLocation Find(uintptr_t address) {
    CodeLocation location{};
    LoadedModule module(address);
    dl_iterate_phdr(FindModule, &module);
    if (!module.found) return location;
    location.module = module.path.empty() ? ProgramPath() : module.path;
    const ElfImage& image = ImageOf(location.module);
    const uint64_t moduleAddress = address - module.base;
    image.FindSection(moduleAddress, location.section, location.offset);
    if (const char* name = image.FindFunction(moduleAddress, location.displacement))
        location.symbol = Demangled(name);
    return location;
}

}  // namespace

// Reports repeat the same frames: the locations found are kept, up to a
// bound for a host that runs code from ever new addresses.
CodeLocation Locate(uintptr_t address) {
    constexpr size_t MaxKept = 4096;
    static std::mutex mutex;
    static std::unordered_map<uintptr_t, CodeLocation> kept;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (auto found = kept.find(address); found != kept.end()) return found->second;
    }
    CodeLocation location = Find(address);
    std::lock_guard<std::mutex> lock(mutex);
    if (kept.size() < MaxKept) kept.emplace(address, location);
    return location;
}

uintptr_t LibraryBase() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&LibraryBase), &info)) return 0;
    return reinterpret_cast<uintptr_t>(info.dli_fbase);
}

}  // namespace CalcEngine
