#include "documents/catDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildCatJson(const wire::CatRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::cat(record), out);
}

} // namespace mpegfe
