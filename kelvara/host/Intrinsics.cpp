#include "kelvara/host/Control.h"

namespace kelvara {

void RegisterIntrinsicControls() {}

}  // namespace kelvara
