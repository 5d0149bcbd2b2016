#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kelvara::kvtool {

// Runs one command line (without the program name); returns the exit code:
// 0 done, 1 the member raised an error (or a picture command could not do
// its work), 2 a usage error.
int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace kelvara::kvtool
