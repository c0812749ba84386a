#include "documents/tdtDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildTdtJson(const wire::TdtRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::tdt(record), out);
}

} // namespace mpegfe
