#include "documents/pidListDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildPidListJson(const PidEntry* entries, int count, float aggRate, DocumentBuffer& out) {
    return writeDocument(shape::pidList(entries, count, aggRate), out);
}

} // namespace mpegfe
