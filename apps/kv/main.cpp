// kv: calls the members of KV from the command line, and reads, converts
// and packs pictures with the image engine.
//   kv CurrencyAsStr 1234.56
//   kv IsValidCPFOrCNPJ 111.444.777-35
//   kv image convert logo.png logo.jpg --quality 85
//   kv imagelist list toolbar.lIL
//   kv --help

#include <iostream>

#include "KVCommands.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    return kelvara::kvtool::Run(args, std::cout, std::cerr);
}
