// The documents that are measured: how to load the records of each, and how the service builds it.
#pragma once

#include "documents/documentText.h"
#include "serviceNames.h"

#include <string_view>
#include <vector>

struct DocumentWorkload {
    const char* name; // with the number of entries: "PidList/108"
    void (*load)();
    std::size_t (*build)(DocumentBuffer& out);
};

// The PID list at four sizes, the others at their largest.
const std::vector<DocumentWorkload>& documentWorkloads();

// The workload of this name. Ends the program when there is none.
const DocumentWorkload& documentWorkload(std::string_view name);
