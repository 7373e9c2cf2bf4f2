#include "FamilyGenerator.h"

#include "torvex/platform/NumberText.h"
#include "torvex/platform/Utf16.h"

#include <array>
#include <cstdint>

namespace torvex::bench {
namespace {

// Sizes of the screws: a row takes its size from its index modulo 10 and its length from the
// index divided by 10, so that every combination appears in a table of 260 rows or more.
constexpr std::array<const wchar_t*, 10> kDiameters = {L"3",  L"4",  L"5",  L"6",  L"8",
                                                       L"10", L"12", L"16", L"20", L"24"};
constexpr std::array<const wchar_t*, 10> kPitches = {L"0.5", L"0.7",  L"0.8", L"1",   L"1.25",
                                                     L"1.5", L"1.75", L"2",   L"2.5", L"3"};
constexpr std::array<const wchar_t*, 10> kSocketSizes = {L"2.5", L"3",  L"4",  L"5",  L"6",
                                                         L"8",   L"10", L"14", L"17", L"19"};
constexpr std::array<const wchar_t*, 10> kSocketDepths = {L"1.3", L"2", L"2.5", L"3",  L"4",
                                                          L"5",   L"6", L"8",   L"10", L"12"};
constexpr std::array<int, 26> kLengths = {8,   10,  12,  16,  20,  25,  30,  35, 40,
                                          45,  50,  55,  60,  65,  70,  80,  90, 100,
                                          110, 120, 130, 140, 150, 160, 180, 200};

// Rows whose cell overrides a column-wide value, and suppressed rows.
constexpr size_t kHeadOverrideEvery = 17; // dk: a Cell instead of the formula
constexpr size_t kMaterialEvery = 7;      // MATERIAL: another material
constexpr size_t kFinishEvery = 3;        // FINISH: a Cell and a CellString per language
constexpr size_t kSuppressedEvery = 97;   // STATUS: "Suppressed"

// Category parameters of the example catalogue, and the system's material parameter.
constexpr const wchar_t* kParamDesignation = L"574a358e-08bf-580c-84c0-f7b96fcaf143";
constexpr const wchar_t* kParamDiameter = L"bfd58847-3b38-5ad1-84e3-3fc31b747cb1";
constexpr const wchar_t* kParamLength = L"3515204a-d0ef-5acf-80db-0f017e2ad307";
constexpr const wchar_t* kParamPitch = L"7e9d4268-9003-576a-815e-5462c2a8b5ca";
constexpr const wchar_t* kParamMaterial = L"818a152a-d3c3-49ca-80ee-df7d91421b8e";
constexpr const wchar_t* kParamDisplayName = L"05415f3d-3907-474b-a020-eb9d644f4cf3";
constexpr const wchar_t* kParamDescription = L"13903e3d-64b1-4950-80da-f627842ea37f";
constexpr const wchar_t* kCategoryFasteners = L"41e9806d-9023-5df4-8199-5288187afd7a";
constexpr const wchar_t* kCategoryLeaf = L"730a9d98-2469-56d8-a164-0a6ac29ad9e7";

struct ColumnDefinition {
    const wchar_t* id;
    const wchar_t* title;
    const wchar_t* titleDe;
    const wchar_t* formula;
    bool custom;
    bool hidden;
    int keyWeight;
    const wchar_t* valueType;
    const wchar_t* unit;
};

const std::array<ColumnDefinition, 20> kColumns = {{
    {L"RID", L"Row ID", nullptr, L"", false, true, 0, L"string", L""},
    {L"STATUS", L"Status", nullptr, L"", false, true, 0, L"string", L""},
    {L"MEMBER_REVISION", L"Member revision", nullptr, L"", false, true, 0, L"string", L""},
    {L"DESIGNATION", L"Designation", L"Bezeichnung", L"\"M\" & {d} & \"x\" & {l}", false, false, 0,
     L"string", L""},
    {L"d", L"Nominal diameter", L"Nenndurchmesser", L"", false, false, 1, L"double", L"mm"},
    {L"l", L"Nominal length", L"Nennl\u00e4nge", L"", false, false, 2, L"double", L"mm"},
    {L"P", L"Thread pitch", L"Steigung", L"", false, false, 0, L"double", L"mm"},
    {L"s", L"Socket size", L"Schl\u00fcsselweite", L"", false, false, 0, L"double", L"mm"},
    {L"t", L"Socket depth", L"Innensechskanttiefe", L"", false, false, 0, L"double", L"mm"},
    {L"dk", L"Head diameter", L"Kopfdurchmesser", L"{d}*1.5+1", false, false, 0, L"double", L"mm"},
    {L"k", L"Head height", L"Kopfh\u00f6he", L"{d}", false, false, 0, L"double", L"mm"},
    {L"b", L"Thread length", L"Gewindel\u00e4nge", L"{d}*2+12", false, false, 0, L"double", L"mm"},
    {L"L_TOTAL", L"Overall length", L"Gesamtl\u00e4nge", L"{l}+{k}", false, false, 0, L"double",
     L"mm"},
    {L"THREAD_TURNS", L"Thread turns", L"Gewindeg\u00e4nge", L"{l}/{P}", false, false, 0, L"double",
     L"ul"},
    {L"CHAMFER", L"Chamfer angle", L"Fasenwinkel", L"", false, false, 0, L"double", L"deg"},
    {L"FULL_THREAD", L"Threaded to head", L"Gewinde bis Kopf", L"", false, false, 0, L"boolean",
     L""},
    {L"MATERIAL", L"Material", L"Werkstoff", L"steel-8.8", false, false, 0, L"string", L""},
    {L"FINISH", L"Finish", L"Oberfl\u00e4che", L"black oxide", false, false, 0, L"string", L""},
    {L"DESCRIPTION", L"Description", L"Beschreibung", L"\"Socket head cap screw - M\" & {d}", false,
     false, 0, L"string", L""},
    {L"ROTATION", L"Rotation", L"Drehung", L"[0;60;15;30]", true, false, 0, L"double", L"deg"},
}};

// A bijection of 64-bit values (the finaliser of splitmix64), so distinct inputs give
// distinct ids.
uint64_t Mix(uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

void AppendHex(std::wstring& out, uint64_t value, int digits) {
    static constexpr wchar_t kHex[] = L"0123456789abcdef";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back(kHex[(value >> shift) & 0xF]);
}

// A GUID-shaped id, unique for every (index, salt) with salt below 4.
std::wstring Guid(size_t index, unsigned salt) {
    const uint64_t high = Mix(static_cast<uint64_t>(index) * 4 + salt);
    const uint64_t low = Mix(high ^ 0x5bd1e9955bd1e995ULL);
    std::wstring id;
    id.reserve(36);
    AppendHex(id, high >> 32, 8);
    id.push_back(L'-');
    AppendHex(id, (high >> 16) & 0xFFFF, 4);
    id.push_back(L'-');
    AppendHex(id, high & 0xFFFF, 4);
    id.push_back(L'-');
    AppendHex(id, low >> 48, 4);
    id.push_back(L'-');
    AppendHex(id, low & 0xFFFFFFFFFFFFULL, 12);
    return id;
}

// Appends XML text with the characters that need it escaped.
void AppendEscaped(std::wstring& out, const std::wstring& text) {
    for (wchar_t c : text) {
        switch (c) {
        case L'&':
            out += L"&amp;";
            break;
        case L'<':
            out += L"&lt;";
            break;
        case L'>':
            out += L"&gt;";
            break;
        case L'"':
            out += L"&quot;";
            break;
        default:
            out.push_back(c);
        }
    }
}

void Attr(std::wstring& out, const wchar_t* name, const std::wstring& value) {
    out.push_back(L' ');
    out += name;
    out += L"=\"";
    AppendEscaped(out, value);
    out.push_back(L'"');
}

void Element(std::wstring& out, const wchar_t* indent, const wchar_t* name,
             const std::wstring& text) {
    out += indent;
    out.push_back(L'<');
    out += name;
    out.push_back(L'>');
    AppendEscaped(out, text);
    out += L"</";
    out += name;
    out += L">\n";
}

void Cell(std::wstring& out, const wchar_t* columnId, const std::wstring& value) {
    out += L"        <Cell ColumnId=\"";
    out += columnId;
    out += L"\">";
    AppendEscaped(out, value);
    out += L"</Cell>\n";
}

struct RowData {
    size_t sizeIndex;
    int length;
    std::wstring d, l, P, s, t;
};

RowData RowAt(size_t index) {
    RowData row;
    row.sizeIndex = index % kDiameters.size();
    row.length = kLengths[(index / kDiameters.size()) % kLengths.size()];
    row.d = kDiameters[row.sizeIndex];
    row.l = std::to_wstring(row.length);
    row.P = kPitches[row.sizeIndex];
    row.s = kSocketSizes[row.sizeIndex];
    row.t = kSocketDepths[row.sizeIndex];
    return row;
}

double DiameterValue(const RowData& row) {
    return platform::ParseLeadingDouble(row.d.c_str());
}

void AppendHeader(std::wstring& out, size_t rows) {
    out += L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Family";
    Attr(out, L"InternalName", Guid(rows, 3));
    Attr(out, L"DisplayName", L"Benchmark screws " + std::to_wstring(rows));
    Attr(out, L"Description", L"Generated socket head cap screws");
    Attr(out, L"RevisionId", L"59f355c1-56cb-582b-b445-3a79bf9fa92c");
    Attr(out, L"Manufacturer", L"Torvex Samples");
    Attr(out, L"StandardsOrg", L"ISO");
    Attr(out, L"Standard", L"ISO 4762");
    Attr(out, L"FolderName", L"bench");
    Attr(out, L"Library", L"87ddc095-fe80-592d-9f7e-de2e5d2e637c");
    Attr(out, L"HealthStatus", L"0");
    Attr(out, L"EditStatus", L"0");
    out += L">\n";
    out += L"  <Categories>\n"
           L"    <Category InternalName=\"23b78d0f-2648-40c6-8793-ca6db495c9e8\" "
           L"DisplayName=\"Family properties\" Hidden=\"true\">\n"
           L"      <CategoryParameter InternalName=\"";
    out += kParamDisplayName;
    out += L"\" ValueLocalized=\"true\"/>\n      <CategoryParameter InternalName=\"";
    out += kParamDescription;
    out += L"\" ValueLocalized=\"true\"/>\n    </Category>\n    <Category InternalName=\"";
    out += kCategoryFasteners;
    out += L"\" DisplayName=\"Fasteners\" Hidden=\"false\" Domain=\"Mechanical\">\n"
           L"      <CategoryParameter InternalName=\"";
    out += kParamDesignation;
    out += L"\" ValueLocalized=\"false\"/>\n      <CategoryParameter InternalName=\"";
    out += kParamMaterial;
    out += L"\" ValueLocalized=\"false\"/>\n      <Category InternalName=\"";
    out += kCategoryLeaf;
    out += L"\" DisplayName=\"Socket Head Bolts\" Hidden=\"false\">\n";
    for (const wchar_t* param : {kParamDiameter, kParamLength, kParamPitch}) {
        out += L"        <CategoryParameter InternalName=\"";
        out += param;
        out += L"\" ValueLocalized=\"false\"/>\n";
    }
    out += L"      </Category>\n    </Category>\n  </Categories>\n"
           L"  <FamilyStrings>\n    <File FullFileName=\".\\FamilyStrings.EN-US.xml\"/>\n"
           L"  </FamilyStrings>\n";

    // One template whose user parameters the size columns drive.
    static constexpr std::array<const wchar_t*, 7> kDriven = {L"d", L"l", L"dk", L"k",
                                                              L"s", L"t", L"b"};
    out += L"  <FamilyTemplates>\n"
           L"    <FamilyTemplate Name=\"Template1\" FileName=\"SocketHeadCapScrew.model\">\n";
    for (size_t i = 0; i < kDriven.size(); ++i) {
        out += L"      <GeneralizedParameter Id=\"" + std::to_wstring(i + 1) +
               L"\" ObjectType=\"kUserParameterObject\" ObjectReferenceKey=\"UserParameters\" "
               L"SubObjectId=\"";
        out += kDriven[i];
        out += L"\" ValueType=\"double\" UnitType=\"mm\"/>\n";
    }
    out += L"      <GeneralizedParameter Id=\"8\" ObjectType=\"kPartComponentDefinitionObject\" "
           L"ObjectReferenceKey=\"\" SubObjectId=\"Material\" ValueType=\"string\" "
           L"UnitType=\"ul\"/>\n"
           L"    </FamilyTemplate>\n  </FamilyTemplates>\n";

    out += L"  <ParameterMap>\n    <FamilyParametersMap>\n      <ParamsToTemplate>\n"
           L"        <ParamTemplateValue ConstantValue=\"Benchmark screws\">\n"
           L"          <CategoryParameterRef CategoryParameter=\"";
    out += kParamDisplayName;
    out += L"\"/>\n        </ParamTemplateValue>\n      </ParamsToTemplate>\n"
           L"    </FamilyParametersMap>\n    <MemberParametersMap>\n      <ColumnsToTemplate>\n";
    for (size_t i = 0; i <= kDriven.size(); ++i) {
        out += L"        <ColumnToTemplate TableColumn=\"";
        out += i < kDriven.size() ? kDriven[i] : L"MATERIAL";
        out += L"\">\n          <TemplatesParameter>\n"
               L"            <TemplateParameter TemplateName=\"Template1\" ParameterId=\"" +
               std::to_wstring(i + 1) +
               L"\"/>\n          </TemplatesParameter>\n        </ColumnToTemplate>\n";
    }
    out += L"      </ColumnsToTemplate>\n      <ParamsToColumn>\n";
    const std::array<std::pair<const wchar_t*, const wchar_t*>, 5> borne = {{
        {L"DESIGNATION", kParamDesignation},
        {L"MATERIAL", kParamMaterial},
        {L"d", kParamDiameter},
        {L"l", kParamLength},
        {L"P", kParamPitch},
    }};
    for (const auto& [column, param] : borne) {
        out += L"        <ParamToColumn TableColumn=\"";
        out += column;
        out += L"\">\n          <CategoryParameterRef Category=\"";
        out += param == kParamDesignation || param == kParamMaterial ? kCategoryFasteners
                                                                     : kCategoryLeaf;
        out += L"\" CategoryParameter=\"";
        out += param;
        out += L"\"/>\n        </ParamToColumn>\n";
    }
    out += L"      </ParamsToColumn>\n    </MemberParametersMap>\n  </ParameterMap>\n";
}

void AppendColumns(std::wstring& out) {
    out += L"  <FamilyTable>\n    <Columns>\n";
    for (const ColumnDefinition& column : kColumns) {
        out += L"      <Column";
        Attr(out, L"ColumnId", column.id);
        Attr(out, L"Title", column.title);
        Attr(out, L"ColumnwideValue", column.formula);
        Attr(out, L"Custom", column.custom ? L"true" : L"false");
        Attr(out, L"Hidden", column.hidden ? L"true" : L"false");
        Attr(out, L"KeyWeight", std::to_wstring(column.keyWeight));
        Attr(out, L"ValueType", column.valueType);
        Attr(out, L"UnitType", column.unit);
        out += L"/>\n";
    }
    out += L"    </Columns>\n";
}

// Appends one Row element and the host calls of its formula cells; answers its Cell count.
size_t AppendRow(std::wstring& out, size_t index, const std::wstring& rowId,
                 std::vector<HostCall>& calls) {
    const RowData row = RowAt(index);
    const double d = DiameterValue(row);
    size_t cells = 0;
    auto cell = [&](const wchar_t* column, const std::wstring& value) {
        Cell(out, column, value);
        ++cells;
    };

    out += L"      <Row RowId=\"";
    out += rowId;
    out += L"\">\n";
    cell(L"RID", rowId);
    if (index % kSuppressedEvery == kSuppressedEvery - 1)
        cell(L"STATUS", L"Suppressed");
    cell(L"MEMBER_REVISION", Guid(index, 2));
    cell(L"d", row.d);
    cell(L"l", row.l);
    cell(L"P", row.P);
    cell(L"s", row.s);
    cell(L"t", row.t);
    const bool headOverride = index % kHeadOverrideEvery == kHeadOverrideEvery - 1;
    if (headOverride)
        cell(L"dk", platform::FormatGeneral(d * 1.5 + 0.5, 8));
    cell(L"CHAMFER", index % 2 == 0 ? L"90" : L"120");
    cell(L"FULL_THREAD", row.length <= d * 2 + 12 ? L"true" : L"false");
    if (index % kMaterialEvery == kMaterialEvery - 1)
        cell(L"MATERIAL", L"stainless-A2-70");
    if (index % kFinishEvery == 0)
        cell(L"FINISH", L"zinc plated");
    out += L"      </Row>\n";

    // What the evaluator sends for the formula columns of this row: references become the
    // referenced value with its column's unit attached; a literal cell (dk's override) and a
    // range's default need no host. k's value is d formatted with "%.8g", which is d's text.
    if (!headOverride)
        calls.push_back({row.d + L"mm*1.5+1", L"mm"});
    calls.push_back({row.d + L"mm", L"mm"});
    calls.push_back({row.d + L"mm*2+12", L"mm"});
    calls.push_back({row.l + L"mm+" + row.d + L"mm", L"mm"});
    calls.push_back({row.l + L"mm/" + row.P + L"mm", L"ul"});
    return cells;
}

struct Language {
    const wchar_t* tag;
    const wchar_t* finishDefault;
    const wchar_t* finishCell;
    const wchar_t* description;
    bool german;
};

std::wstring StringDocument(const Language& language, const GeneratedFamily& family) {
    std::wstring out;
    out.reserve(4096 + family.rowCount / kFinishEvery * 96);
    out += L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LocalizedStrings";
    Attr(out, L"xml:lang", language.tag);
    out += L">\n";
    Element(out, L"  ", L"DisplayName",
            language.german ? L"Zylinderschrauben (generiert)" : L"Benchmark screws");
    Element(out, L"  ", L"Description",
            language.german ? L"Generierte Zylinderschrauben"
                            : L"Generated socket head cap screws");
    out += L"  <Table>\n";
    for (const ColumnDefinition& column : kColumns) {
        if (column.hidden)
            continue;
        out += L"    <ColumnStrings ColumnId=\"";
        out += column.id;
        out += L"\">\n";
        Element(out, L"      ", L"Title", language.german ? column.titleDe : column.title);
        const std::wstring id = column.id;
        if (id == L"FINISH") {
            Element(out, L"      ", L"ColumnwideValue", language.finishDefault);
            out += L"      <Rows>\n";
            for (size_t i = 0; i < family.rowCount; i += kFinishEvery) {
                out += L"        <CellString RowId=\"";
                out += family.rowIds[i];
                out += L"\">";
                AppendEscaped(out, language.finishCell);
                out += L"</CellString>\n";
            }
            out += L"      </Rows>\n";
        } else if (id == L"DESCRIPTION") {
            Element(out, L"      ", L"ColumnwideValue", language.description);
        }
        out += L"    </ColumnStrings>\n";
    }
    out += L"  </Table>\n</LocalizedStrings>\n";
    return out;
}

// The formula columns of the chains shape, in document order: id and formula, all in mm.
struct ChainColumn {
    const wchar_t* id;
    const wchar_t* formula;
};

constexpr std::array<ChainColumn, 20> kChainColumns = {{
    {L"a1", L"{d}*1.5"},      {L"a2", L"{a1}+{P}"},       {L"a3", L"{a2}*2"},
    {L"a4", L"{a3}-{d}"},     {L"a5", L"{a4}/2"},         {L"b1", L"{l}+{d}"},
    {L"b2", L"{b1}*1.1"},     {L"b3", L"{b2}-{P}"},       {L"b4", L"{b3}/3"},
    {L"b5", L"{b4}+{a5}"},    {L"c1", L"{a5}+{b5}"},      {L"c2", L"{c1}*0.5"},
    {L"c3", L"{c2}+{l}"},     {L"c4", L"{c3}-{P}*2"},     {L"c5", L"{c4}*1.25"},
    {L"e1", L"{c5}-{l}/4"},   {L"e2", L"{e1}*3"},         {L"e3", L"{e2}+{b3}"},
    {L"e4", L"{e3}/{d}*{P}"}, {L"e5", L"{e4}+{a1}+{c2}"},
}};

std::wstring ChainsFamilyXml(const GeneratedFamily& family) {
    std::wstring xml;
    xml.reserve(4096 + family.rowCount * 260);
    xml += L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Family";
    Attr(xml, L"InternalName", Guid(family.rowCount, 5));
    Attr(xml, L"DisplayName", L"Benchmark chains " + std::to_wstring(family.rowCount));
    Attr(xml, L"FolderName", L"bench-chains");
    xml += L">\n  <FamilyTable>\n    <Columns>\n";
    auto column = [&](const wchar_t* id, const wchar_t* type, const wchar_t* unit,
                      const wchar_t* formula, bool hidden) {
        xml += L"      <Column";
        Attr(xml, L"ColumnId", id);
        Attr(xml, L"Title", id);
        Attr(xml, L"ValueType", type);
        if (*unit)
            Attr(xml, L"UnitType", unit);
        if (*formula)
            Attr(xml, L"ColumnwideValue", formula);
        Attr(xml, L"Hidden", hidden ? L"true" : L"false");
        xml += L"/>\n";
    };
    column(L"RID", L"string", L"", L"", true);
    column(L"d", L"double", L"mm", L"", false);
    column(L"l", L"double", L"mm", L"", false);
    column(L"P", L"double", L"mm", L"", false);
    for (const ChainColumn& chain : kChainColumns)
        column(chain.id, L"double", L"mm", chain.formula, false);
    xml += L"    </Columns>\n    <Rows>\n";
    for (size_t i = 0; i < family.rowCount; ++i) {
        const RowData row = RowAt(i);
        xml += L"      <Row RowId=\"";
        xml += family.rowIds[i];
        xml += L"\">\n";
        Cell(xml, L"RID", family.rowIds[i]);
        Cell(xml, L"d", row.d);
        Cell(xml, L"l", row.l);
        Cell(xml, L"P", row.P);
        xml += L"      </Row>\n";
    }
    xml += L"    </Rows>\n  </FamilyTable>\n</Family>\n";
    return xml;
}

std::wstring ChainsStringDocument(const wchar_t* tag, bool german) {
    std::wstring out = L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LocalizedStrings";
    Attr(out, L"xml:lang", tag);
    out += L">\n";
    Element(out, L"  ", L"DisplayName", german ? L"Ketten (generiert)" : L"Benchmark chains");
    out += L"  <Table>\n";
    for (const ChainColumn& chain : kChainColumns) {
        out += L"    <ColumnStrings ColumnId=\"";
        out += chain.id;
        out += L"\">\n";
        Element(out, L"      ", L"Title",
                (german ? L"Ma\u00df " : L"Dimension ") + std::wstring(chain.id));
        out += L"    </ColumnStrings>\n";
    }
    out += L"  </Table>\n</LocalizedStrings>\n";
    return out;
}

} // namespace

const char* FamilyShapeName(FamilyShape shape) {
    return shape == FamilyShape::Chains ? "chains" : "screws";
}

size_t GeneratedFamily::Utf8Bytes() const {
    size_t bytes = familyUtf8.size();
    for (const std::string& text : stringDocumentsUtf8)
        bytes += text.size();
    return bytes;
}

GeneratedFamily GenerateFamily(size_t rows, FamilyShape shape) {
    GeneratedFamily family;
    family.shape = shape;
    family.rowCount = rows;
    family.internalName = Guid(rows, shape == FamilyShape::Chains ? 5 : 3);
    family.rowIds.reserve(rows);
    for (size_t i = 0; i < rows; ++i)
        family.rowIds.push_back(Guid(i, 1));
    if (shape == FamilyShape::Chains) {
        for (const wchar_t* id : {L"RID", L"d", L"l", L"P"})
            family.columnIds.push_back(id);
        for (const ChainColumn& chain : kChainColumns)
            family.columnIds.push_back(chain.id);
        family.familyXml = ChainsFamilyXml(family);
        family.cellElements = rows * 4;
        family.stringDocuments.push_back(ChainsStringDocument(L"en-US", false));
        family.stringDocuments.push_back(ChainsStringDocument(L"de-DE", true));
        family.familyUtf8 = platform::ToUtf8(family.familyXml);
        for (const std::wstring& text : family.stringDocuments)
            family.stringDocumentsUtf8.push_back(platform::ToUtf8(text));
        return family;
    }
    for (const ColumnDefinition& column : kColumns)
        family.columnIds.push_back(column.id);

    std::wstring& xml = family.familyXml;
    xml.reserve(16384 + rows * 900);
    AppendHeader(xml, rows);
    AppendColumns(xml);
    xml += L"    <Rows>\n";
    family.hostCalls.reserve(rows * 5);
    for (size_t i = 0; i < rows; ++i)
        family.cellElements += AppendRow(xml, i, family.rowIds[i], family.hostCalls);
    xml += L"    </Rows>\n  </FamilyTable>\n</Family>\n";

    static const Language kEnglish = {L"en-US", L"black oxide", L"zinc plated",
                                      L"\"Socket head cap screw - M\" & {d}", false};
    static const Language kGerman = {L"de-DE", L"br\u00fcniert", L"galvanisch verzinkt",
                                     L"\"Zylinderschraube mit Innensechskant - M\" & {d}", true};
    family.stringDocuments.push_back(StringDocument(kEnglish, family));
    family.stringDocuments.push_back(StringDocument(kGerman, family));

    family.familyUtf8 = platform::ToUtf8(family.familyXml);
    for (const std::wstring& text : family.stringDocuments)
        family.stringDocumentsUtf8.push_back(platform::ToUtf8(text));
    return family;
}

} // namespace torvex::bench
