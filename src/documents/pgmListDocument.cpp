#include "documents/pgmListDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildPgmListJson(const wire::SdtRecord* sdt, DocumentBuffer& out) {
    return writeDocument(shape::pgmList(*sdt), out);
}

} // namespace mpegfe
