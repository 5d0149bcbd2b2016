#pragma once

// APIGDIPlus: the bridge to GDI+. This build has no GDI+: the bridge says so,
// and every caller takes its own-code path.

#include <cstdint>

namespace kelvara {

class APIGDIPlus {
public:
    // True when a GDI+ session exists or can be started: never here.
    static bool isGDIplusOk() { return false; }
    // The GDI+ version number; 0 without GDI+.
    static int32_t Version() { return 0; }
};

}  // namespace kelvara
