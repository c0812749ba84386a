#include "documents/pgmDetailDocument.h"

#include "documents/shapeText.h"

namespace mpegfe {

std::size_t buildPgmDetailJson(const wire::PmtEntry* pmt, const wire::AvPgmEntry* av, DocumentBuffer& out) {
    return writeDocument(shape::pgmDetail(*pmt, *av), out);
}

} // namespace mpegfe
