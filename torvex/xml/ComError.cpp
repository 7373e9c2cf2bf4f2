#include "torvex/xml/ComError.h"

#include <cstdio>
#include <string>

namespace torvex {

namespace {

std::string Describe(int32_t code) {
    char text[48];
    std::snprintf(text, sizeof text, "XML DOM failure 0x%08X", static_cast<uint32_t>(code));
    return text;
}

} // namespace

ComError::ComError(int32_t code) : std::runtime_error(Describe(code)), code_(code) {}

} // namespace torvex
