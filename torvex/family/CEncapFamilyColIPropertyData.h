#pragma once
// The binding of a column to a property of a host object: which object (reference key), which
// of its values (sub-object) and what kind of object.

#include "torvex/platform/WideString.h"

namespace torvex {

/// A plain copyable record.
class CEncapFamilyColIPropertyData {
public:
    /// Kinds of host objects; the enumerators take the names of the texts stored in documents.
    enum ColPropertyObjectType : int {
        Unknown = 0,
        kUserParameterObject = 1,
        kPropertyObject = 2,
        kPartComponentDefinitionObject = 3,
        kPartDocumentObject = 4,
        kModelParameterObject = 5,
        kPartFeatureObject = 6,
        kRenderStyleObject = 7,
    };

    /// Empty strings, type Unknown. Never fails.
    CEncapFamilyColIPropertyData() = default;
    /// Copies the texts (null counts as empty). Never fails.
    CEncapFamilyColIPropertyData(const wchar_t* objectRefKey, const wchar_t* subObjectId,
                                 ColPropertyObjectType type);

    /// Null counts as empty. Never fails.
    void SetObjectRefKey(const wchar_t* key);
    /// Null counts as empty. Never fails.
    void SetSubObjectId(const wchar_t* subObjectId);
    /// Stores the type as given. Never fails.
    void SetPropObjType(ColPropertyObjectType type) { m_type = type; }
    /// Through StringToColPropObjType: an unknown text gives Unknown. Never fails.
    void SetPropObjTypeStr(const wchar_t* text) { m_type = StringToColPropObjType(text); }

    /// The object reference key. Never fails.
    const WideString& ObjectRefKey() const { return m_objectRefKey; }
    /// The sub-object id. Never fails.
    const WideString& SubObjectId() const { return m_subObjectId; }
    /// The object type. Never fails.
    ColPropertyObjectType PropObjType() const { return m_type; }
    /// The text of the object type; "Unknown" outside 1..7. Never fails.
    WideString PropObjTypeStr() const { return ColPropObjTypeToString(m_type); }

    /// The text of a type; "Unknown" for any value outside 1..7. Never fails.
    static WideString ColPropObjTypeToString(ColPropertyObjectType type);
    /// The type of a text compared ignoring case; Unknown (0) for any other text, "Unknown" and
    /// null included. Never fails.
    static ColPropertyObjectType StringToColPropObjType(const wchar_t* text);

private:
    WideString m_objectRefKey;
    WideString m_subObjectId;
    ColPropertyObjectType m_type = Unknown;
};

} // namespace torvex
