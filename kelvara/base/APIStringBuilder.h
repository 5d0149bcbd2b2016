#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvara {

// An append-only text buffer: appending is amortised constant time, so text
// filters can build their result one character at a time.
class APIStringBuilder {
public:
    void Append(std::string_view text) { buffer.append(text); }
    void Append(char32_t c);
    void Clear() { buffer.clear(); }
    const std::string& ToString() const { return buffer; }
    // Length in characters.
    int32_t Length() const;

private:
    std::string buffer;
};

}  // namespace kelvara
