#include "documents/sdtDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildSdtJson(const wire::SdtRecord& record, DocumentBuffer& out) {
    return writeDocument(shape::sdt(record), out);
}

} // namespace mpegfe
