// The graph of dependent columns: built from column formulas at load, the walks over it, and a
// loop of formulas that a document brings (no edit check ever saw it), which every walk must
// survive.

#include "TestProvider.h"

#include "torvex/evaluation/CCircularDependencyChecker.h"
#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <tuple>
#include <vector>

namespace torvex {
namespace {

using test::FamilyXml;
using test::TestFamily;
using Set = CTableEvaluator::ColumnSet;

// Looks columns up by id; null for the empty id.
struct Columns {
    CEncapFamilyTable& table;
    CEncapFamilyColumn* operator()(const wchar_t* id) const {
        return *id ? table.GetFamilyColumnByID(id) : nullptr;
    }
    Set operator()(std::initializer_list<const wchar_t*> ids) const {
        Set set;
        for (const wchar_t* id : ids)
            set.insert(table.GetFamilyColumnByID(id));
        return set;
    }
};

// The guard of a cell evaluation, with and without reused entries: the key is "row{column"
// whatever the entry held before, a second guard of a cell in progress raises its flag and
// takes nothing away, and each guard leaves the set as it found it.
TEST(Dependency, GuardMarksTheCellWhileItLives) {
    for (const bool reuse : {false, true}) {
        std::set<WideString> inProgress;
        CCircularDependencyChecker::SpareEntries spare;
        auto guard = [&](const WideString& row, const WideString& column) {
            return reuse ? std::make_unique<CCircularDependencyChecker>(row, column, &inProgress,
                                                                        &spare)
                         : std::make_unique<CCircularDependencyChecker>(row, column, &inProgress);
        };
        {
            auto outer = guard(L"row-with-a-long-id", L"COLUMN");
            EXPECT_FALSE(outer->IsAlreadyInProgress());
        }
        EXPECT_TRUE(inProgress.empty());
        EXPECT_EQ(spare.size(), reuse ? 1u : 0u);
        auto outer = guard(L"R1", L"a");
        auto inner = guard(L"R1", L"b");
        auto again = guard(L"R1", L"a");
        EXPECT_FALSE(outer->IsAlreadyInProgress());
        EXPECT_FALSE(inner->IsAlreadyInProgress());
        EXPECT_TRUE(again->IsAlreadyInProgress());
        EXPECT_EQ(inProgress, (std::set<WideString>{L"R1{a", L"R1{b"}));
        again.reset();
        EXPECT_EQ(inProgress, (std::set<WideString>{L"R1{a", L"R1{b"}));
        inner.reset();
        EXPECT_EQ(inProgress, (std::set<WideString>{L"R1{a"}));
        outer.reset();
        EXPECT_TRUE(inProgress.empty());
        // A guard without a set marks nothing and is never in progress.
        EXPECT_FALSE(
            CCircularDependencyChecker(L"R1", L"a", nullptr, &spare).IsAlreadyInProgress());
    }
}

// The graph has an edge from each column a formula refers to (ignoring case) to the formula's
// column; cell formulas add none. The walks collect all dependents, passing a given root by.
TEST(Dependency, GraphFollowsColumnFormulas) {
    // b on a, c on b, f on c and a; cells override nothing in the graph.
    TestFamily f(
        FamilyXml(L"<Column ColumnId=\"a\" ValueType=\"double\"/>"
                  L"<Column ColumnId=\"b\" ValueType=\"double\" ColumnwideValue=\"{a}*2\"/>"
                  L"<Column ColumnId=\"c\" ValueType=\"double\" ColumnwideValue=\"{B}+1\"/>"
                  L"<Column ColumnId=\"f\" ColumnwideValue=\"{c} &amp; {a}\"/>"
                  L"<Column ColumnId=\"g\" ValueType=\"double\"/>",
                  L"<Row RowId=\"r\"><Cell ColumnId=\"g\">{a}</Cell></Row>"));
    const Columns column{f.Table()};

    const struct {
        const wchar_t* id;
        Set dependents;
        Set all;
    } graph[] = {
        {L"a", column({L"b", L"f"}), column({L"a", L"b", L"c", L"f"})},
        {L"b", column({L"c"}), column({L"b", L"c", L"f"})},
        {L"c", column({L"f"}), column({L"c", L"f"})},
        {L"f", {}, column({L"f"})},
        {L"g", {}, column({L"g"})},
    };
    for (const auto& g : graph) {
        CEncapFamilyColumn* self = column(g.id);
        EXPECT_EQ(self->GetDependantColumns(), g.dependents) << g.id;
        EXPECT_EQ(self->IsReferencedByOther(), !g.dependents.empty()) << g.id;
        Set all;
        EXPECT_EQ(&self->GetAllDependentColumns(all, nullptr), &all);
        EXPECT_EQ(all, g.all) << g.id;
    }
    // The walk doesn't pass through the root, and adds to what the set holds.
    Set all{column(L"g")};
    column(L"a")->GetAllDependentColumns(all, column(L"b"));
    EXPECT_EQ(all, column({L"a", L"f", L"g"}));

    const auto loop = CTableEvaluator::EvalCircularDependency;
    const auto ok = CTableEvaluator::EvalOk;
    // other: empty: null, which means this column
    // circular: CheckCircularDependency(other)
    using Case =
        std::tuple<const wchar_t*, const wchar_t*, bool, bool, CTableEvaluator::EvaluateResult>;
    const Case relations[] = {
        {L"a", L"b", true, true, loop}, {L"a", L"c", false, true, loop},
        {L"a", L"f", true, true, loop}, {L"b", L"f", false, true, loop},
        {L"c", L"a", false, false, ok}, {L"f", L"f", false, false, ok},
        {L"a", L"a", false, false, ok}, {L"a", L"g", false, false, ok},
        {L"a", L"", false, false, ok},
    };
    for (const auto& [id, other, directly, atAll, circular] : relations) {
        CEncapFamilyColumn* self = column(id);
        EXPECT_EQ(self->IsReferencedDirectlyBy(column(other)), directly) << id << other;
        EXPECT_EQ(self->IsReferencedBy(column(other)), atAll) << id << other;
        EXPECT_EQ(self->CheckCircularDependency(column(other)), circular) << id << other;
    }
}

// A formula naming a column that doesn't exist leaves the whole graph without edges.
TEST(Dependency, BrokenFormulaOpensWithoutEdges) {
    TestFamily f(FamilyXml(L"<Column ColumnId=\"a\" ValueType=\"double\"/><Column ColumnId=\"d\" "
                           L"ValueType=\"double\" ColumnwideValue=\"{a}+{zz}\"/>",
                           L"<Row RowId=\"r\"><Cell ColumnId=\"a\">1</Cell></Row>"));
    EXPECT_TRUE(f.Table().GetFamilyColumnByID(L"a")->GetDependantColumns().empty());
    WideString value;
    EXPECT_EQ(f.Table().GetValue(L"r", L"d", value), CTableEvaluator::EvalExpressionFailed);
}

// A loop of column formulas read from a document: evaluation refuses its cells and what depends
// on it, and every walk (collecting, circular check, references, refresh, invalidation) ends.
TEST(Dependency, LoadedLoopEndsEveryWalk) {
    // a = {b}+{g} and b = {a} stand in the document; c depends on the loop, g feeds it, e stands
    // apart.
    TestFamily f(FamilyXml(
        L"<Column ColumnId=\"g\" ValueType=\"double\"/>"
        L"<Column ColumnId=\"a\" ValueType=\"double\" ColumnwideValue=\"{b}+{g}\"/>"
        L"<Column ColumnId=\"b\" ValueType=\"double\" ColumnwideValue=\"{a}\"/>"
        L"<Column ColumnId=\"c\" ValueType=\"double\" ColumnwideValue=\"{a}+1\"/>"
        L"<Column ColumnId=\"e\" ValueType=\"double\"/>",
        L"<Row RowId=\"r\"><Cell ColumnId=\"g\">2</Cell><Cell ColumnId=\"e\">4</Cell></Row>"));
    CEncapFamilyTable& table = f.Table();
    const Columns column{table};

    // Evaluation: the cells of the loop and what depends on it give 1.
    const auto loop = CTableEvaluator::EvalCircularDependency;
    const auto ok = CTableEvaluator::EvalOk;
    for (const auto& [id, result] :
         {std::pair{L"a", loop}, {L"b", loop}, {L"c", loop}, {L"g", ok}, {L"e", ok}}) {
        WideString value;
        EXPECT_EQ(table.GetValue(L"r", id, value), result) << id;
    }
    // The walks: each column once. A loop met on the way counts as circular.
    const struct {
        const wchar_t* id;
        Set all;
        CTableEvaluator::EvaluateResult circular;
    } walks[] = {
        {L"g", column({L"g", L"a", L"b", L"c"}), loop},
        {L"a", column({L"a", L"b", L"c"}), loop},
        {L"b", column({L"a", L"b", L"c"}), loop},
        {L"c", column({L"c"}), ok},
        {L"e", column({L"e"}), ok},
    };
    for (const auto& w : walks) {
        Set all;
        EXPECT_EQ(column(w.id)->GetAllDependentColumns(all, nullptr), w.all) << w.id;
        EXPECT_EQ(column(w.id)->CheckCircularDependency(nullptr), w.circular) << w.id;
        EXPECT_FALSE(column(w.id)->IsReferencedBy(column(L"e"))) << w.id;
        EXPECT_FALSE(column(w.id)->ChangeInColumnCausesRefresh()) << w.id;
    }
    EXPECT_TRUE(column(L"a")->IsReferencedBy(column(L"a")));
    EXPECT_TRUE(column(L"b")->IsReferencedBy(column(L"c")));
    EXPECT_TRUE(column(L"g")->IsReferencedBy(column(L"b")));
    EXPECT_FALSE(column(L"c")->IsReferencedBy(column(L"a")));

    // A column behind the loop that changes what a member looks like is found.
    column(L"c")->SetIsGeometryColumn(true);
    EXPECT_TRUE(column(L"g")->ChangeInColumnCausesRefresh());
    EXPECT_TRUE(column(L"b")->ChangeInColumnCausesRefresh());
    EXPECT_FALSE(column(L"e")->ChangeInColumnCausesRefresh());

    // Invalidation reaches the whole loop once and ends.
    CTableValueCache& cache = *table.GetValueCache();
    for (const wchar_t* id : {L"a", L"b", L"c", L"e"})
        cache.SetValue(L"r", id, L"", L"1");
    table.SetValue(L"r", L"g", L"5", true);
    WideString value;
    for (const wchar_t* id : {L"a", L"b", L"c"})
        EXPECT_EQ(cache.GetValue(L"r", id, L"", value), 1) << id;
    EXPECT_EQ(cache.GetValue(L"r", L"e", L"", value), 0);
    EXPECT_EQ(cache.GetValue(L"r", L"g", L"", value), 0);
    EXPECT_EQ(value, L"5");
}

// ---- Large shapes ----
//
// Graphs of thousands of columns as a document can hold them: a chain, a fan, a lattice of
// diamonds (whose paths are far too many to walk one by one) and a loop through every column.
// Every walk gives the results the dependency rules ask for and ends; the values follow edits.

WideString Id(size_t index) {
    return L"c" + std::to_wstring(index);
}

// Columns c0 ... c<n-1> (Real, no unit) with these formulas (empty: a literal column whose cell
// in the one row "r" is 1).
TestFamily ShapeFamily(const std::vector<WideString>& formulas) {
    WideString columns, cells;
    for (size_t i = 0; i < formulas.size(); ++i) {
        columns += L"<Column ColumnId=\"" + Id(i) + L"\" ValueType=\"double\"";
        if (formulas[i].empty())
            cells += L"<Cell ColumnId=\"" + Id(i) + L"\">1</Cell>";
        else
            columns += L" ColumnwideValue=\"" + formulas[i] + L"\"";
        columns += L"/>";
    }
    return TestFamily(FamilyXml(columns, L"<Row RowId=\"r\">" + cells + L"</Row>"));
}

WideString Ref(size_t index) {
    return L"{" + Id(index) + L"}";
}

Set AllColumns(const Columns& column, size_t count) {
    Set all;
    for (size_t i = 0; i < count; ++i)
        all.insert(column(Id(i).c_str()));
    return all;
}

Set Dependents(CEncapFamilyColumn* column) {
    Set all;
    column->GetAllDependentColumns(all, nullptr);
    return all;
}

WideString Value(CEncapFamilyTable& table, size_t index) {
    WideString value;
    const auto result = table.GetValue(L"r", Id(index).c_str(), value);
    return result == CTableEvaluator::EvalOk ? value : L"<" + std::to_wstring(result) + L">";
}

TEST(Dependency, LongChain) {
    // c<i> = {c<i+1>}+1; the last is a literal.
    const size_t n = 3000;
    std::vector<WideString> formulas(n);
    for (size_t i = 0; i + 1 < n; ++i)
        formulas[i] = Ref(i + 1) + L"+1";
    TestFamily f = ShapeFamily(formulas);
    CEncapFamilyTable& table = f.Table();
    const Columns column{table};
    CEncapFamilyColumn* top = column(L"c0");
    CEncapFamilyColumn* middle = column(Id(n / 2).c_str());
    CEncapFamilyColumn* bottom = column(Id(n - 1).c_str());

    EXPECT_EQ(Dependents(bottom), AllColumns(column, n));
    EXPECT_EQ(Dependents(top), Set{top});
    EXPECT_EQ(Dependents(middle).size(), n / 2 + 1);
    for (CEncapFamilyColumn* c : {top, middle, bottom})
        EXPECT_EQ(c->CheckCircularDependency(nullptr), CTableEvaluator::EvalOk);
    EXPECT_EQ(bottom->CheckCircularDependency(top), CTableEvaluator::EvalCircularDependency);
    EXPECT_EQ(top->CheckCircularDependency(bottom), CTableEvaluator::EvalOk);
    EXPECT_TRUE(bottom->IsReferencedBy(top));
    EXPECT_FALSE(top->IsReferencedBy(bottom));

    // A geometry column at the top makes every change below it refresh; a custom column on the
    // way answers false without asking what depends on it.
    top->SetIsGeometryColumn(true);
    EXPECT_TRUE(bottom->ChangeInColumnCausesRefresh());
    middle->SetIsCustom(true);
    EXPECT_FALSE(bottom->ChangeInColumnCausesRefresh());
    EXPECT_TRUE(column(Id(n / 2 - 1).c_str())->ChangeInColumnCausesRefresh());
    middle->SetIsCustom(false);

    // Evaluated from the top, then invalidated from the bottom: every cell follows.
    EXPECT_EQ(Value(table, 0), std::to_wstring(n));
    table.SetValue(L"r", Id(n - 1).c_str(), L"5", true);
    EXPECT_EQ(Value(table, 0), std::to_wstring(n + 4));
    EXPECT_EQ(Value(table, n / 2), std::to_wstring(n - n / 2 + 4));

    // Closing the chain into a loop is refused and the graph stays as it was.
    EXPECT_EQ(bottom->SetFormula(L"{c0}+1"), CTableEvaluator::EvalCircularDependency);
    EXPECT_TRUE(top->GetDependantColumns().empty());
    EXPECT_EQ(Dependents(bottom).size(), n);
}

TEST(Dependency, WideFan) {
    // Every column but the last is {c<n-1>}*2.
    const size_t n = 3000;
    std::vector<WideString> formulas(n);
    for (size_t i = 0; i + 1 < n; ++i)
        formulas[i] = Ref(n - 1) + L"*2";
    TestFamily f = ShapeFamily(formulas);
    CEncapFamilyTable& table = f.Table();
    const Columns column{table};
    CEncapFamilyColumn* root = column(Id(n - 1).c_str());
    EXPECT_EQ(root->GetDependantColumns().size(), n - 1);
    EXPECT_EQ(Dependents(root), AllColumns(column, n));
    EXPECT_EQ(Dependents(column(L"c7")), Set{column(L"c7")});
    EXPECT_EQ(root->CheckCircularDependency(nullptr), CTableEvaluator::EvalOk);
    EXPECT_FALSE(root->ChangeInColumnCausesRefresh());
    column(Id(n - 2).c_str())->SetIsGeometryColumn(true);
    EXPECT_TRUE(root->ChangeInColumnCausesRefresh());

    for (size_t i = 0; i < n; i += 500)
        EXPECT_EQ(Value(table, i), i + 1 == n ? L"1" : L"2") << i;
    table.SetValue(L"r", Id(n - 1).c_str(), L"4", true);
    EXPECT_EQ(Value(table, 0), L"8");
    EXPECT_EQ(Value(table, n - 2), L"8");
    EXPECT_EQ(column(L"c3")->SetFormula(L"{c0}*3"), CTableEvaluator::EvalOk);
    EXPECT_EQ(Value(table, 3), L"24");
    EXPECT_EQ(root->SetFormula(L"{c3}"), CTableEvaluator::EvalCircularDependency);
}

TEST(Dependency, DiamondLattice) {
    // Levels of four columns; column j of a level is {j}/2+{j+1, wrapping}/2 of the next level,
    // the last level holds literals. A bottom column has 2^levels paths to the top.
    const size_t width = 4, levels = 1000, n = width * levels;
    std::vector<WideString> formulas(n);
    for (size_t i = 0; i + width < n; ++i) {
        const size_t next = (i / width + 1) * width;
        formulas[i] = Ref(next + i % width) + L"/2+" + Ref(next + (i + 1) % width) + L"/2";
    }
    TestFamily f = ShapeFamily(formulas);
    CEncapFamilyTable& table = f.Table();
    const Columns column{table};
    CEncapFamilyColumn* top = column(L"c0");
    CEncapFamilyColumn* bottom = column(Id(n - 1).c_str());

    // From a bottom column: 2 columns of the level above, 3 of the next, then every column.
    EXPECT_EQ(Dependents(bottom).size(), 4 * levels - 6);
    EXPECT_TRUE(Dependents(bottom).count(top));
    EXPECT_EQ(Dependents(top), Set{top});
    EXPECT_EQ(bottom->CheckCircularDependency(nullptr), CTableEvaluator::EvalOk);
    EXPECT_EQ(bottom->CheckCircularDependency(top), CTableEvaluator::EvalCircularDependency);
    EXPECT_TRUE(bottom->IsReferencedBy(top));
    EXPECT_FALSE(bottom->ChangeInColumnCausesRefresh());
    top->SetIsHostPropertyColumn(true);
    EXPECT_TRUE(bottom->ChangeInColumnCausesRefresh());

    EXPECT_EQ(Value(table, 0), L"1");
    for (size_t j = 0; j < width; ++j)
        table.SetValue(L"r", Id(n - width + j).c_str(), L"3", true);
    EXPECT_EQ(Value(table, 0), L"3");
    EXPECT_EQ(Value(table, n / 2), L"3");
    EXPECT_EQ(bottom->SetFormula(L"{c1}"), CTableEvaluator::EvalCircularDependency);
    EXPECT_EQ(Dependents(bottom).size(), 4 * levels - 6);
}

TEST(Dependency, LoopThroughEveryColumn) {
    // c<i> = {c<i+1>}+1 and the last = {c0}+1: a loop a document can bring.
    const size_t n = 3000;
    std::vector<WideString> formulas(n);
    for (size_t i = 0; i < n; ++i)
        formulas[i] = Ref((i + 1) % n) + L"+1";
    TestFamily f = ShapeFamily(formulas);
    CEncapFamilyTable& table = f.Table();
    const Columns column{table};
    const Set all = AllColumns(column, n);
    for (const size_t i : {size_t{0}, n / 3, n - 1}) {
        CEncapFamilyColumn* c = column(Id(i).c_str());
        EXPECT_EQ(Dependents(c), all) << i;
        EXPECT_EQ(c->CheckCircularDependency(nullptr), CTableEvaluator::EvalCircularDependency);
        EXPECT_TRUE(c->IsReferencedBy(c)) << i;
        EXPECT_FALSE(c->ChangeInColumnCausesRefresh()) << i;
        EXPECT_EQ(Value(table, i), L"<1>") << i;
    }
    column(Id(n / 2).c_str())->SetIsGeometryColumn(true);
    EXPECT_TRUE(column(L"c1")->ChangeInColumnCausesRefresh());

    // Invalidation from any column reaches the whole loop once and ends.
    CTableValueCache& cache = *table.GetValueCache();
    for (size_t i = 0; i < n; ++i)
        cache.SetValue(L"r", Id(i), L"", L"9");
    table.SetValue(L"r", Id(n / 3).c_str(), L"2", true);
    WideString cached;
    size_t left = 0;
    for (size_t i = 0; i < n; ++i)
        left += cache.GetValue(L"r", Id(i), L"", cached) == 0;
    EXPECT_EQ(left, 1u); // the value just written
    // The cell written breaks the loop for this row: every cell has a value now.
    EXPECT_EQ(Value(table, n / 3 - 1), L"3");
    EXPECT_EQ(Value(table, n / 3 + 1), std::to_wstring(2 + n - 1));
}

} // namespace
} // namespace torvex
