#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace kelvara {

// A numbered runtime error, as the host reports it: number, source and text.
// Almost nothing in the library raises; the members that do say so.
class KelvaraError : public std::exception {
public:
    KelvaraError(int32_t number, std::string source, std::string description)
        : number(number), source(std::move(source)), description(std::move(description)) {}

    const char* what() const noexcept override { return description.c_str(); }

    int32_t number;
    std::string source;
    std::string description;
};

// The host's own error numbers that the runtime can raise.
namespace HostError {
inline constexpr int32_t InvalidProcedureCall = 5;
inline constexpr int32_t Overflow = 6;
inline constexpr int32_t TypeMismatch = 13;
}  // namespace HostError

}  // namespace kelvara
