#include "documents/patDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildPatJson(const wire::PatRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::pat(record), out);
}

} // namespace mpegfe
