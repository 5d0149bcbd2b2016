#include "kelvara/base/APIStringBuilder.h"

#include "kelvara/base/Text.h"

namespace kelvara {

// One character is at most four bytes, well inside std::string's inline
// buffer, so the temporary costs no allocation.
void APIStringBuilder::Append(char32_t c) {
    buffer.append(ChrW(c));
}

int32_t APIStringBuilder::Length() const {
    return Len(buffer);
}

}  // namespace kelvara
