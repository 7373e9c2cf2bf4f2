#pragma once
// Computes the value of one cell of a family table and stores it in the table's value cache, and
// scans and checks formula texts.
//
// A cell's text is cut into literals and {references}; each reference is read back through the
// table (and so through the value cache), and what is left is a String concatenation, a logical
// word, a plain number, or an expression with units that the host computes. The library parses
// no arithmetic itself: the host's IEvaluatorProvider does.

#include "torvex/evaluation/FormulaPiece.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/DataTypes.h"
#include "torvex/text/TextHash.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace torvex {

class CEncapFamilyColumn;
class CEncapFamilyTable;
class IEvaluatorProvider;

/// The evaluator of one table; created and deleted by the table. Exceptions thrown by the host
/// pass through every operation except ExpressionIsEvaluable and ExpressionValueInUnit.
class CTableEvaluator {
public:
    /// The one result type of every operation that evaluates or checks a cell or a formula. 0 and
    /// 8 both mean that a value was produced.
    enum EvaluateResult : int {
        EvalOk = 0,
        EvalCircularDependency = 1,
        EvalSyntaxError = 2,
        EvalExpressionFailed = 3,
        EvalInvalidRange = 4,
        EvalUnknownColumn = 5,
        EvalTypeMismatch = 6,
        EvalNoValue = 7,
        EvalUnitMismatch = 8,
    };

    /// Columns ordered by pointer value, not owned (the same type as CEncapFamilyColumn's).
    using ColumnSet = std::set<CEncapFamilyColumn*>;

    /// Records the table and the provider of the table's family (null without a family). Never
    /// fails.
    explicit CTableEvaluator(CEncapFamilyTable* table);
    virtual ~CTableEvaluator();
    CTableEvaluator(const CTableEvaluator&) = delete;
    CTableEvaluator& operator=(const CTableEvaluator&) = delete;

    // Cell evaluation.

    /// Computes the cell and stores its value in the cache (also for 8); the value does not go
    /// to the caller. 1 when the cell is already in progress, 7 for an unknown column or without
    /// a table, 2 for unbalanced braces, a reference's own failure code, 6 for a Boolean that is
    /// no logical word, 3 when the host fails (or is missing).
    ///
    /// A chain of references of any depth evaluates: the cells that wait for the cell they
    /// refer to are kept on a list on the heap, not on the stack, so 1 means a loop and nothing
    /// else. What a cell's evaluation gave when it left no value in the cache (a failure, or a
    /// value from the unitless fall-back, 8) is remembered until the value cache counts a change
    /// (CTableValueCache::GetChangeCount: every edit through the library, and every value
    /// forgotten), and a reference to that cell takes it from there, so that reading every cell
    /// of a row whose cells fail together, or loop through thousands of columns, evaluates each
    /// of them once; the results are those of evaluating again. The cell asked for itself is
    /// always evaluated (each read of a cell that gives 8 asks the host again). Like a cached
    /// value, a remembered outcome does not see an edit made to the DOM directly or a change of
    /// the host's answers.
    EvaluateResult EvaluateCell(WideString rowId, WideString columnId, WideString language);
    /// EvaluateCell on views, for the table's own reads, which then copy no text; the views need
    /// only last until the cell's evaluation has begun. EvaluateCell's results.
    /// `known`, when not null, is the column the table finds by `columnId` now, which the
    /// evaluation then does not look up. With `value`, the text the evaluation left in the cache
    /// for the cell is also handed over there, and `*handedOver` says whether it was (when not,
    /// `value` is untouched and the cache holds no new value of the cell).
    EvaluateResult EvaluateCellOf(std::wstring_view rowId, std::wstring_view columnId,
                                  std::wstring_view language, CEncapFamilyColumn* known = nullptr,
                                  WideString* value = nullptr, bool* handedOver = nullptr);
    /// EvaluateCell, then, on 0 and for a unit other than the column's, the value converted to
    /// `unit` replaces the cached one in the actual language. EvaluateCell's result.
    EvaluateResult EvaluateInUnit(WideString rowId, WideString columnId, WideString language,
                                  WideString unit);
    /// Evaluates a free expression for a row; nothing is cached and no loop check is made. 4 for
    /// a range type whose text is no range, 2 for unbalanced braces, any reference result other
    /// than 0, 6 for a non-logical Boolean or a host status other than 0, 3 for a host failure
    /// (or no host). `out` is written only on 0.
    EvaluateResult EvaluateExpression(WideString expression,
                                      DataTypes::ColumnFormulaType formulaType,
                                      DataTypes::ColumnDataType dataType, WideString rowId,
                                      WideString unit, WideString& out);
    /// The value of a String expression: "&"-separated tokens, each trimmed and unquoted; a text
    /// with no "&" after its first token comes back as given. Never fails.
    static WideString ConcatenateStrings(const WideString& text);
    /// ConcatenateStrings into `result`, whose room serves again; `text` must not view it.
    static void ConcatenateInto(std::wstring_view text, WideString& result);
    /// Drops single '"' characters and turns '""' into '"'. Never fails.
    static WideString UnquoteString(const WideString& text);

    // Formula text scanning.

    /// Cuts the text (null counts as empty) into literals and references: 0, or 1 for unbalanced
    /// braces (then `pieces` is partly filled). Texts with a brace are remembered.
    int SplitFormula(const wchar_t* text, FormulaPieceList& pieces);
    /// Adds the columns the text refers to (the set isn't cleared): 2 for unbalanced braces, 5 at
    /// the first unknown id (what was added stays), else 0.
    EvaluateResult CollectReferences(const wchar_t* text, ColumnSet& columns);
    /// The same, and also the columns reached through the formulas of the columns added; only the
    /// text's own references decide the result.
    EvaluateResult CollectReferencesDeep(const wchar_t* text, ColumnSet& columns);
    /// Checks a formula of that type before any row is known: the range check for FormulaRange
    /// (4 no range or contradicting literals, 6 for a String or Boolean column, else a part's
    /// code), CheckExpression for FormulaExpression, 5 for any other type.
    EvaluateResult CheckSyntax(const wchar_t* text, DataTypes::ColumnFormulaType formulaType,
                               DataTypes::ColumnDataType dataType, const wchar_t* unit);
    /// Whether a formula can work at all, probing the host with "1.1" and "1" for references:
    /// 2 or 5 from the references (`hasReferences` untouched), 6 when the host refuses it or a
    /// type doesn't fit, else 0.
    EvaluateResult CheckExpression(const wchar_t* text, DataTypes::ColumnDataType dataType,
                                   const wchar_t* unit, bool& hasReferences);
    /// Whether the host computes the text in the unit ("ul" for empty): false on a negative
    /// status, on any exception from the host, and without a host.
    bool ExpressionIsEvaluable(const wchar_t* text, const wchar_t* unit);
    /// The text's value in the unit ("ul" for empty): the host's value divided by its value of
    /// "1.0" in that unit; 0.0 when either status isn't exactly 0 or the host throws; the plain
    /// leading number of the text without a host.
    double ExpressionValueInUnit(const WideString& text, const WideString& unit);

    // Readings for the owner and for checks.

    /// The host's provider; null without a family.
    IEvaluatorProvider* GetProvider() const { return m_provider; }
    /// Number of texts in the memo of split formulas. Never fails.
    size_t GetSplitMemoSize() const { return m_splitMemo.size(); }
    /// The keys ("row{column") of the cells being evaluated now; empty between top-level
    /// evaluations. Never fails (but for memory).
    std::set<WideString> GetCellsInProgress() const { return m_inProgress.Keys(); }

private:
    struct Frame;
    /// The cells being evaluated now, keyed "row{column" (the language plays no part): the
    /// frames of every evaluation under way, each with its key's hash, so that a cell is
    /// looked for among them without a key being made or compared whole.
    class InProgress {
    public:
        /// True when a frame of the same key is in. Never fails.
        bool Contains(const Frame& frame) const;
        /// Enters the frame; throws only for want of memory, and then nothing changed.
        void Enter(const Frame* frame);
        /// Takes the frame out; nothing when it is not in. Never fails.
        void Leave(const Frame* frame);
        /// The keys of the frames in. Never fails (but for memory).
        std::set<WideString> Keys() const;

    private:
        std::vector<const Frame*> m_frames; // in the order they came
        std::vector<uint64_t> m_hashes;     // their keys' hashes, side by side
    };
    /// What a cell's evaluation gave when it left no value in the cache.
    struct Outcome {
        EvaluateResult result = EvalOk;
        WideString value; // for 8: the value from the unitless fall-back
    };
    /// Row id, column id and language, as EvaluateCell got them.
    using OutcomeKey = std::tuple<WideString, WideString, WideString>;
    /// Hashes and compares keys and looked-up views alike, so that a lookup allocates nothing.
    struct OutcomeKeyHash {
        using is_transparent = void;
        using View = std::tuple<std::wstring_view, std::wstring_view, std::wstring_view>;
        static View AsView(const OutcomeKey& key) {
            return {std::get<0>(key), std::get<1>(key), std::get<2>(key)};
        }
        static const View& AsView(const View& key) { return key; }
        template <typename K> size_t operator()(const K& key) const {
            const View view = AsView(key);
            const std::hash<std::wstring_view> hash;
            size_t seed = hash(std::get<0>(view));
            seed ^= hash(std::get<1>(view)) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
            seed ^= hash(std::get<2>(view)) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
            return seed;
        }
    };
    struct OutcomeKeyEqual {
        using is_transparent = void;
        template <typename A, typename B> bool operator()(const A& a, const B& b) const {
            return OutcomeKeyHash::AsView(a) == OutcomeKeyHash::AsView(b);
        }
    };

    /// EvaluateCell up to the pieces of the source text: true, with the frame's result, when the
    /// cell is done already (in progress, unknown column, unbalanced braces, with `recall` an
    /// outcome remembered); false when its pieces are ready to walk.
    bool BeginCell(Frame& frame, bool recall);
    /// Walks the pieces on from where the frame stands: true when the cell is done (frame's
    /// result; its value cached unless it failed); false when the cell of a reference must be
    /// evaluated first (the frame's `referenced` column).
    bool ContinueCell(Frame& frame);
    /// Takes a reference's value (in the frame) with GetValue's code: false when the code ends
    /// the cell (then it is the frame's result).
    bool TakeReference(Frame& frame, const CEncapFamilyColumn* other, EvaluateResult referenced);
    /// The value from the walked pieces, by data type and through the host; cached. Its code.
    EvaluateResult FinishCell(Frame& frame);
    /// Forgets the remembered outcomes when the cache counted a change; then, with `recall`, the
    /// outcome of the frame's cell if there is one (true, as its result; an 8's value goes to the
    /// cache again).
    bool RecallOutcome(Frame& frame, bool recall);
    /// Remembers the frame's result when it is not 0 and nothing changed while it evaluated.
    void RememberOutcome(const Frame& frame);
    /// The hash of the start "row{" of the keys of the row's cells; the last row's is kept.
    uint64_t RowHash(std::wstring_view row);

    /// A text with a brace cut into pieces, and the column each reference names, looked up while
    /// the table's columns stand as they did then (`generation`), so that a formula evaluated
    /// on every row finds its columns once.
    struct SplitText {
        const WideString* text = nullptr; // the memo's key
        FormulaPieceList pieces;
        std::vector<CEncapFamilyColumn*> columns; // by piece; null for literals and unknown ids
        uint64_t generation = UINT64_MAX;         // of the table's columns; the maximum: none yet
    };
    /// The split of a text with a brace, from the memo (entered on first use); null for
    /// unbalanced braces. It lives as long as the evaluator.
    SplitText* SplitMemoized(const WideString& source);
    /// The column the reference at `piece` of the split names (null when unknown), looked up
    /// again whenever the table's columns changed.
    CEncapFamilyColumn* ReferencedColumn(SplitText& split, const FormulaPiece& piece);
    /// The range check of a FormulaRange text.
    EvaluateResult CheckRange(const wchar_t* text, DataTypes::ColumnDataType dataType,
                              const wchar_t* unit);
    /// Adds the columns one text refers to and lists those newly added, in text order.
    EvaluateResult CollectInto(const wchar_t* text, ColumnSet& columns,
                               std::vector<CEncapFamilyColumn*>* added);
    /// A Real literal with the family's decimal separator when it localizes; else unchanged.
    WideString LocalizedLiteral(const WideString& piece, DataTypes::ColumnDataType dataType) const;
    /// The final number formatted with "%.8g" into `text`, with the family's separator when it
    /// localizes.
    void FormatResult(double number, WideString& text) const;

    CEncapFamilyTable* m_table = nullptr;
    std::unordered_map<WideString, SplitText, TextHash, std::equal_to<>> m_splitMemo;
    // The split each column's cell used last (the address may be that of a column deleted
    // since: only the text compared decides).
    std::unordered_map<const CEncapFamilyColumn*, SplitText*> m_columnSplits;
    InProgress m_inProgress;
    IEvaluatorProvider* m_provider = nullptr;
    std::unordered_map<OutcomeKey, Outcome, OutcomeKeyHash, OutcomeKeyEqual> m_outcomes;
    uint64_t m_outcomesChangeCount = 0; // the value cache's count the outcomes belong to
    // Frames of finished cells, kept with the room of their texts for the next cells.
    std::vector<std::unique_ptr<Frame>> m_framePool;
    std::vector<std::vector<Frame*>> m_spareFrameLists; // lists of frames, empty, with their room
    // The row of the last cell asked for and the hash of its key's start, "row{": the cells of
    // a row are mostly asked one after another.
    WideString m_lastRow;
    uint64_t m_lastRowHash = 0;
};

} // namespace torvex
