#include "documents/eitDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildEitJson(const wire::EitRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::eit(record), out);
}

} // namespace mpegfe
