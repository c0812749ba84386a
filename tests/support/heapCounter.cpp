// Preloaded into a program, counts its allocations and the heap that it has in use by the module whose code
// asked for it, the one that calls malloc and its kin or operator new: what libzmq or Jansson takes for
// itself is told apart from what the program takes. Each block has a header in front that remembers who that
// was.
#include "heapInUse.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(std::size_t size);
void __libc_free(void* memory);
}

namespace {

struct alignas(std::max_align_t) Header {
    void* block; // as the C library gave it
    std::size_t size;
    std::size_t module; // its place
};

HeapInUse untold; // until the watcher's memory is there, and without a watcher
std::atomic<HeapInUse*> heap = &untold;

// Whose each place is.
std::array<std::atomic<const link_map*>, std::tuple_size_v<decltype(HeapInUse::modules)>> owners;

// What has been counted by then is taken along.
[[gnu::constructor]] void share() {
    const char* path = std::getenv(heapFileVariable);
    const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0) {
        return;
    }
    void* shared = mmap(nullptr, sizeof untold, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (shared == MAP_FAILED) {
        return;
    }
    auto* told = static_cast<HeapInUse*>(shared);
    for (std::size_t i = 0; i < told->modules.size(); ++i) {
        told->modules[i].name = untold.modules[i].name;
        told->modules[i].allocations += untold.modules[i].allocations;
        told->modules[i].bytesInUse += untold.modules[i].bytesInUse;
    }
    heap = told;
}

// The loader knows the program itself by an empty name.
std::string_view moduleName(const link_map& module) {
    const std::string_view path(module.l_name);
    if (path.empty()) {
        return executableModule;
    }
    const std::string_view file = path.substr(path.rfind('/') + 1);
    return file.substr(0, file.find(".so"));
}

// The place of the module that holds this address.
std::size_t moduleAt(void* address) {
    dl_find_object found{};
    const std::size_t last = owners.size() - 1;
    if (_dl_find_object(address, &found) != 0) {
        return last;
    }
    for (std::size_t i = 0; i < last; ++i) {
        const link_map* owner = nullptr;
        if (owners[i].compare_exchange_strong(owner, found.dlfo_link_map)) {
            std::array<char, 40>& name = heap.load()->modules[i].name;
            moduleName(*found.dlfo_link_map).copy(name.data(), name.size() - 1);
            return i;
        }
        if (owner == found.dlfo_link_map) {
            return i;
        }
    }
    return last;
}

HeapOfModule& counts(std::size_t module) {
    return heap.load(std::memory_order_relaxed)->modules[module];
}

// Null when there is no memory. The alignment is a power of two, and at least the header's.
void* allocate(std::size_t size, void* caller, std::size_t alignment = alignof(Header)) {
    const std::size_t slack = sizeof(Header) + alignment;
    void* const block = size <= SIZE_MAX - slack ? __libc_malloc(size + slack) : nullptr;
    if (block == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    const auto behindHeader = reinterpret_cast<std::uintptr_t>(block) + sizeof(Header);
    auto* const memory = reinterpret_cast<char*>((behindHeader + alignment - 1) & ~(alignment - 1));
    const std::size_t module = moduleAt(caller);
    *(reinterpret_cast<Header*>(memory) - 1) = {block, size, module};
    ++counts(module).allocations;
    counts(module).bytesInUse += static_cast<std::int64_t>(size);
    return memory;
}

void release(void* memory) {
    if (memory != nullptr) {
        const Header header = *(static_cast<Header*>(memory) - 1);
        counts(header.module).bytesInUse -= static_cast<std::int64_t>(header.size);
        __libc_free(header.block);
    }
}

void* allocateAligned(std::size_t alignment, std::size_t size, void* caller) {
    return allocate(size, caller, std::max(alignment, alignof(Header)));
}

void* allocateObject(std::size_t size, void* caller) {
    void* const memory = allocate(size, caller);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

} // namespace

// Each is called by the code that is counted, so its return address lies there.
#define CALLER __builtin_return_address(0)

extern "C" {

void* malloc(std::size_t size) {
    return allocate(size, CALLER);
}

void* calloc(std::size_t count, std::size_t size) {
    std::size_t total = 0;
    if (__builtin_mul_overflow(count, size, &total)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const memory = allocate(total, CALLER);
    return memory == nullptr ? nullptr : std::memset(memory, 0, total);
}

void* realloc(void* memory, std::size_t size) {
    void* const moved = allocate(size, CALLER);
    if (memory != nullptr && moved != nullptr) {
        std::memcpy(moved, memory, std::min(size, (static_cast<Header*>(memory) - 1)->size));
        release(memory);
    }
    return moved;
}

void free(void* memory) {
    release(memory);
}

void* memalign(std::size_t alignment, std::size_t size) {
    return allocateAligned(alignment, size, CALLER);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return allocateAligned(alignment, size, CALLER);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    *memory = allocateAligned(alignment, size, CALLER);
    return *memory != nullptr ? 0 : ENOMEM;
}

} // extern "C"

void* operator new(std::size_t size) {
    return allocateObject(size, CALLER);
}

void* operator new[](std::size_t size) {
    return allocateObject(size, CALLER);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, CALLER);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, CALLER);
}

void operator delete(void* memory) noexcept {
    release(memory);
}

void operator delete[](void* memory) noexcept {
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
