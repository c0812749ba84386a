#include "documents/documentText.h"

namespace mpegfe {

DocumentText startText(DocumentBuffer& buffer) {
    return {buffer, buffer, buffer + sizeof buffer - 1, false};
}

std::size_t textLength(const DocumentText& text) {
    return static_cast<std::size_t>(text.next - text.begin);
}

void rewindText(DocumentText& text, std::size_t length) {
    text.next = text.begin + length;
    text.truncated = false;
}

std::size_t finishText(DocumentText& text) {
    *text.next = '\0';
    return textLength(text);
}

} // namespace mpegfe
