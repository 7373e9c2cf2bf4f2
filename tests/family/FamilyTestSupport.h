#pragma once
// Helpers shared by the family tests: a host provider that answers nothing and counts its
// deletion, a family opened from text, and the serialised form of a node.

#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <memory>

namespace torvex::test {

// A host that can't evaluate anything; it records its family and its deletion.
class NullProvider : public IEvaluatorProvider {
public:
    explicit NullProvider(int* deletions = nullptr) : m_deletions(deletions) {}
    ~NullProvider() override {
        if (m_deletions)
            ++*m_deletions;
    }
    int32_t EvaluateToDouble(const wchar_t*, const wchar_t*, double*) override { return -1; }
    int32_t ConvertUnits(const wchar_t*, const wchar_t*, const wchar_t*, double*) override {
        return -1;
    }
    int32_t GetInternalUnit(const wchar_t*, WideString*) override { return -1; }
    int32_t GetMaterialName(const wchar_t*, WideString*) override { return -1; }
    int32_t GetMaterialRefKey(const wchar_t*, WideString*) override { return -1; }
    CEncapFamily* Family() const { return GetEncapFamily(); }

private:
    int* m_deletions;
};

inline std::unique_ptr<CEncapFamily> OpenFamily(const wchar_t* xml,
                                                const WideStringList& strings = {}) {
    return std::make_unique<CEncapFamily>(xml, strings, nullptr, new NullProvider(), false);
}

// The family document's root element serialised.
inline WideString RootXml(const CEncapFamily& family) {
    WideString xml;
    family.GetFamilyXML().GetRootNode().GetXml(xml);
    return xml;
}

} // namespace torvex::test
