#include "torvex/mapping/CEncapFamilyMapping.h"

namespace torvex {

CEncapFamilyMapping::CEncapFamilyMapping() = default;

CEncapFamilyMapping::CEncapFamilyMapping(const XMLNode& familyTemplates,
                                         const XMLNode& parameterMap, CEncapFamily* family)
    : m_familyTemplates(familyTemplates), m_parameterMap(parameterMap), m_family(family) {}

CEncapFamilyMapping::~CEncapFamilyMapping() = default;

bool CEncapFamilyMapping::GetColumnCategory(const wchar_t*, WideString&) {
    return false;
}

bool CEncapFamilyMapping::IsFamilyColumnLocalized(const wchar_t*) {
    return false;
}

void CEncapFamilyMapping::InitializeColumnData(CEncapFamilyColumn*) {}

} // namespace torvex
