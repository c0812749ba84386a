// Preloaded into a program, counts its heap allocations by the module whose code asked for them: the module
// that calls malloc and its kin or operator new, so that memory which libzmq or Jansson takes for itself is
// told apart from memory that the program takes. The allocations themselves go on to the C library.
#include "allocationCounts.h"

#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

struct AddressRange {
    std::uintptr_t begin;
    std::uintptr_t end;
    ModuleAllocations* module;
};

std::array<AddressRange, 128> ranges;
std::size_t rangeCount;
AllocationCounts* counts; // null until the modules are known; what is allocated before is the loader's

std::string_view moduleName(const char* path) {
    if (*path == '\0') {
        return executableName;
    }
    const std::string_view file(path);
    const std::string_view name = file.substr(file.rfind('/') + 1);
    return name.substr(0, name.find(".so"));
}

int addModule(dl_phdr_info* info, std::size_t, void* found) {
    auto*& next = *static_cast<ModuleAllocations**>(found);
    if (next == counts->modules.data() + counts->modules.size()) {
        return 1;
    }
    const std::string_view name = moduleName(info->dlpi_name);
    name.copy(next->module.data(), next->module.size() - 1);
    for (int segment = 0; segment < info->dlpi_phnum && rangeCount < ranges.size(); ++segment) {
        const ElfW(Phdr)& header = info->dlpi_phdr[segment];
        if (header.p_type == PT_LOAD && (header.p_flags & PF_X) != 0) {
            const std::uintptr_t begin = info->dlpi_addr + header.p_vaddr;
            ranges[rangeCount++] = {begin, begin + header.p_memsz, next};
        }
    }
    ++next;
    return 0;
}

__attribute__((constructor)) void shareCounts() {
    const char* path = std::getenv(allocationFileVariable);
    const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0) {
        return;
    }
    void* shared = mmap(nullptr, sizeof *counts, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (shared != MAP_FAILED) {
        counts = static_cast<AllocationCounts*>(shared);
        ModuleAllocations* next = counts->modules.data();
        dl_iterate_phdr(addModule, &next);
    }
}

void count(const void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (std::size_t i = 0; i < rangeCount; ++i) {
        if (address >= ranges[i].begin && address < ranges[i].end) {
            ranges[i].module->calls.fetch_add(1, std::memory_order_relaxed);
            return;
        }
    }
}

void* allocateObject(std::size_t size) {
    void* memory = __libc_malloc(std::max<std::size_t>(size, 1));
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

} // namespace

// Each is called by the code that is counted, so its return address lies there.
#define COUNT_CALLER() count(__builtin_return_address(0))

extern "C" {

void* malloc(std::size_t size) {
    COUNT_CALLER();
    return __libc_malloc(size);
}

void* calloc(std::size_t count_, std::size_t size) {
    COUNT_CALLER();
    return __libc_calloc(count_, size);
}

void* realloc(void* memory, std::size_t size) {
    COUNT_CALLER();
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    COUNT_CALLER();
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    COUNT_CALLER();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    COUNT_CALLER();
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

} // extern "C"

void* operator new(std::size_t size) {
    COUNT_CALLER();
    return allocateObject(size);
}

void* operator new[](std::size_t size) {
    COUNT_CALLER();
    return allocateObject(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    COUNT_CALLER();
    return __libc_malloc(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    COUNT_CALLER();
    return __libc_malloc(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
