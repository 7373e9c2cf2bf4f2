#include "host/CHostStatus.h"

namespace torvex {

const wchar_t* CHostStatus::Describe(int32_t status) {
    switch (status) {
    case kOk:
        return L"ok";
    case kPassedThrough:
        return L"passed through unchanged";
    case kLinesSkipped:
        return L"some lines were skipped";
    case kNullArgument:
        return L"null argument";
    case kSyntaxError:
        return L"syntax error";
    case kUnknownUnit:
        return L"unknown unit";
    case kUnitMismatch:
        return L"units of different kinds";
    case kNotFinite:
        return L"result is not a finite number";
    case kTooComplex:
        return L"expression too long or too deeply nested";
    case kUnknownName:
        return L"unknown function or constant";
    case kArgumentCount:
        return L"wrong number of arguments";
    case kUnitSystemUnavailable:
        return L"unit database unavailable";
    case kUnknownMaterial:
        return L"unknown material";
    case kFileError:
        return L"file cannot be read";
    case kInternalError:
        return L"internal error";
    default:
        return L"unknown status";
    }
}

} // namespace torvex
