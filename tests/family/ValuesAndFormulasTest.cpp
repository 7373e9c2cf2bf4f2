// Cell values and column formulas through the table: what a formula change does to the cells,
// rejected formulas, how far invalidation reaches, how a write reaches the document and the
// cache, the queries over a column's values and overrides, the status column, and when the
// cache file is written.
//
// The localized halves of these writes (string documents) store nothing yet, so only the family
// document is compared here.

#include "FamilyTestSupport.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace torvex {
namespace {

using test::NullProvider;
using test::TableXml;
using Result = CTableEvaluator::EvaluateResult;

// A host that computes nothing but accepts every expression as 1, and names materials.
class AcceptingProvider : public NullProvider {
public:
    int32_t EvaluateToDouble(const wchar_t*, const wchar_t*, double* value) override {
        *value = 1.0;
        return 0;
    }
    // The status is a failure on purpose: the table ignores it.
    int32_t GetMaterialName(const wchar_t* key, WideString* name) override {
        *name = L"<" + WideString(key) + L">";
        return -1;
    }
    int32_t GetMaterialRefKey(const wchar_t* key, WideString* refKey) override {
        *refKey = L"ref:" + WideString(key);
        return 0;
    }
};

WideString Document(const WideString& columns, const WideString& rows) {
    return L"<F><FamilyTable><Columns>" + columns + L"</Columns><Rows>" + rows +
           L"</Rows></FamilyTable></F>";
}

std::unique_ptr<CEncapFamily> Open(const WideString& columns, const WideString& rows,
                                   IEvaluatorProvider* provider = nullptr,
                                   const wchar_t* cacheFolder = nullptr) {
    const WideString xml = Document(columns, rows);
    return std::make_unique<CEncapFamily>(xml.c_str(), WideStringList{}, cacheFolder,
                                          provider ? provider : new NullProvider(), false);
}

// The cached value of a cell in the actual language (none here), if any.
std::optional<WideString> Cached(CEncapFamilyTable& table, const wchar_t* row,
                                 const wchar_t* column) {
    WideString value;
    if (table.GetValueCache()->GetValue(row, column, L"", value) != 0)
        return std::nullopt;
    return value;
}

WideString Value(CEncapFamilyTable& table, const wchar_t* row, const wchar_t* column) {
    WideString value;
    EXPECT_EQ(table.GetValue(row, column, value), CTableEvaluator::EvalOk) << row << column;
    return value;
}

// Reads every cell, so that each is cached.
void ReadAll(CEncapFamilyTable& table) {
    for (const WideString& row : table.GetAllRowIDs())
        for (const WideString& column : table.GetAllColumnIDs())
            Value(table, row.c_str(), column.c_str());
}

TEST(ValuesAndFormulas, FormulaChangesAndWhatTheyDoToTheCells) {
    const WideString rows = L"<Row RowId=\"r1\"><Cell ColumnId=\"lit\">a</Cell>"
                            L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"src\">s1</Cell>"
                            L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"lit\">b</Cell>"
                            L"<Cell ColumnId=\"src\">s2</Cell></Row>";
    const WideString lit = L"<Column ColumnId=\"lit\" ValueType=\"string\"/>";
    const WideString expr = L"<Column ColumnId=\"expr\" ValueType=\"string\" "
                            L"ColumnwideValue=\"{src}\"/>";
    const WideString src = L"<Column ColumnId=\"src\" ValueType=\"string\"/>";
    auto on = [](const wchar_t* id, std::function<Result(CEncapFamilyColumn&)> edit) {
        return [id, edit](CEncapFamilyTable& t) { return edit(*t.GetFamilyColumnByID(id)); };
    };
    struct Case {
        std::function<Result(CEncapFamilyTable&)> edit;
        Result result;
        WideString columns;
        WideString rows;
        std::vector<const wchar_t*> values; // r1 lit, r1 expr, r2 lit, r2 expr
    };
    const Case cases[] = {
        // A column of literals gives up its cells to the new formula.
        {on(L"lit", [](auto& c) { return c.SetFormula(L"{src}"); }),
         CTableEvaluator::EvalOk,
         L"<Column ColumnId=\"lit\" ValueType=\"string\" ColumnwideValue=\"{src}\"/>" + expr + src,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"src\">s1</Cell>"
         L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"src\">s2</Cell></Row>",
         {L"s1", L"own", L"s2", L"s2"}},
        // An expression column keeps its overrides; the others recompute.
        {on(L"expr", [](auto& c) { return c.SetFormula(L"{lit}"); }),
         CTableEvaluator::EvalOk,
         lit + L"<Column ColumnId=\"expr\" ValueType=\"string\" ColumnwideValue=\"{lit}\"/>" + src,
         rows,
         {L"a", L"own", L"b", L"b"}},
        // The empty formula clears the custom flag and the formula, and keeps the overrides.
        {on(L"expr", [](auto& c) { return c.SetEmptyFormula(); }),
         CTableEvaluator::EvalOk,
         lit +
             L"<Column ColumnId=\"expr\" ValueType=\"string\" ColumnwideValue=\"\" "
             L"Custom=\"false\"/>" +
             src,
         rows,
         {L"a", L"own", L"b", L""}},
        // A column without formula: only the custom flag is written.
        {on(L"lit", [](auto& c) { return c.SetEmptyFormula(); }),
         CTableEvaluator::EvalOk,
         L"<Column ColumnId=\"lit\" ValueType=\"string\" Custom=\"false\"/>" + expr + src,
         rows,
         {L"a", L"own", L"b", L"s2"}},
        // Through the graph: a loop is refused and nothing moves.
        {on(L"src", [](auto& c) { return c.SetFormula(L"{expr}"); }),
         CTableEvaluator::EvalCircularDependency,
         lit + expr + src,
         rows,
         {L"a", L"own", L"b", L"s2"}},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        auto family = Open(lit + expr + src, rows);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        EXPECT_EQ(c.edit(table), c.result) << i;
        EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + c.columns + L"</Columns><Rows>" +
                                         c.rows + L"</Rows></FamilyTable>")
            << i;
        const std::vector<WideString> values{
            Value(table, L"r1", L"lit"), Value(table, L"r1", L"expr"), Value(table, L"r2", L"lit"),
            Value(table, L"r2", L"expr")};
        EXPECT_EQ(values, std::vector<WideString>(c.values.begin(), c.values.end())) << i;
    }
}

TEST(ValuesAndFormulas, PresentFormulaChangesNothingAndRealFormulasKeepAPoint) {
    auto family =
        Open(L"<Column ColumnId=\"len\" ValueType=\"double\"/>"
             L"<Column ColumnId=\"e\" ValueType=\"string\" ColumnwideValue=\"{len}\"/>",
             L"<Row RowId=\"r\"><Cell ColumnId=\"e\">own</Cell></Row>", new AcceptingProvider());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    CEncapFamilyColumn& e = *table.GetFamilyColumnByID(L"e");
    // Even a cached value that no longer matches anything stays.
    table.GetValueCache()->SetValue(L"r", L"e", L"", L"stale");
    const WideString before = TableXml(*family);
    EXPECT_EQ(e.SetFormula(L"{len}"), CTableEvaluator::EvalOk);
    EXPECT_EQ(TableXml(*family), before);
    EXPECT_EQ(Cached(table, L"r", L"e"), L"stale");

    // The caller's comma becomes a point outside the references.
    e.SetDataType(DataTypes::DataReal);
    EXPECT_EQ(e.SetFormula(L"{len}*1,5"), CTableEvaluator::EvalOk);
    WideString formula;
    e.GetFormula(formula);
    EXPECT_EQ(formula, L"{len}*1.5");
    EXPECT_NE(TableXml(*family).find(L"ColumnwideValue=\"{len}*1.5\""), WideString::npos);
    EXPECT_EQ(Cached(table, L"r", L"e"), std::nullopt);
}

TEST(ValuesAndFormulas, RejectedFormulasLeaveDocumentMemberAndGraph) {
    const wchar_t* columns =
        L"<Column ColumnId=\"a\" ValueType=\"string\" ColumnwideValue=\"{b}\"/>"
        L"<Column ColumnId=\"b\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"c\" ValueType=\"string\" ColumnwideValue=\"z\"/>"
        L"<Column ColumnId=\"t\" ValueType=\"boolean\" ColumnwideValue=\"true\"/>";
    const struct {
        const wchar_t* column;
        const wchar_t* formula;
        bool set; // SetFormula, else ValidateNormalFormula
        Result result;
    } cases[] = {
        {L"b", L"{a}", true, CTableEvaluator::EvalCircularDependency},
        {L"a", L"{a}", true, CTableEvaluator::EvalCircularDependency},
        {L"b", L"{nope}", true, CTableEvaluator::EvalUnknownColumn},
        {L"b", L"{a", true, CTableEvaluator::EvalSyntaxError},
        {L"b", L"}a{", true, CTableEvaluator::EvalSyntaxError},
        {L"t", L"maybe", true, CTableEvaluator::EvalTypeMismatch},
        // A pure check leaves the graph on the formula in force whatever it answers.
        {L"b", L"{c}", false, CTableEvaluator::EvalOk},
        {L"b", L"{a}", false, CTableEvaluator::EvalCircularDependency},
    };
    for (const auto& c : cases) {
        auto family = Open(columns, L"<Row RowId=\"r\"><Cell ColumnId=\"b\">1</Cell></Row>");
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        std::map<WideString, CEncapFamilyColumn::ColumnSet> graph;
        for (const WideString& id : table.GetAllColumnIDs())
            graph[id] = table.GetFamilyColumnByID(id.c_str())->GetDependantColumns();
        const WideString before = test::RootXml(*family);
        CEncapFamilyColumn& column = *table.GetFamilyColumnByID(c.column);
        WideString former;
        column.GetFormula(former);

        const Result result = c.set ? column.SetFormula(c.formula)
                                    : column.ValidateNormalFormula(c.formula, WideString());
        EXPECT_EQ(result, c.result) << c.column << " " << c.formula;
        EXPECT_EQ(test::RootXml(*family), before) << c.formula;
        WideString now;
        column.GetFormula(now);
        EXPECT_EQ(now, former) << c.formula;
        for (const WideString& id : table.GetAllColumnIDs())
            EXPECT_EQ(table.GetFamilyColumnByID(id.c_str())->GetDependantColumns(), graph[id])
                << c.formula << " / " << id;
        EXPECT_EQ(Cached(table, L"r", L"a"), L"1") << c.formula;
    }
}

TEST(ValuesAndFormulas, InvalidationReachesDependentColumnsAndNoFurther) {
    // base <- dep <- dep2; other <- side; plain stands alone.
    const wchar_t* columns =
        L"<Column ColumnId=\"base\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"dep\" ValueType=\"string\" ColumnwideValue=\"{base}&amp;-d\"/>"
        L"<Column ColumnId=\"dep2\" ValueType=\"string\" ColumnwideValue=\"{dep}&amp;-e\"/>"
        L"<Column ColumnId=\"other\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"side\" ValueType=\"string\" ColumnwideValue=\"{other}\"/>"
        L"<Column ColumnId=\"plain\" ValueType=\"string\"/>";
    const wchar_t* rows = L"<Row RowId=\"r1\"><Cell ColumnId=\"base\">b1</Cell>"
                          L"<Cell ColumnId=\"other\">o1</Cell><Cell ColumnId=\"plain\">p</Cell>"
                          L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"base\">b2</Cell></Row>";
    using Cell = std::pair<WideString, WideString>;
    const struct {
        const char* name;
        std::function<void(CEncapFamilyTable&)> edit;
        std::set<Cell> gone;
    } cases[] = {
        {"set with invalidate",
         [](auto& t) { t.SetValue(L"r1", L"base", L"B", true); },
         {{L"r1", L"dep"}, {L"r1", L"dep2"}}},
        {"set without invalidate", [](auto& t) { t.SetValue(L"r1", L"base", L"B", false); }, {}},
        {"set in the middle",
         [](auto& t) { t.SetValue(L"r2", L"dep", L"X", true); },
         {{L"r2", L"dep2"}}},
        {"formula of a dependent",
         [](auto& t) { t.GetFamilyColumnByID(L"dep")->SetFormula(L"{base}"); },
         {{L"r1", L"dep"}, {L"r1", L"dep2"}, {L"r2", L"dep"}, {L"r2", L"dep2"}}},
        {"formula on literals",
         [](auto& t) { t.GetFamilyColumnByID(L"other")->SetFormula(L"{plain}"); },
         {{L"r1", L"other"}, {L"r1", L"side"}, {L"r2", L"other"}, {L"r2", L"side"}}},
        {"clear one value",
         [](auto& t) { t.ClearCachedValue(L"r1", L"base"); },
         {{L"r1", L"base"}}},
        {"clear an unknown column", [](auto& t) { t.ClearCachedValue(L"r1", L"zz"); }, {}},
    };
    for (const auto& c : cases) {
        auto family = Open(columns, rows);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        c.edit(table);
        std::set<Cell> gone;
        for (const WideString& row : table.GetAllRowIDs())
            for (const WideString& column : table.GetAllColumnIDs())
                if (!Cached(table, row.c_str(), column.c_str()))
                    gone.insert({row, column});
        EXPECT_EQ(gone, c.gone) << c.name;
    }

    // What was dropped recomputes from the new value; what wasn't keeps the old one.
    auto family = Open(columns, rows);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    ReadAll(table);
    table.SetValue(L"r1", L"base", L"B", true);
    table.SetValue(L"r2", L"base", L"C", false);
    EXPECT_EQ(Value(table, L"r1", L"dep2"), L"B-d-e");
    EXPECT_EQ(Value(table, L"r2", L"dep2"), L"b2-d-e");
}

TEST(ValuesAndFormulas, WritesReachTheDocumentAndTheCache) {
    const wchar_t* columns =
        L"<Column ColumnId=\"real\" ValueType=\"double\"/>"
        L"<Column ColumnId=\"text\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"expr\" ValueType=\"string\" ColumnwideValue=\"{text}\"/>"
        L"<Column ColumnId=\"mat\" ValueType=\"string\"/>";
    const wchar_t* row = L"<Row RowId=\"r\"><Cell ColumnId=\"expr\">own</Cell>"
                         L"<Cell ColumnId=\"text\">t</Cell></Row>";
    const struct {
        const wchar_t* column;
        const wchar_t* value;
        bool invalidate;
        const wchar_t* cells; // the row's Cell elements afterwards
        std::optional<WideString> cached;
    } cases[] = {
        // A Real cell is stored with a point; the cache keeps the caller's text.
        {L"real", L"2,5", false,
         L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">t</Cell>"
         L"<Cell ColumnId=\"real\">2.5</Cell>",
         L"2,5"},
        {L"real", L"1,5 mm", false,
         L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">t</Cell>"
         L"<Cell ColumnId=\"real\">1,5 mm</Cell>",
         L"1,5 mm"},
        {L"text", L"2,5", false,
         L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">2,5</Cell>", L"2,5"},
        // The empty value gives the cell back to the formula; the old value stays cached until
        // something clears it.
        {L"expr", L"", false, L"<Cell ColumnId=\"text\">t</Cell>", L"own"},
        {L"expr", L"", true, L"<Cell ColumnId=\"text\">t</Cell>", std::nullopt},
        // A material column caches the material's name, never the reference written.
        {L"mat", L"steel", false,
         L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">t</Cell>"
         L"<Cell ColumnId=\"mat\">steel</Cell>",
         std::nullopt},
        // An unknown column: nothing at all.
        {L"zz", L"x", true, L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">t</Cell>",
         std::nullopt},
    };
    for (const auto& c : cases) {
        auto family = Open(columns, row);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        table.GetFamilyColumnByID(L"mat")->SetColumnType(CEncapFamilyColumn::ColumnTypeMaterial);
        Value(table, L"r", L"expr");
        table.SetValue(L"r", c.column, c.value, c.invalidate);
        WideString xml;
        table.GetFamilyRowByID(L"r")->GetXMLNode().GetXml(xml);
        EXPECT_EQ(xml, L"<Row RowId=\"r\">" + WideString(c.cells) + L"</Row>") << c.column;
        EXPECT_EQ(Cached(table, L"r", c.column), c.cached) << c.column;
    }

    // The row id answers 0 from the raw cell, for a row that doesn't exist too.
    auto family = Open(L"<Column ColumnId=\"RID\" ValueType=\"double\"/>", L"");
    WideString value;
    EXPECT_EQ(family->GetEncapFamilyTable()->GetValue(L"nope", L"rid", value),
              CTableEvaluator::EvalOk);
}

TEST(ValuesAndFormulas, UniqueValuesCompareFileNamesWithoutCase) {
    const struct {
        CEncapFamilyColumn::ColumnType kind;
        const wchar_t* type;
        const wchar_t* first;
        const wchar_t* second;
        bool unique;
        Result result;
    } cases[] = {
        {CEncapFamilyColumn::ColumnTypeFileName, L"string", L"Bolt.dat", L"bolt.DAT", false,
         CTableEvaluator::EvalOk},
        {CEncapFamilyColumn::ColumnTypeNormal, L"string", L"Bolt.dat", L"bolt.DAT", true,
         CTableEvaluator::EvalOk},
        {CEncapFamilyColumn::ColumnTypeNormal, L"string", L"a", L"a", false,
         CTableEvaluator::EvalOk},
        {CEncapFamilyColumn::ColumnTypeFileName, L"boolean", L"true", L"maybe", false,
         CTableEvaluator::EvalTypeMismatch},
    };
    for (const auto& c : cases) {
        auto family = Open(L"<Column ColumnId=\"f\" ValueType=\"" + WideString(c.type) + L"\"/>",
                           L"<Row RowId=\"r1\"><Cell ColumnId=\"f\">" + WideString(c.first) +
                               L"</Cell></Row><Row RowId=\"r2\"><Cell ColumnId=\"f\">" + c.second +
                               L"</Cell></Row>");
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        table.GetFamilyColumnByID(L"f")->SetColumnType(c.kind);
        Result result = CTableEvaluator::EvalNoValue;
        EXPECT_EQ(table.HasColumnUniqueValues(L"f", result), c.unique) << c.first << c.second;
        EXPECT_EQ(result, c.result) << c.first << c.second;
    }

    auto family = Open(L"<Column ColumnId=\"f\" ValueType=\"string\"/>", L"");
    Result result = CTableEvaluator::EvalNoValue;
    EXPECT_TRUE(family->GetEncapFamilyTable()->HasColumnUniqueValues(L"f", result));
    EXPECT_EQ(result, CTableEvaluator::EvalNoValue) << "no row: the result is left alone";
    EXPECT_FALSE(family->GetEncapFamilyTable()->HasColumnUniqueValues(L"zz", result));
    EXPECT_EQ(result, CTableEvaluator::EvalUnknownColumn);
}

TEST(ValuesAndFormulas, OverridesAndRawValuesOfAColumn) {
    auto family = Open(
        L"<Column ColumnId=\"expr\" ValueType=\"string\" ColumnwideValue=\"{lit}\"/>"
        L"<Column ColumnId=\"lit\" ValueType=\"string\"/>",
        L"<Row RowId=\"r1\"><Cell ColumnId=\"lit\">x</Cell></Row>"
        L"<Row RowId=\"r2\"><Cell ColumnId=\"expr\">o2</Cell><Cell ColumnId=\"lit\">y</Cell></Row>"
        L"<Row RowId=\"r3\"><Cell ColumnId=\"lit\">x</Cell><Cell "
        L"ColumnId=\"expr\">o3</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const CEncapFamilyColumn& expr = *table.GetFamilyColumnByID(L"expr");
    const CEncapFamilyColumn& lit = *table.GetFamilyColumnByID(L"lit");

    EXPECT_TRUE(expr.HasExpressionColumnOverrides());
    WideStringList rows{L"kept"};
    EXPECT_TRUE(expr.GetExpressionColumnOverrides(rows));
    EXPECT_EQ(rows, (WideStringList{L"kept", L"r2", L"r3"}));
    std::set<WideString> raw{L"gone"};
    expr.GetAllUniqueRawValues(raw);
    EXPECT_EQ(raw, (std::set<WideString>{L"{lit}", L"o2", L"o3"}));

    // A column without formula has no overrides, though its cells are its raw values.
    EXPECT_FALSE(lit.HasExpressionColumnOverrides());
    rows = {L"kept"};
    EXPECT_FALSE(lit.GetExpressionColumnOverrides(rows));
    EXPECT_EQ(rows, WideStringList{L"kept"});
    lit.GetAllUniqueRawValues(raw);
    EXPECT_EQ(raw, (std::set<WideString>{L"x", L"y"}));

    const struct {
        const wchar_t* row;
        const wchar_t* column;
        bool override;
        bool expression;
    } cells[] = {
        {L"r1", L"expr", false, true}, {L"r2", L"EXPR", true, true}, {L"r1", L"lit", false, false},
        {L"r9", L"expr", false, true}, {L"r1", L"zz", false, false},
    };
    for (const auto& c : cells) {
        WideString column = c.column;
        EXPECT_EQ(table.isCellOverride(c.row, column), c.override) << c.row << c.column;
        EXPECT_EQ(table.hasColumnExpression(column), c.expression) << c.column;
    }
}

TEST(ValuesAndFormulas, MaterialOfAMemberFallsBackToTheColumnFormula) {
    auto family = Open(L"<Column ColumnId=\"m\" ValueType=\"string\" ColumnwideValue=\"Steel\"/>",
                       L"<Row RowId=\"r1\"><Cell ColumnId=\"m\">Brass</Cell></Row>"
                       L"<Row RowId=\"r2\"/>",
                       new AcceptingProvider());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    WideString out = L"x";
    EXPECT_FALSE(table.GetMemberMaterialRefId(L"r1", out)) << "no material column yet";
    EXPECT_EQ(out, L"x");
    table.GetFamilyColumnByID(L"m")->SetColumnType(CEncapFamilyColumn::ColumnTypeMaterial);
    for (const auto& [row, material] :
         {std::pair{L"r1", L"Brass"}, std::pair{L"r2", L"Steel"}, std::pair{L"nope", L"Steel"}}) {
        EXPECT_TRUE(table.GetMemberMaterialRefId(row, out)) << row;
        EXPECT_EQ(out, material) << row;
    }
    EXPECT_EQ(table.GetMaterialName(L"Brass"), L"<Brass>");
    EXPECT_EQ(table.GetMaterialRefKey(L"Brass"), L"ref:Brass");

    auto plain = Open(L"", L"");
    EXPECT_EQ(plain->GetEncapFamilyTable()->GetMaterialName(L"Brass"), L"");
    EXPECT_EQ(plain->GetEncapFamilyTable()->GetMaterialRefKey(L"Brass"), L"");
}

TEST(ValuesAndFormulas, StatusWritesAndWritesByIndex) {
    auto family = Open(L"<Column ColumnId=\"Status\" ValueType=\"string\"/>"
                       L"<Column ColumnId=\"v\" ValueType=\"string\"/>",
                       L"<Row RowId=\"r1\"/><Row RowId=\"r2\"/>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    Value(table, L"r1", L"Status");
    const struct {
        std::function<void()> edit;
        bool suppressed1, suppressed2;
        const wchar_t* rows;
    } steps[] = {
        {[&] { table.SetStatusColValue(0, L"suppressed"); }, true, false,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"Status\">suppressed</Cell></Row><Row RowId=\"r2\"/>"},
        // Through SetValue the flag doesn't follow the cell.
        {[&] { table.SetValue(L"r2", L"STATUS", L"Suppressed", false); }, true, false,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"Status\">suppressed</Cell></Row>"
         L"<Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell></Row>"},
        {[&] { table.SetStatusColValue(0, L""); }, false, false,
         L"<Row RowId=\"r1\"/><Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell></Row>"},
        {[&] { table.SetStatusColValue(2, L"Suppressed"); }, false, false,
         L"<Row RowId=\"r1\"/><Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell></Row>"},
        {[&] { table.SetValue(1, L"v", L"w", false); }, false, false,
         L"<Row RowId=\"r1\"/><Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell>"
         L"<Cell ColumnId=\"v\">w</Cell></Row>"},
        {[&] { table.SetValue(-1, L"v", L"w", false); }, false, false,
         L"<Row RowId=\"r1\"/><Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell>"
         L"<Cell ColumnId=\"v\">w</Cell></Row>"},
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        steps[i].edit();
        EXPECT_EQ(table.IsRowSuppressed(L"r1"), steps[i].suppressed1) << i;
        EXPECT_EQ(table.IsRowSuppressed(L"R2"), steps[i].suppressed2) << i;
        EXPECT_NE(TableXml(*family).find(L"<Rows>" + WideString(steps[i].rows) + L"</Rows>"),
                  WideString::npos)
            << i;
    }
    EXPECT_FALSE(table.IsRowSuppressed(L"nope"));
    // The status write leaves the cached value alone.
    table.SetStatusColValue(0, L"Suppressed");
    EXPECT_TRUE(table.IsRowSuppressed(L"r1"));
    EXPECT_EQ(Cached(table, L"r1", L"Status"), L"");
}

TEST(ValuesAndFormulas, OnlyATableThatWasNotEditedWritesItsCacheFile) {
    const wchar_t* columns =
        L"<Column ColumnId=\"STATUS\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"a\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"e\" ValueType=\"string\" ColumnwideValue=\"{a}\"/>";
    const struct {
        const char* name;
        std::function<void(CEncapFamilyTable&)> edit;
        size_t files;
    } cases[] = {
        {"read only", [](auto&) {}, 1},
        {"present formula", [](auto& t) { t.GetFamilyColumnByID(L"e")->SetFormula(L"{a}"); }, 1},
        {"rejected formula", [](auto& t) { t.GetFamilyColumnByID(L"a")->SetFormula(L"{e}"); }, 1},
        {"SetValue", [](auto& t) { t.SetValue(L"r", L"a", L"2", false); }, 0},
        {"SetFormula", [](auto& t) { t.GetFamilyColumnByID(L"e")->SetFormula(L"x"); }, 0},
        {"SetEmptyFormula", [](auto& t) { t.GetFamilyColumnByID(L"e")->SetEmptyFormula(); }, 0},
        {"SetStatusColValue", [](auto& t) { t.SetStatusColValue(0, L"Suppressed"); }, 0},
        {"SetColumnDataType", [](auto& t) { t.SetColumnDataType(L"a", DataTypes::DataBoolean); },
         0},
        {"InsertNewColumn", [](auto& t) { t.InsertNewColumn(0, L"n"); }, 0},
    };
    for (const auto& c : cases) {
        const std::filesystem::path folder = test::FreshDirectory();
        {
            auto family = Open(columns, L"<Row RowId=\"r\"><Cell ColumnId=\"a\">1</Cell></Row>",
                               nullptr, folder.wstring().c_str());
            ReadAll(*family->GetEncapFamilyTable());
            c.edit(*family->GetEncapFamilyTable());
        }
        EXPECT_EQ(test::CacheFilesIn(folder), c.files) << c.name;
        std::filesystem::remove_all(folder);
    }
}

} // namespace
} // namespace torvex
