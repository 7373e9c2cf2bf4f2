// The graph of dependent columns: built from column formulas at load, the walks over it, and a
// loop of formulas that a document brings (no edit check ever saw it), which every walk must
// survive.

#include "TestProvider.h"

#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <gtest/gtest.h>

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

    const struct {
        const wchar_t* id;
        const wchar_t* other; // empty: null
        bool directly;
        bool atAll;
        CTableEvaluator::EvaluateResult circular; // CheckCircularDependency(other)
    } relations[] = {
        {L"a", L"b", true, true, CTableEvaluator::EvalCircularDependency},
        {L"a", L"c", false, true, CTableEvaluator::EvalCircularDependency},
        {L"a", L"f", true, true, CTableEvaluator::EvalCircularDependency},
        {L"b", L"f", false, true, CTableEvaluator::EvalCircularDependency},
        {L"c", L"a", false, false, CTableEvaluator::EvalOk},
        {L"f", L"f", false, false, CTableEvaluator::EvalOk},
        {L"a", L"a", false, false, CTableEvaluator::EvalOk},
        {L"a", L"g", false, false, CTableEvaluator::EvalOk},
        {L"a", L"", false, false, CTableEvaluator::EvalOk}, // null: this column
    };
    for (const auto& r : relations) {
        CEncapFamilyColumn* self = column(r.id);
        EXPECT_EQ(self->IsReferencedDirectlyBy(column(r.other)), r.directly) << r.id << r.other;
        EXPECT_EQ(self->IsReferencedBy(column(r.other)), r.atAll) << r.id << r.other;
        EXPECT_EQ(self->CheckCircularDependency(column(r.other)), r.circular) << r.id << r.other;
    }
}

TEST(Dependency, BrokenFormulaOpensWithoutEdges) {
    TestFamily f(FamilyXml(L"<Column ColumnId=\"a\" ValueType=\"double\"/>"
                           L"<Column ColumnId=\"d\" ValueType=\"double\" "
                           L"ColumnwideValue=\"{a}+{zz}\"/>",
                           L"<Row RowId=\"r\"><Cell ColumnId=\"a\">1</Cell></Row>"));
    EXPECT_TRUE(f.Table().GetFamilyColumnByID(L"a")->GetDependantColumns().empty());
    WideString value;
    EXPECT_EQ(f.Table().GetValue(L"r", L"d", value), CTableEvaluator::EvalExpressionFailed);
}

TEST(Dependency, EditChecksRefuseLoopsAndKeepTheGraph) {
    // a = {b}: b may not become {a}, a may not refer to itself; the graph stays as loaded.
    TestFamily f(FamilyXml(L"<Column ColumnId=\"a\" ValueType=\"double\" ColumnwideValue=\"{b}\"/>"
                           L"<Column ColumnId=\"b\" ValueType=\"double\"/>"
                           L"<Column ColumnId=\"c\" ValueType=\"double\"/>",
                           L""));
    const Columns column{f.Table()};
    const struct {
        const wchar_t* id;
        const wchar_t* formula;
        CTableEvaluator::EvaluateResult result;
    } cases[] = {
        {L"b", L"{a}", CTableEvaluator::EvalCircularDependency},
        {L"b", L"{c}*{a}", CTableEvaluator::EvalCircularDependency},
        {L"a", L"{a}", CTableEvaluator::EvalCircularDependency},
        {L"a", L"{c}", CTableEvaluator::EvalOk},
        {L"c", L"{a}+{b}", CTableEvaluator::EvalOk},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(column(c.id)->ValidateNormalFormula(c.formula, L""), c.result) << c.formula;
        EXPECT_EQ(column(L"b")->GetDependantColumns(), column({L"a"})) << c.formula;
        EXPECT_TRUE(column(L"a")->GetDependantColumns().empty()) << c.formula;
        EXPECT_TRUE(column(L"c")->GetDependantColumns().empty()) << c.formula;
    }
}

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
    const struct {
        const wchar_t* id;
        CTableEvaluator::EvaluateResult result;
    } reads[] = {{L"a", CTableEvaluator::EvalCircularDependency},
                 {L"b", CTableEvaluator::EvalCircularDependency},
                 {L"c", CTableEvaluator::EvalCircularDependency},
                 {L"g", CTableEvaluator::EvalOk},
                 {L"e", CTableEvaluator::EvalOk}};
    for (const auto& r : reads) {
        WideString value;
        EXPECT_EQ(table.GetValue(L"r", r.id, value), r.result) << r.id;
    }

    // The walks: each column once. A loop met on the way counts as circular.
    const struct {
        const wchar_t* id;
        Set all;
        CTableEvaluator::EvaluateResult circular;
        bool refersToE;
    } walks[] = {
        {L"g", column({L"g", L"a", L"b", L"c"}), CTableEvaluator::EvalCircularDependency, false},
        {L"a", column({L"a", L"b", L"c"}), CTableEvaluator::EvalCircularDependency, false},
        {L"b", column({L"a", L"b", L"c"}), CTableEvaluator::EvalCircularDependency, false},
        {L"c", column({L"c"}), CTableEvaluator::EvalOk, false},
        {L"e", column({L"e"}), CTableEvaluator::EvalOk, false},
    };
    for (const auto& w : walks) {
        Set all;
        EXPECT_EQ(column(w.id)->GetAllDependentColumns(all, nullptr), w.all) << w.id;
        EXPECT_EQ(column(w.id)->CheckCircularDependency(nullptr), w.circular) << w.id;
        EXPECT_EQ(column(w.id)->IsReferencedBy(column(L"e")), w.refersToE) << w.id;
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

TEST(Dependency, RefreshFollowsDependentsUntilARangeColumn) {
    // base <- mid = {base} <- top = {mid}
    const struct {
        bool topGeometry;
        bool midHostProperty;
        bool midCustom;
        bool baseCustom;
        bool base, mid, top; // the answers
    } cases[] = {
        {false, false, false, false, false, false, false},
        {true, false, false, false, true, true, true},
        {false, true, false, false, true, true, false},
        {true, false, true, false, false, false, true}, // a range column stops the walk
        {true, false, false, true, false, true, true},
    };
    for (const auto& c : cases) {
        TestFamily f(
            FamilyXml(L"<Column ColumnId=\"base\" ValueType=\"double\"/>"
                      L"<Column ColumnId=\"mid\" ValueType=\"double\" ColumnwideValue=\"{base}\"/>"
                      L"<Column ColumnId=\"top\" ValueType=\"double\" ColumnwideValue=\"{mid}\"/>",
                      L""));
        const Columns column{f.Table()};
        column(L"top")->SetIsGeometryColumn(c.topGeometry);
        column(L"mid")->SetIsHostPropertyColumn(c.midHostProperty);
        column(L"mid")->SetIsCustom(c.midCustom);
        column(L"base")->SetIsCustom(c.baseCustom);
        EXPECT_EQ(column(L"base")->ChangeInColumnCausesRefresh(), c.base);
        EXPECT_EQ(column(L"mid")->ChangeInColumnCausesRefresh(), c.mid);
        EXPECT_EQ(column(L"top")->ChangeInColumnCausesRefresh(), c.top);
    }
}

} // namespace
} // namespace torvex
