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
#include <tuple>
#include <utility>
#include <vector>

namespace torvex {
namespace {

using test::NullProvider;
using test::TableXml;
using E = CTableEvaluator;
using Result = E::EvaluateResult;

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

std::unique_ptr<CEncapFamily> Open(const WideString& columns, const WideString& rows,
                                   IEvaluatorProvider* provider = nullptr,
                                   const wchar_t* cacheFolder = nullptr) {
    const WideString xml = L"<F><FamilyTable><Columns>" + columns + L"</Columns><Rows>" + rows +
                           L"</Rows></FamilyTable></F>";
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
    EXPECT_EQ(table.GetValue(row, column, value), E::EvalOk) << row << column;
    return value;
}

// Reads every cell, so that each is cached.
void ReadAll(CEncapFamilyTable& table) {
    for (const WideString& row : table.GetAllRowIDs())
        for (const WideString& column : table.GetAllColumnIDs())
            Value(table, row.c_str(), column.c_str());
}

WideString StringColumn(const WideString& id, const WideString& more = L"") {
    return L"<Column ColumnId=\"" + id + L"\" ValueType=\"string\"" + more + L"/>";
}

// A formula on a column of literals removes its cells; on an expression column it keeps the
// overrides; the empty formula clears formula and custom flag; a loop is refused and nothing
// moves. Cells recompute from what they now refer to.
TEST(ValuesAndFormulas, FormulaChangesAndWhatTheyDoToTheCells) {
    const WideString rows = L"<Row RowId=\"r1\"><Cell ColumnId=\"lit\">a</Cell>"
                            L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"src\">s1</Cell>"
                            L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"lit\">b</Cell>"
                            L"<Cell ColumnId=\"src\">s2</Cell></Row>";
    const WideString lit = StringColumn(L"lit");
    const WideString expr = StringColumn(L"expr", L" ColumnwideValue=\"{src}\"");
    const WideString src = StringColumn(L"src");
    struct Case {
        const wchar_t* column;
        const wchar_t* formula; // null: SetEmptyFormula
        Result result;
        WideString columns;
        WideString rows;
        std::vector<const wchar_t*> values; // r1 lit, r1 expr, r2 lit, r2 expr
    };
    const Case cases[] = {
        {L"lit",
         L"{src}",
         E::EvalOk,
         StringColumn(L"lit", L" ColumnwideValue=\"{src}\"") + expr + src,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"src\">s1</Cell>"
         L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"src\">s2</Cell></Row>",
         {L"s1", L"own", L"s2", L"s2"}},
        {L"expr",
         L"{lit}",
         E::EvalOk,
         lit + StringColumn(L"expr", L" ColumnwideValue=\"{lit}\"") + src,
         rows,
         {L"a", L"own", L"b", L"b"}},
        {L"expr",
         nullptr,
         E::EvalOk,
         lit + StringColumn(L"expr", L" ColumnwideValue=\"\" Custom=\"false\"") + src,
         rows,
         {L"a", L"own", L"b", L""}},
        {L"lit",
         nullptr,
         E::EvalOk,
         StringColumn(L"lit", L" Custom=\"false\"") + expr + src,
         rows,
         {L"a", L"own", L"b", L"s2"}},
        {L"src",
         L"{expr}",
         E::EvalCircularDependency,
         lit + expr + src,
         rows,
         {L"a", L"own", L"b", L"s2"}},
    };
    for (const Case& c : cases) {
        auto family = Open(lit + expr + src, rows);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        CEncapFamilyColumn& column = *table.GetFamilyColumnByID(c.column);
        EXPECT_EQ(c.formula ? column.SetFormula(c.formula) : column.SetEmptyFormula(), c.result);
        EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + c.columns + L"</Columns><Rows>" +
                                         c.rows + L"</Rows></FamilyTable>")
            << c.column;
        const std::vector<WideString> values{
            Value(table, L"r1", L"lit"), Value(table, L"r1", L"expr"), Value(table, L"r2", L"lit"),
            Value(table, L"r2", L"expr")};
        EXPECT_EQ(values, std::vector<WideString>(c.values.begin(), c.values.end())) << c.column;
    }
}

// The formula in force changes nothing, not even a stale cached value; a Real column's formula
// takes the caller's comma as a point outside the references, and drops the cached values.
TEST(ValuesAndFormulas, PresentFormulaChangesNothingAndRealFormulasKeepAPoint) {
    auto family =
        Open(L"<Column ColumnId=\"len\" ValueType=\"double\"/>" +
                 StringColumn(L"e", L" ColumnwideValue=\"{len}\""),
             L"<Row RowId=\"r\"><Cell ColumnId=\"e\">own</Cell></Row>", new AcceptingProvider());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    CEncapFamilyColumn& e = *table.GetFamilyColumnByID(L"e");
    table.GetValueCache()->SetValue(L"r", L"e", L"", L"stale");
    const WideString before = TableXml(*family);
    EXPECT_EQ(e.SetFormula(L"{len}"), E::EvalOk);
    EXPECT_EQ(TableXml(*family), before);
    EXPECT_EQ(Cached(table, L"r", L"e"), L"stale");
    e.SetDataType(DataTypes::DataReal);
    EXPECT_EQ(e.SetFormula(L"{len}*1,5"), E::EvalOk);
    WideString formula;
    e.GetFormula(formula);
    EXPECT_EQ(formula, L"{len}*1.5");
    EXPECT_NE(TableXml(*family).find(L"ColumnwideValue=\"{len}*1.5\""), WideString::npos);
    EXPECT_EQ(Cached(table, L"r", L"e"), std::nullopt);
}

// A rejected formula (loop 1, unknown column 5, broken braces 2, type 6) leaves document, member,
// graph and cache as they were; a pure check leaves them whatever it answers.
TEST(ValuesAndFormulas, RejectedFormulasLeaveDocumentMemberAndGraph) {
    const WideString columns =
        StringColumn(L"a", L" ColumnwideValue=\"{b}\"") + StringColumn(L"b") +
        StringColumn(L"c", L" ColumnwideValue=\"z\"") +
        L"<Column ColumnId=\"t\" ValueType=\"boolean\" ColumnwideValue=\"true\"/>";
    const struct {
        const wchar_t* column;
        const wchar_t* formula;
        bool set; // SetFormula, else ValidateNormalFormula
        Result result;
    } cases[] = {
        {L"b", L"{a}", true, E::EvalCircularDependency},
        {L"a", L"{a}", true, E::EvalCircularDependency},
        {L"b", L"{nope}", true, E::EvalUnknownColumn},
        {L"b", L"{a", true, E::EvalSyntaxError},
        {L"b", L"}a{", true, E::EvalSyntaxError},
        {L"t", L"maybe", true, E::EvalTypeMismatch},
        {L"b", L"{c}", false, E::EvalOk},
        {L"b", L"{a}", false, E::EvalCircularDependency},
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

// A write with invalidation drops the cached values of the cell's dependents in its row (and
// theirs); a formula change drops its column and dependents in every row; nothing else goes.
TEST(ValuesAndFormulas, InvalidationReachesDependentColumnsAndNoFurther) {
    // base <- dep <- dep2; other <- side; plain stands alone.
    const WideString columns =
        StringColumn(L"base") + StringColumn(L"dep", L" ColumnwideValue=\"{base}&amp;-d\"") +
        StringColumn(L"dep2", L" ColumnwideValue=\"{dep}&amp;-e\"") + StringColumn(L"other") +
        StringColumn(L"side", L" ColumnwideValue=\"{other}\"") + StringColumn(L"plain");
    const wchar_t* rows = L"<Row RowId=\"r1\"><Cell ColumnId=\"base\">b1</Cell>"
                          L"<Cell ColumnId=\"other\">o1</Cell><Cell ColumnId=\"plain\">p</Cell>"
                          L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"base\">b2</Cell></Row>";
    using Cell = std::pair<WideString, WideString>;
    using Edit = std::function<void(CEncapFamilyTable&)>;
    auto set = [](const wchar_t* row, const wchar_t* column, bool invalidate) -> Edit {
        return [=](CEncapFamilyTable& t) { t.SetValue(row, column, L"X", invalidate); };
    };
    auto formula = [](const wchar_t* column, const wchar_t* text) -> Edit {
        return [=](CEncapFamilyTable& t) { t.GetFamilyColumnByID(column)->SetFormula(text); };
    };
    auto clear = [](const wchar_t* column) -> Edit {
        return [=](CEncapFamilyTable& t) { t.ClearCachedValue(L"r1", column); };
    };
    const struct {
        Edit edit;
        std::set<Cell> gone;
    } cases[] = {
        {set(L"r1", L"base", true), {{L"r1", L"dep"}, {L"r1", L"dep2"}}},
        {set(L"r1", L"base", false), {}},
        {set(L"r2", L"dep", true), {{L"r2", L"dep2"}}},
        {formula(L"dep", L"{base}"),
         {{L"r1", L"dep"}, {L"r1", L"dep2"}, {L"r2", L"dep"}, {L"r2", L"dep2"}}},
        {formula(L"other", L"{plain}"),
         {{L"r1", L"other"}, {L"r1", L"side"}, {L"r2", L"other"}, {L"r2", L"side"}}},
        {clear(L"base"), {{L"r1", L"base"}}},
        {clear(L"zz"), {}},
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
        EXPECT_EQ(gone, c.gone) << &c - cases;
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

// A Real cell is stored with a point when it is a number, the cache keeping the caller's text;
// the empty value gives the cell back to the formula (the old value stays cached unless
// invalidated); a material column caches the material's name, never the text written.
TEST(ValuesAndFormulas, WritesReachTheDocumentAndTheCache) {
    const WideString columns =
        L"<Column ColumnId=\"real\" ValueType=\"double\"/>" + StringColumn(L"text") +
        StringColumn(L"expr", L" ColumnwideValue=\"{text}\"") + StringColumn(L"mat");
    const WideString kept = L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">t</Cell>";
    // cells: the row's Cell elements afterwards
    using Case =
        std::tuple<const wchar_t*, const wchar_t*, bool, WideString, std::optional<WideString>>;
    const Case cases[] = {
        {L"real", L"2,5", false, kept + L"<Cell ColumnId=\"real\">2.5</Cell>", L"2,5"},
        {L"real", L"1,5 mm", false, kept + L"<Cell ColumnId=\"real\">1,5 mm</Cell>", L"1,5 mm"},
        {L"text", L"2,5", false,
         L"<Cell ColumnId=\"expr\">own</Cell><Cell ColumnId=\"text\">2,5</Cell>", L"2,5"},
        {L"expr", L"", false, L"<Cell ColumnId=\"text\">t</Cell>", L"own"},
        {L"expr", L"", true, L"<Cell ColumnId=\"text\">t</Cell>", std::nullopt},
        {L"mat", L"steel", false, kept + L"<Cell ColumnId=\"mat\">steel</Cell>", std::nullopt},
        {L"zz", L"x", true, kept, std::nullopt},
    };
    for (const auto& [column, value, invalidate, cells, cached] : cases) {
        auto family = Open(columns, L"<Row RowId=\"r\">" + kept + L"</Row>");
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        table.GetFamilyColumnByID(L"mat")->SetColumnType(CEncapFamilyColumn::ColumnTypeMaterial);
        Value(table, L"r", L"expr");
        table.SetValue(L"r", column, value, invalidate);
        WideString xml;
        table.GetFamilyRowByID(L"r")->GetXMLNode().GetXml(xml);
        EXPECT_EQ(xml, L"<Row RowId=\"r\">" + cells + L"</Row>") << column;
        EXPECT_EQ(Cached(table, L"r", column), cached) << column;
    }
}

// Unique values compare file names ignoring case and anything else exactly; a value that fails
// answers false with its result; no row leaves the result alone; an unknown column answers 5.
TEST(ValuesAndFormulas, UniqueValuesCompareFileNamesWithoutCase) {
    const auto fileName = CEncapFamilyColumn::ColumnTypeFileName;
    const auto normal = CEncapFamilyColumn::ColumnTypeNormal;
    const struct {
        CEncapFamilyColumn::ColumnType kind;
        const wchar_t* type;
        const wchar_t* first;
        const wchar_t* second;
        bool unique;
        Result result;
    } cases[] = {
        {fileName, L"string", L"Bolt.dat", L"bolt.DAT", false, E::EvalOk},
        {normal, L"string", L"Bolt.dat", L"bolt.DAT", true, E::EvalOk},
        {normal, L"string", L"a", L"a", false, E::EvalOk},
        {fileName, L"boolean", L"true", L"maybe", false, E::EvalTypeMismatch},
    };
    for (const auto& c : cases) {
        auto family = Open(L"<Column ColumnId=\"f\" ValueType=\"" + WideString(c.type) + L"\"/>",
                           L"<Row RowId=\"r1\"><Cell ColumnId=\"f\">" + WideString(c.first) +
                               L"</Cell></Row><Row RowId=\"r2\"><Cell ColumnId=\"f\">" + c.second +
                               L"</Cell></Row>");
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        table.GetFamilyColumnByID(L"f")->SetColumnType(c.kind);
        Result result = E::EvalNoValue;
        EXPECT_EQ(table.HasColumnUniqueValues(L"f", result), c.unique) << c.first << c.second;
        EXPECT_EQ(result, c.result) << c.first << c.second;
    }
    auto family = Open(StringColumn(L"f"), L"");
    Result result = E::EvalNoValue;
    EXPECT_TRUE(family->GetEncapFamilyTable()->HasColumnUniqueValues(L"f", result));
    EXPECT_EQ(result, E::EvalNoValue);
    EXPECT_FALSE(family->GetEncapFamilyTable()->HasColumnUniqueValues(L"zz", result));
    EXPECT_EQ(result, E::EvalUnknownColumn);
}

// Overrides are the rows with their own Cell in an expression column; raw values are the
// column's distinct texts, its formula included; cell queries ignore the column id's case.
TEST(ValuesAndFormulas, OverridesAndRawValuesOfAColumn) {
    auto family = Open(
        StringColumn(L"expr", L" ColumnwideValue=\"{lit}\"") + StringColumn(L"lit"),
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

// A member's material is its cell, else the column formula (for unknown rows too), once there
// is a material column; names and reference keys come from the host whatever its status.
TEST(ValuesAndFormulas, MaterialOfAMemberFallsBackToTheColumnFormula) {
    auto family = Open(StringColumn(L"m", L" ColumnwideValue=\"Steel\""),
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
}

// SetStatusColValue writes the status cell by row index and sets the row's suppression from it
// (an empty text removes the cell); through SetValue the flag doesn't follow; indexes out of
// range change nothing; the status write leaves the cached value alone.
TEST(ValuesAndFormulas, StatusWritesAndWritesByIndex) {
    auto family = Open(StringColumn(L"Status") + StringColumn(L"v"),
                       L"<Row RowId=\"r1\"/><Row RowId=\"r2\"/>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    Value(table, L"r1", L"Status");
    const WideString r2 = L"<Row RowId=\"r2\"><Cell ColumnId=\"Status\">Suppressed</Cell>";
    const struct {
        std::function<void()> edit;
        bool suppressed1;
        WideString rows;
    } steps[] = {
        {[&] { table.SetStatusColValue(0, L"suppressed"); }, true,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"Status\">suppressed</Cell></Row><Row RowId=\"r2\"/>"},
        {[&] { table.SetValue(L"r2", L"STATUS", L"Suppressed", false); }, true,
         L"<Row RowId=\"r1\"><Cell ColumnId=\"Status\">suppressed</Cell></Row>" + r2 + L"</Row>"},
        {[&] { table.SetStatusColValue(0, L""); }, false, L"<Row RowId=\"r1\"/>" + r2 + L"</Row>"},
        {[&] { table.SetStatusColValue(2, L"Suppressed"); }, false,
         L"<Row RowId=\"r1\"/>" + r2 + L"</Row>"},
        {[&] { table.SetValue(1, L"v", L"w", false); }, false,
         L"<Row RowId=\"r1\"/>" + r2 + L"<Cell ColumnId=\"v\">w</Cell></Row>"},
        {[&] { table.SetValue(-1, L"v", L"w", false); }, false,
         L"<Row RowId=\"r1\"/>" + r2 + L"<Cell ColumnId=\"v\">w</Cell></Row>"},
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        steps[i].edit();
        EXPECT_EQ(table.IsRowSuppressed(L"r1"), steps[i].suppressed1) << i;
        EXPECT_FALSE(table.IsRowSuppressed(L"R2")) << i;
        EXPECT_NE(TableXml(*family).find(L"<Rows>" + steps[i].rows + L"</Rows>"), WideString::npos)
            << i;
    }
    EXPECT_FALSE(table.IsRowSuppressed(L"nope"));
    table.SetStatusColValue(0, L"Suppressed");
    EXPECT_TRUE(table.IsRowSuppressed(L"r1"));
    EXPECT_EQ(Cached(table, L"r1", L"Status"), L"");
}

// The table writes its cache file at its end only when no edit reached the document: reads, the
// formula in force and rejected formulas leave it; every write forgets the file.
TEST(ValuesAndFormulas, OnlyATableThatWasNotEditedWritesItsCacheFile) {
    const WideString columns = StringColumn(L"STATUS") + StringColumn(L"a") +
                               StringColumn(L"e", L" ColumnwideValue=\"{a}\"");
    using Edit = std::function<void(CEncapFamilyTable&)>;
    auto formula = [](const wchar_t* column, const wchar_t* text) -> Edit {
        return [=](CEncapFamilyTable& t) {
            text ? t.GetFamilyColumnByID(column)->SetFormula(text)
                 : t.GetFamilyColumnByID(column)->SetEmptyFormula();
        };
    };
    using Case = std::tuple<const char*, Edit, size_t>;
    const Case cases[] = {
        {"read only", [](auto&) {}, 1},
        {"present formula", formula(L"e", L"{a}"), 1},
        {"rejected formula", formula(L"a", L"{e}"), 1},
        {"SetValue", [](auto& t) { t.SetValue(L"r", L"a", L"2", false); }, 0},
        {"SetFormula", formula(L"e", L"x"), 0},
        {"SetEmptyFormula", formula(L"e", nullptr), 0},
        {"SetStatusColValue", [](auto& t) { t.SetStatusColValue(0, L"Suppressed"); }, 0},
        {"SetColumnDataType", [](auto& t) { t.SetColumnDataType(L"a", DataTypes::DataBoolean); },
         0},
        {"InsertNewColumn", [](auto& t) { t.InsertNewColumn(0, L"n"); }, 0},
    };
    for (const auto& [name, edit, files] : cases) {
        const std::filesystem::path folder = test::FreshDirectory();
        {
            auto family = Open(columns, L"<Row RowId=\"r\"><Cell ColumnId=\"a\">1</Cell></Row>",
                               nullptr, folder.wstring().c_str());
            ReadAll(*family->GetEncapFamilyTable());
            edit(*family->GetEncapFamilyTable());
        }
        EXPECT_EQ(test::CacheFilesIn(folder), files) << name;
        std::filesystem::remove_all(folder);
    }
}

} // namespace
} // namespace torvex
