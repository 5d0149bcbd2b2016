// kv: calls the members of KV from the command line.
//   kv CurrencyAsStr 1234.56
//   kv IsValidCPFOrCNPJ 111.444.777-35
//   kv --help

#include <iostream>

#include "KVCommands.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    return kelvara::kvtool::Run(args, std::cout, std::cerr);
}
