#pragma once

// The picture commands of kv, in two groups: `kv image info|convert` and
// `kv imagelist list|export|import`. Each command is a row of a table that
// the dispatcher (KVCommands.cpp) and the help text both read.

#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelvara::kvtool {

struct Command {
    std::string_view group;  // "image" or "imagelist"
    std::string_view name;   // "convert"
    std::string_view usage;  // the arguments after the name
    // Prints the result on `out`. Throws UsageError for a wrong command line
    // and CommandFailure (or the library's KelvaraError) when the work fails.
    std::function<void(std::span<const std::string> args, std::ostream& out)> run;
};

// image info, image convert (ImageCommands.cpp).
const std::vector<Command>& ImageCommands();
// imagelist list, export, import (ImageListCommands.cpp).
const std::vector<Command>& ImageListCommands();

// The options of `image convert`, one line each, for the help text.
void ConvertOptionsHelp(std::ostream& out);

}  // namespace kelvara::kvtool
