#include "torvex/family/CEncapFamilyColIPropertyData.h"

#include "torvex/family/CStringMapTo.h"
#include "torvex/family/FamilyNames.h"

namespace torvex {
namespace {

// Texts of the object kinds, by their number.
constexpr const wchar_t* kTypeTexts[] = {
    FamilyNames::ObjUnknown,      FamilyNames::ObjUserParameter,
    FamilyNames::ObjProperty,     FamilyNames::ObjPartComponentDefinition,
    FamilyNames::ObjPartDocument, FamilyNames::ObjModelParameter,
    FamilyNames::ObjPartFeature,  FamilyNames::ObjRenderStyle,
};

} // namespace

CEncapFamilyColIPropertyData::CEncapFamilyColIPropertyData(const wchar_t* objectRefKey,
                                                           const wchar_t* subObjectId,
                                                           ColPropertyObjectType type)
    : m_objectRefKey(objectRefKey ? objectRefKey : L""),
      m_subObjectId(subObjectId ? subObjectId : L""), m_type(type) {}

void CEncapFamilyColIPropertyData::SetObjectRefKey(const wchar_t* key) {
    m_objectRefKey = key ? key : L"";
}

void CEncapFamilyColIPropertyData::SetSubObjectId(const wchar_t* subObjectId) {
    m_subObjectId = subObjectId ? subObjectId : L"";
}

WideString CEncapFamilyColIPropertyData::ColPropObjTypeToString(ColPropertyObjectType type) {
    const int value = static_cast<int>(type);
    if (value < kUserParameterObject || value > kRenderStyleObject)
        return FamilyNames::ObjUnknown;
    return kTypeTexts[value];
}

CEncapFamilyColIPropertyData::ColPropertyObjectType
CEncapFamilyColIPropertyData::StringToColPropObjType(const wchar_t* text) {
    if (!text)
        return Unknown;
    for (int value = kUserParameterObject; value <= kRenderStyleObject; ++value) {
        if (SameTextIgnoringCase(text, kTypeTexts[value]))
            return static_cast<ColPropertyObjectType>(value);
    }
    return Unknown;
}

} // namespace torvex
