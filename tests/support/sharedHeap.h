// The watcher's side of the preloaded heap counter.
#pragma once

#include "heapInUse.h"

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace testSupport {

// What a process has done with its heap, by module.
class SharedHeap {
  public:
    struct Module {
        std::int64_t allocations = 0; // so far
        std::int64_t bytesInUse = 0;
    };

    // Throws std::runtime_error when there is no memory to share.
    SharedHeap() {
        const int file = mkstemp(path.data());
        if (file < 0 || ftruncate(file, sizeof(HeapInUse)) != 0) {
            throw std::runtime_error("no file for the heap's counts");
        }
        void* const shared = mmap(nullptr, sizeof(HeapInUse), PROT_READ, MAP_SHARED, file, 0);
        close(file);
        if (shared == MAP_FAILED) {
            throw std::runtime_error("the heap's counts cannot be shared");
        }
        counts = static_cast<const HeapInUse*>(shared);
    }
    ~SharedHeap() {
        munmap(const_cast<HeapInUse*>(counts), sizeof(HeapInUse));
        unlink(path.c_str());
    }
    SharedHeap(const SharedHeap&) = delete;
    SharedHeap& operator=(const SharedHeap&) = delete;

    // What the process to be watched is started with. The counter is the path of the preloaded library.
    std::vector<std::string> environment(const std::string& counter) const {
        return {"LD_PRELOAD=" + counter, std::string(heapFileVariable) + '=' + path};
    }

    // Of all modules that asked for any.
    std::map<std::string, Module> modules() const {
        std::map<std::string, Module> result;
        for (const HeapOfModule& module : counts->modules) {
            if (module.name[0] != '\0') {
                result[module.name.data()] = {module.allocations, module.bytesInUse};
            }
        }
        return result;
    }

    // All zero when it never asked for any.
    Module operator[](const char* name) const {
        return modules()[name];
    }

  private:
    std::string path = "/tmp/mpegfe-heap-XXXXXX";
    const HeapInUse* counts = nullptr;
};

} // namespace testSupport
