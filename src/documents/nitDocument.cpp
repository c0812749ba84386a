#include "documents/nitDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildNitJson(const wire::NitRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::nit(record), out);
}

} // namespace mpegfe
