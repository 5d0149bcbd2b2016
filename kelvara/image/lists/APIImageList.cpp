#include "kelvara/image/lists/APIImageList.h"

#include "kelvara/image/lists/APIImageLists.h"

namespace kelvara {

void APIImageList::SetKey(std::string_view Key) {
    parent->SetKeyOf(*this, Key);
}

}  // namespace kelvara
