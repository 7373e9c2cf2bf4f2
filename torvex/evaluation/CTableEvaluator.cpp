#include "torvex/evaluation/CTableEvaluator.h"

#include "torvex/evaluation/CRangeParser.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/NumberText.h"
#include "torvex/text/CStringUtil.h"

#include <algorithm>
#include <memory>
#include <typeinfo>
#include <vector>

namespace torvex {
namespace {

// The word for "no unit", and the host's internal length unit.
constexpr const wchar_t* kNoUnit = L"ul";
constexpr const wchar_t* kInternalLength = L"cm";

const wchar_t* Text(const wchar_t* text) {
    return text ? text : L"";
}

// White space as the "C" locale has it, whatever the process locale is.
WideString Trimmed(const WideString& text) {
    return platform::TrimCSpace(text);
}

WideString UnitOrNone(const WideString& unit) {
    return unit.empty() ? WideString(kNoUnit) : unit;
}

bool IsNumeric(const WideString& text) {
    return CStringUtil::IsNumericValue(text.c_str());
}

// Every occurrence of `token` in `text` replaced by `replacement`.
void ReplaceToken(WideString& text, const WideString& token, const WideString& replacement) {
    if (token.empty())
        return;
    for (size_t at = text.find(token); at != WideString::npos;
         at = text.find(token, at + replacement.size())) {
        text.replace(at, token.size(), replacement);
    }
}

// The text a range column's cell starts from: its default, or its minimum without one.
WideString RangeValueText(const WideString& text) {
    const CRangeParser range(text.c_str());
    return range.hasDefault() ? range.getDefault() : range.getMin();
}

} // namespace

CTableEvaluator::CTableEvaluator(CEncapFamilyTable* table) : m_table(table) {
    if (m_table && m_table->GetFamily())
        m_provider = m_table->GetFamily()->GetEvaluatorProvider();
}

CTableEvaluator::~CTableEvaluator() = default;

// ---- Cell evaluation ----

WideString CTableEvaluator::LocalizedLiteral(const WideString& piece,
                                             DataTypes::ColumnDataType dataType) const {
    WideString copy = piece;
    if (dataType != DataTypes::DataReal || !IsNumeric(piece) || !m_table ||
        !m_table->LocalizeDecimalSeparator())
        return copy;
    const wchar_t separator = m_table->GetDecimalSeparator();
    const wchar_t from = copy.find(L'.') != WideString::npos ? L'.' : L',';
    std::replace(copy.begin(), copy.end(), from, separator);
    return copy;
}

void CTableEvaluator::FormatResult(double number, WideString& text) const {
    platform::FormatGeneral(number, 8, text);
    if (m_table && m_table->LocalizeDecimalSeparator())
        std::replace(text.begin(), text.end(), L'.', m_table->GetDecimalSeparator());
}

// One cell being evaluated: what EvaluateCell keeps of it while a cell it refers to is
// evaluated first. A frame lives on the heap, so a chain of references of any depth takes no
// stack; its guard keeps the cell in progress for as long as the frame lives.
struct CTableEvaluator::Frame {
    Frame() = default;
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    // Sets the frame up for a cell; the texts keep their room from earlier cells, so that a
    // warm frame allocates nothing for the next.
    // `below` is the frame of the cell that refers to this one, in the same row, or null.
    void Begin(std::wstring_view row, std::wstring_view column, std::wstring_view lang,
               const Frame* below, CTableEvaluator& evaluator) {
        // A frame mostly follows one of the same row and language: equal texts are not copied,
        // and what the frame found for its row still holds.
        if (std::wstring_view(rowId) != row) {
            rowId.assign(row);
            rowHash = 0;
            foundRow = nullptr;
        }
        columnId.assign(column);
        if (std::wstring_view(language) != lang)
            language.assign(lang);
        if (below)
            rowHash = below->rowHash;
        else if (rowHash == 0)
            rowHash = evaluator.RowHash(row);
        uint64_t hash = rowHash;
        for (wchar_t c : column)
            hash = TextHash::Add(hash, c);
        keyHash = hash;
        inProgress = nullptr;
        alreadyInProgress = evaluator.m_inProgress.Contains(*this);
        if (!alreadyInProgress)
            evaluator.m_inProgress.Enter(this);
        inProgress = &evaluator.m_inProgress;
        remember = false;
        changeCount = 0;
        this->column = nullptr;
        known = nullptr;
        unit = nullptr;
        dataType = DataTypes::DataString;
        numericType = false;
        wholeText.isReference = false;
        wholeText.text.clear();
        split = nullptr;
        next = last = nullptr;
        result = EvalOk;
        expression.clear();
        unitless.clear();
        value.clear();
        referenced = nullptr;
        stored = false;
    }
    // Takes the cell out of progress.
    void End() {
        if (inProgress && !alreadyInProgress)
            inProgress->Leave(this);
        inProgress = nullptr;
    }
    WideString rowId;
    WideString columnId;
    WideString language;
    // The cell's key "row{column", as a hash: of its start and of the whole.
    uint64_t rowHash = 0;
    // The table's row of `rowId`, found once while the table's rows stand at `rowGeneration`.
    const CEncapFamilyRow* foundRow = nullptr;
    uint64_t rowGeneration = 0;
    uint64_t keyHash = 0;
    InProgress* inProgress = nullptr; // the set the cell is in, while it is
    bool alreadyInProgress = false;   // the key was in the set when the cell began
    bool remember = false;            // whether a result other than 0 is remembered (Outcome)
    uint64_t changeCount = 0;         // the value cache's change count when the evaluation began
    CEncapFamilyColumn* column = nullptr;
    CEncapFamilyColumn* known = nullptr; // the column, when the caller found it already
    const wchar_t* unit = nullptr;       // the column's unit, "ul" for none
    DataTypes::ColumnDataType dataType = DataTypes::DataString;
    bool numericType = false;
    FormulaPiece wholeText;     // a text without a brace, as one literal
    SplitText* split = nullptr; // a formula's pieces, from the memo
    const FormulaPiece* next = nullptr;
    const FormulaPiece* last = nullptr;
    EvaluateResult result = EvalOk;
    WideString expression; // references with their unit words
    WideString unitless;   // references as bare numbers
    WideString value;      // the value of the reference being read; at the end the cell's value
    bool stored = false;   // the cell's value is in the cache, as `value` holds it
    CEncapFamilyColumn* referenced = nullptr; // whose cell is evaluated for the reference
    // Room for the host's answers, kept from cell to cell.
    WideString internalUnit;
    WideString internalText;
};

uint64_t CTableEvaluator::RowHash(std::wstring_view row) {
    if (row != m_lastRow || m_lastRowHash == 0) {
        uint64_t hash = TextHash::Start();
        for (wchar_t c : row)
            hash = TextHash::Add(hash, c);
        m_lastRowHash = TextHash::Add(hash, L'{');
        m_lastRow.assign(row);
    }
    return m_lastRowHash;
}

bool CTableEvaluator::InProgress::Contains(const Frame& frame) const {
    // Two keys "row{column" are equal when their texts are, however the braces fall.
    auto sameKey = [&frame](const Frame& other) {
        const std::wstring_view row = frame.rowId, column = frame.columnId;
        const std::wstring_view otherRow = other.rowId, otherColumn = other.columnId;
        if (row.size() + column.size() != otherRow.size() + otherColumn.size())
            return false;
        if (row.size() == otherRow.size())
            return column == otherColumn && row == otherRow;
        auto at = [](std::wstring_view r, std::wstring_view c, size_t i) {
            return i < r.size() ? r[i] : i == r.size() ? L'{' : c[i - r.size() - 1];
        };
        for (size_t i = 0; i <= row.size() + column.size(); ++i)
            if (at(row, column, i) != at(otherRow, otherColumn, i))
                return false;
        return true;
    };
    for (size_t i = 0; i < m_hashes.size(); ++i)
        if (m_hashes[i] == frame.keyHash && sameKey(*m_frames[i]))
            return true;
    return false;
}

void CTableEvaluator::InProgress::Enter(const Frame* frame) {
    m_frames.reserve(m_frames.size() + 1);
    m_hashes.push_back(frame->keyHash);
    m_frames.push_back(frame); // the room was made
}

void CTableEvaluator::InProgress::Leave(const Frame* frame) {
    // Cells leave in the order opposite to their entry; the search is for safety.
    for (size_t i = m_frames.size(); i-- > 0;) {
        if (m_frames[i] == frame) {
            m_frames.erase(m_frames.begin() + static_cast<std::ptrdiff_t>(i));
            m_hashes.erase(m_hashes.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
    }
}

std::set<WideString> CTableEvaluator::InProgress::Keys() const {
    std::set<WideString> keys;
    for (const Frame* frame : m_frames)
        keys.insert(frame->rowId + L'{' + frame->columnId);
    return keys;
}

CTableEvaluator::EvaluateResult CTableEvaluator::EvaluateCell(WideString rowId, WideString columnId,
                                                              WideString language) {
    return EvaluateCellOf(rowId, columnId, language);
}

CTableEvaluator::EvaluateResult
CTableEvaluator::EvaluateCellOf(std::wstring_view rowId, std::wstring_view columnId,
                                std::wstring_view language, CEncapFamilyColumn* known,
                                WideString* value, bool* handedOver) {
    // A reference to a cell that isn't cached yet pushes a frame for that cell, and its value
    // goes back to the frame below when it is done: what the nested calls would do (each
    // reference through the column's GetValue, the table's Evaluate and EvaluateCell), on a list
    // instead of the stack. The frames' guards make up the in-progress set, as the calls' would.
    // The list's room is kept for the next top-level cell; a host's call that comes back into
    // the evaluation while this one runs takes a list of its own.
    std::vector<Frame*> frames;
    if (!m_spareFrameLists.empty()) {
        frames = std::move(m_spareFrameLists.back());
        m_spareFrameLists.pop_back();
    }
    // Frames come from the pool and go back to it, also when a host's call comes back into
    // the evaluation while this one runs.
    auto push = [&](std::wstring_view row, std::wstring_view column, std::wstring_view lang,
                    const Frame* below) {
        std::unique_ptr<Frame> frame;
        if (m_framePool.empty()) {
            frame = std::make_unique<Frame>();
        } else {
            frame = std::move(m_framePool.back());
            m_framePool.pop_back();
        }
        frames.reserve(frames.size() + 1);
        frame->Begin(row, column, lang, below, *this);
        frames.push_back(frame.release());
    };
    auto pop = [&]() {
        Frame* frame = frames.back();
        frames.pop_back();
        frame->End();
        m_framePool.emplace_back(frame);
    };
    // Whatever leaves early (a DOM exception passes through) still gives the frames back and
    // takes their cells out of progress.
    struct Unwind {
        std::vector<Frame*>& frames;
        decltype(pop)& popFrame;
        std::vector<std::vector<Frame*>>& spareLists;
        ~Unwind() {
            while (!frames.empty())
                popFrame();
            try {
                spareLists.push_back(std::move(frames));
            } catch (...) {
                // No room to keep the list: it is simply freed.
            }
        }
    } unwind{frames, pop, m_spareFrameLists};
    push(rowId, columnId, language, nullptr);
    frames.back()->known = known;
    // The cell asked for is evaluated whatever is remembered of it: each read of a cell that
    // fails or gives 8 asks the host again. Only the cells it refers to are recalled.
    bool done = BeginCell(*frames.back(), false);
    for (;;) {
        Frame& frame = *frames.back();
        if (!done)
            done = ContinueCell(frame);
        if (!done) {
            // As the column's GetValue would: Evaluate(rowId, its own id, language). The id
            // finds the very column the reference named, in the same state of the columns.
            push(frame.rowId, frame.referenced->m_columnId, frame.language, &frame);
            frames.back()->known = frame.referenced;
            done = BeginCell(*frames.back(), true);
            continue;
        }
        const EvaluateResult result = frame.result;
        RememberOutcome(frame);
        // The value the cell just left in the cache goes on as it is, instead of being read
        // back: nothing can come between the two.
        const bool stored = frame.stored;
        if (frames.size() == 1) {
            if (handedOver)
                *handedOver = stored && value;
            if (stored && value)
                value->swap(frame.value);
            pop();
            return result;
        }
        Frame& below = *frames[frames.size() - 2];
        if (stored)
            below.value.swap(frame.value);
        pop();
        // The rest of the column's GetValue, then the reference in the frame below.
        CEncapFamilyColumn* referenced = below.referenced;
        below.referenced = nullptr;
        const EvaluateResult answer = referenced->ReadBackEvaluated(
            below.rowId.c_str(), below.language.c_str(), result, below.value, stored);
        done = !TakeReference(below, referenced, answer);
    }
}

bool CTableEvaluator::BeginCell(Frame& frame, bool recall) {
    if (frame.alreadyInProgress) {
        frame.result = EvalCircularDependency;
        return true;
    }
    frame.result = EvalNoValue;
    if (!m_table)
        return true;
    CEncapFamilyColumn* column =
        frame.known ? frame.known : m_table->GetFamilyColumnByID(frame.columnId.c_str());
    if (!column)
        return true;
    frame.column = column;
    frame.result = EvalOk;
    if (RecallOutcome(frame, recall))
        return true;
    frame.remember = true;

    // The cell's source text: the localized cell, the Cell, the localized column formula, the
    // column formula; each next place only when nothing was found so far.
    const WideString& rowId = frame.rowId;
    const WideString& columnId = frame.columnId;
    const WideString& language = frame.language;
    // Read into the frame's own text, whose room serves cell after cell.
    WideString& text = frame.wholeText.text;
    long status = 1;
    const bool localized = column->IsLocalized();
    if (localized)
        status =
            m_table->GetLocalizedCellValue(rowId.c_str(), columnId.c_str(), language.c_str(), text);
    if (status == 1) {
        // The table's GetRawValue, the row found once for the frame's cells.
        if (!frame.foundRow || frame.rowGeneration != m_table->GetRowsGeneration()) {
            frame.foundRow = m_table->GetFamilyRowByID(rowId.c_str());
            frame.rowGeneration = m_table->GetRowsGeneration();
        }
        status = frame.foundRow ? frame.foundRow->GetRawValue(columnId.c_str(), text) : 1;
    }
    if (status == 1 && localized)
        status = m_table->GetLocalizedFormula(columnId.c_str(), language.c_str(), text);
    if (status == 1)
        column->GetFormula(text, language.c_str());

    const WideString& columnUnit = column->GetUnitTypeRef();
    frame.unit = columnUnit.empty() ? kNoUnit : columnUnit.c_str();
    frame.dataType = column->GetDataType();
    frame.numericType =
        frame.dataType == DataTypes::DataReal || frame.dataType == DataTypes::DataInteger;

    // A range column takes the value chosen for it, else its range's default (or minimum).
    if (column->IsCustom()) {
        WideString chosen;
        if (m_table->GetRangeColumnValue(columnId.c_str(), chosen))
            text = chosen;
        else if (CRangeParser::IsRange(text))
            text = RangeValueText(text);
    }

    // A text without a brace is one literal; a formula's pieces come from the memo, uncopied.
    if (text.find(L'{') == WideString::npos) {
        frame.next = &frame.wholeText;
        frame.last = &frame.wholeText + 1;
        return false;
    }
    // A column's cells mostly share its formula: the split found last for the column is
    // compared before the memo hashes the text.
    SplitText*& hint = m_columnSplits[column];
    if (!hint || *hint->text != text)
        hint = SplitMemoized(text);
    SplitText* split = hint;
    if (!split) {
        frame.result = EvalSyntaxError;
        return true;
    }
    frame.split = split;
    frame.next = split->pieces.data();
    frame.last = split->pieces.data() + split->pieces.size();
    return false;
}

bool CTableEvaluator::ContinueCell(Frame& frame) {
    CEncapFamilyColumn* column = frame.column;
    for (; frame.next != frame.last; ++frame.next) {
        const FormulaPiece& piece = *frame.next;
        if (piece.isReference) {
            // The table's GetValue, with the column looked up once for its value and its unit
            // (only a formula has references, and its split knows their columns).
            CEncapFamilyColumn* other = ReferencedColumn(*frame.split, piece);
            frame.value.clear();
            EvaluateResult referenced = EvalExpressionFailed;
            if (other && typeid(*other) != typeid(CEncapFamilyColumn)) {
                referenced =
                    other->GetValue(frame.rowId.c_str(), frame.language.c_str(), frame.value);
            } else if (other &&
                       !other->ReadWithoutEvaluating(frame.rowId.c_str(), frame.language.c_str(),
                                                     frame.value, referenced)) {
                // Its cell is evaluated first, in a frame of its own.
                frame.referenced = other;
                ++frame.next;
                return false;
            }
            if (!TakeReference(frame, other, referenced))
                return true;
        } else if (frame.dataType == DataTypes::DataReal && IsNumeric(piece.text) &&
                   m_table->LocalizeDecimalSeparator()) {
            const WideString literal = LocalizedLiteral(piece.text, frame.dataType);
            frame.expression += literal;
            frame.unitless += literal;
        } else if (column->IsMaterial()) {
            // The literal of a material column is a key; the host names it.
            WideString name;
            if (m_provider)
                m_provider->GetMaterialName(piece.text.c_str(), &name);
            frame.expression += name;
        } else {
            frame.expression += piece.text;
            frame.unitless += piece.text;
        }
    }
    frame.result = FinishCell(frame);
    return true;
}

bool CTableEvaluator::TakeReference(Frame& frame, const CEncapFamilyColumn* other,
                                    EvaluateResult referenced) {
    frame.result = referenced;
    if (referenced != EvalOk && referenced != EvalUnitMismatch)
        return false;
    // Only the last reference's code survives: a later 0 clears an earlier 8.
    if (frame.numericType && IsNumeric(frame.value)) {
        frame.unitless += frame.value;
        // "2.5in", no blank between
        const WideString& referencedUnit = other->GetUnitTypeRef();
        frame.value += referencedUnit.empty() ? kNoUnit : referencedUnit.c_str();
    }
    frame.expression += frame.value;
    return true;
}

CTableEvaluator::EvaluateResult CTableEvaluator::FinishCell(Frame& frame) {
    EvaluateResult result = frame.result;
    WideString& value = frame.value;
    WideString& expression = frame.expression;
    const wchar_t* unit = frame.unit;
    if (frame.dataType == DataTypes::DataString) {
        // A text without "&" concatenates nothing and stands as written; swapped, both texts
        // keep their room for the next cell.
        if (expression.find(L'&') == WideString::npos)
            value.swap(expression);
        else
            ConcatenateInto(expression, value);
    } else if (frame.dataType == DataTypes::DataBoolean) {
        // Kept as written, not normalised.
        if (!CStringUtil::IsLogicalValue(expression.c_str()))
            return EvalTypeMismatch;
        value = std::move(expression);
    } else if (IsNumeric(expression)) {
        value = std::move(expression); // a plain number stays exactly as written
    } else {
        // An expression for the host.
        if (!m_provider)
            return EvalExpressionFailed;
        WideString& internalUnit = frame.internalUnit;
        internalUnit.clear();
        if (m_provider->GetInternalUnit(unit, &internalUnit) < 0)
            return EvalExpressionFailed;
        double number = 0.0;
        const int32_t withUnits = m_provider->EvaluateToDouble(expression.c_str(), unit, &number);
        if (withUnits < 0) {
            // The text without units may still compute; its value is never converted.
            if (m_provider->EvaluateToDouble(frame.unitless.c_str(), kNoUnit, &number) < 0)
                return EvalExpressionFailed;
            result = EvalUnitMismatch;
        }
        if (internalUnit != unit && withUnits >= 0) {
            platform::FormatGeneral(number, 6, frame.internalText);
            if (m_provider->ConvertUnits(frame.internalText.c_str(), internalUnit.c_str(), unit,
                                         &number) < 0)
                return EvalExpressionFailed;
        }
        FormatResult(number, value);
    }

    frame.stored =
        frame.column->CacheEvaluatedValue(frame.rowId.c_str(), frame.language.c_str(), value);
    return result;
}

bool CTableEvaluator::RecallOutcome(Frame& frame, bool recall) {
    CTableValueCache* cache = m_table->GetValueCache();
    if (!cache)
        return false;
    if (cache->GetChangeCount() != m_outcomesChangeCount) {
        m_outcomes.clear();
        m_outcomesChangeCount = cache->GetChangeCount();
    }
    frame.changeCount = m_outcomesChangeCount;
    if (!recall || m_outcomes.empty())
        return false;
    const auto found =
        m_outcomes.find(std::tuple<std::wstring_view, std::wstring_view, std::wstring_view>(
            frame.rowId, frame.columnId, frame.language));
    if (found == m_outcomes.end())
        return false;
    frame.result = found->second.result;
    // As the evaluation did: the fall-back's value goes to the cache, for GetValue to take it.
    if (frame.result == EvalUnitMismatch)
        frame.column->SetCacheValue(frame.rowId.c_str(), frame.language.c_str(),
                                    found->second.value.c_str());
    return true;
}

void CTableEvaluator::RememberOutcome(const Frame& frame) {
    if (!frame.remember || frame.result == EvalOk || !m_table)
        return;
    // Only what the same state of the family gave: nothing changed while the cell evaluated.
    const CTableValueCache* cache = m_table->GetValueCache();
    if (!cache || cache->GetChangeCount() != frame.changeCount ||
        m_outcomesChangeCount != frame.changeCount)
        return;
    Outcome outcome{frame.result, WideString()};
    if (frame.result == EvalUnitMismatch)
        outcome.value = frame.value;
    m_outcomes.insert_or_assign(OutcomeKey(frame.rowId, frame.columnId, frame.language),
                                std::move(outcome));
}

CTableEvaluator::EvaluateResult CTableEvaluator::EvaluateInUnit(WideString rowId,
                                                                WideString columnId,
                                                                WideString language,
                                                                WideString unit) {
    const EvaluateResult result = EvaluateCell(rowId, columnId, language);
    if (result != EvalOk || !m_table)
        return result;
    CEncapFamilyColumn* column = m_table->GetFamilyColumnByID(columnId.c_str());
    if (!column)
        return result;
    WideString columnUnit;
    column->GetUnitType(columnUnit);
    if (unit.empty() || unit == columnUnit || !m_provider)
        return result;
    WideString text;
    m_table->GetValue(rowId.c_str(), columnId.c_str(), text);
    // A refused conversion leaves the number that the text holds.
    double number = CStringUtil::ToDouble(text.c_str());
    m_provider->ConvertUnits(text.c_str(), columnUnit.c_str(), unit.c_str(), &number);
    const WideString converted = platform::FormatGeneral(number, 6);
    column->SetCacheValue(rowId.c_str(), converted.c_str());
    return result;
}

CTableEvaluator::EvaluateResult
CTableEvaluator::EvaluateExpression(WideString expression, DataTypes::ColumnFormulaType formulaType,
                                    DataTypes::ColumnDataType dataType, WideString rowId,
                                    WideString unit, WideString& out) {
    if (!m_table)
        return EvalNoValue;
    WideString text = expression;
    if (formulaType == DataTypes::FormulaRange) {
        if (!CRangeParser::IsRange(text))
            return EvalInvalidRange;
        text = RangeValueText(text);
    }
    WideString language;
    m_table->GetActualLanguage(language);
    FormulaPieceList pieces;
    if (SplitFormula(text.c_str(), pieces) != 0)
        return EvalSyntaxError;

    WideString value;
    for (const FormulaPiece& piece : pieces) {
        if (piece.isReference) {
            WideString referenced;
            // Here even the unitless fall-back (8) stops the evaluation.
            const EvaluateResult result =
                m_table->GetValue(rowId.c_str(), piece.text.c_str(), language.c_str(), referenced);
            if (result != EvalOk)
                return result;
            if (IsNumeric(referenced)) {
                WideString columnUnit;
                if (const CEncapFamilyColumn* other =
                        m_table->GetFamilyColumnByID(piece.text.c_str()))
                    other->GetUnitType(columnUnit);
                if (!columnUnit.empty() && !unit.empty() && columnUnit != unit && m_provider) {
                    // A refused conversion leaves the number that the value holds.
                    double number = CStringUtil::ToDouble(referenced.c_str());
                    m_provider->ConvertUnits(referenced.c_str(), columnUnit.c_str(), unit.c_str(),
                                             &number);
                    referenced = platform::FormatGeneral(number, 6);
                }
            }
            value += referenced;
        } else if (dataType == DataTypes::DataReal && IsNumeric(piece.text) &&
                   m_table->LocalizeDecimalSeparator()) {
            value += LocalizedLiteral(piece.text, dataType);
        } else if (formulaType == DataTypes::FormulaMaterial) {
            WideString name;
            if (m_provider)
                m_provider->GetMaterialName(piece.text.c_str(), &name);
            value += name;
        } else {
            value += piece.text;
        }
    }

    if (dataType == DataTypes::DataString) {
        value = ConcatenateStrings(value);
    } else if (dataType == DataTypes::DataBoolean) {
        if (!CStringUtil::IsLogicalValue(value.c_str()))
            return EvalTypeMismatch;
    } else if (!IsNumeric(value)) {
        if (!m_provider)
            return EvalExpressionFailed;
        double number = 0.0;
        const int32_t status = m_provider->EvaluateToDouble(value.c_str(), unit.c_str(), &number);
        if (status < 0)
            return EvalExpressionFailed;
        if (unit != kInternalLength) {
            const WideString internalText = platform::FormatGeneral(number, 6);
            m_provider->ConvertUnits(internalText.c_str(), kInternalLength, unit.c_str(), &number);
        }
        // A success with a remark is not good enough here.
        if (status != 0)
            return EvalTypeMismatch;
        FormatResult(number, value);
    }
    out = value;
    return EvalOk;
}

WideString CTableEvaluator::ConcatenateStrings(const WideString& text) {
    WideString result;
    ConcatenateInto(text, result);
    return result;
}

void CTableEvaluator::ConcatenateInto(std::wstring_view text, WideString& result) {
    // Tokens are the runs between '&'s; leading ones are skipped. Each is trimmed and unquoted
    // straight into the result.
    const size_t first = text.find_first_not_of(L'&');
    if (first == std::wstring_view::npos || text.find(L'&', first) == std::wstring_view::npos) {
        // No concatenation at all: the text stands as written, quotes and all.
        result.assign(text);
        return;
    }
    result.clear();
    for (size_t start = first; start != std::wstring_view::npos;
         start = text.find_first_not_of(L'&', start)) {
        size_t end = text.find(L'&', start);
        if (end == std::wstring_view::npos)
            end = text.size();
        size_t from = start, to = end;
        while (from < to && platform::IsCSpace(text[from]))
            ++from;
        while (to > from && platform::IsCSpace(text[to - 1]))
            --to;
        // Single '"' characters go; '""' stands for one.
        for (size_t i = from; i < to; ++i) {
            if (text[i] != L'"')
                result += text[i];
            else if (i + 1 < to && text[i + 1] == L'"')
                result += L'"', ++i;
        }
        start = end;
    }
}

WideString CTableEvaluator::UnquoteString(const WideString& text) {
    WideString result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'"') {
            result += text[i];
        } else if (i + 1 < text.size() && text[i + 1] == L'"') {
            result += L'"';
            ++i;
        }
    }
    return result;
}

// ---- Formula text scanning ----

namespace {

// Cuts a text with a brace into pieces: 0, or 1 for unbalanced braces (`pieces` then holds what
// came before the fault).
int CutIntoPieces(const WideString& source, FormulaPieceList& pieces) {
    size_t position = 0;
    for (size_t open = source.find(L'{'); open != WideString::npos;
         open = source.find(L'{', position)) {
        if (open > position) {
            WideString literal = source.substr(position, open - position);
            if (literal.find(L'}') != WideString::npos)
                return 1;
            pieces.push_back(FormulaPiece{false, std::move(literal)});
        }
        const size_t close = source.find(L'}', open + 1);
        if (close == WideString::npos)
            return 1;
        pieces.push_back(FormulaPiece{true, Trimmed(source.substr(open + 1, close - open - 1))});
        position = close + 1;
    }
    if (position < source.size()) {
        WideString literal = source.substr(position);
        if (literal.find(L'}') != WideString::npos)
            return 1;
        pieces.push_back(FormulaPiece{false, std::move(literal)});
    }
    return 0;
}

} // namespace

CTableEvaluator::SplitText* CTableEvaluator::SplitMemoized(const WideString& source) {
    if (const auto known = m_splitMemo.find(source); known != m_splitMemo.end())
        return &known->second;
    SplitText split;
    if (CutIntoPieces(source, split.pieces) != 0)
        return nullptr;
    split.columns.resize(split.pieces.size());
    const auto entered = m_splitMemo.emplace(source, std::move(split)).first;
    entered->second.text = &entered->first;
    return &entered->second;
}

CEncapFamilyColumn* CTableEvaluator::ReferencedColumn(SplitText& split, const FormulaPiece& piece) {
    const uint64_t generation = m_table->GetColumnsGeneration();
    if (split.generation != generation) {
        for (size_t i = 0; i < split.pieces.size(); ++i)
            split.columns[i] = split.pieces[i].isReference
                                   ? m_table->GetFamilyColumnByID(split.pieces[i].text.c_str())
                                   : nullptr;
        split.generation = generation;
    }
    return split.columns[static_cast<size_t>(&piece - split.pieces.data())];
}

int CTableEvaluator::SplitFormula(const wchar_t* text, FormulaPieceList& pieces) {
    pieces.clear();
    const WideString source = Text(text);
    // Plain values, the common case, bypass the memo.
    if (source.find(L'{') == WideString::npos) {
        pieces.push_back(FormulaPiece{false, source});
        return 0;
    }
    if (const auto known = m_splitMemo.find(source); known != m_splitMemo.end()) {
        pieces = known->second.pieces;
        return 0;
    }
    if (CutIntoPieces(source, pieces) != 0)
        return 1;
    SplitText split;
    split.pieces = pieces;
    split.columns.resize(pieces.size());
    const auto entered = m_splitMemo.emplace(source, std::move(split)).first;
    entered->second.text = &entered->first;
    return 0;
}

CTableEvaluator::EvaluateResult
CTableEvaluator::CollectInto(const wchar_t* text, ColumnSet& columns,
                             std::vector<CEncapFamilyColumn*>* added) {
    FormulaPieceList pieces;
    if (SplitFormula(text, pieces) != 0)
        return EvalSyntaxError;
    for (const FormulaPiece& piece : pieces) {
        if (!piece.isReference)
            continue;
        CEncapFamilyColumn* column =
            m_table ? m_table->GetFamilyColumnByID(piece.text.c_str()) : nullptr;
        if (!column)
            return EvalUnknownColumn;
        if (columns.insert(column).second && added)
            added->push_back(column);
    }
    return EvalOk;
}

CTableEvaluator::EvaluateResult CTableEvaluator::CollectReferences(const wchar_t* text,
                                                                   ColumnSet& columns) {
    return CollectInto(text, columns, nullptr);
}

CTableEvaluator::EvaluateResult CTableEvaluator::CollectReferencesDeep(const wchar_t* text,
                                                                       ColumnSet& columns) {
    // Each column is added once and its formula followed once, so the set ends the walk on a
    // loop; a work list instead of recursion keeps a long chain off the stack. The columns
    // reached are the same in any order of visiting.
    std::vector<CEncapFamilyColumn*> pending;
    const EvaluateResult result = CollectInto(text, columns, &pending);
    while (!pending.empty()) {
        CEncapFamilyColumn* column = pending.back();
        pending.pop_back();
        if (!column->IsExpressionColumn())
            continue;
        WideString formula;
        column->GetFormula(formula);
        CollectInto(formula.c_str(), columns, &pending); // its result plays no part
    }
    return result;
}

CTableEvaluator::EvaluateResult
CTableEvaluator::CheckSyntax(const wchar_t* text, DataTypes::ColumnFormulaType formulaType,
                             DataTypes::ColumnDataType dataType, const wchar_t* unit) {
    if (formulaType == DataTypes::FormulaRange)
        return CheckRange(text, dataType, unit);
    if (formulaType == DataTypes::FormulaExpression) {
        bool hasReferences = false;
        return CheckExpression(text, dataType, unit, hasReferences);
    }
    return EvalUnknownColumn;
}

CTableEvaluator::EvaluateResult CTableEvaluator::CheckExpression(const wchar_t* text,
                                                                 DataTypes::ColumnDataType dataType,
                                                                 const wchar_t* unit,
                                                                 bool& hasReferences) {
    ColumnSet references;
    const EvaluateResult collected = CollectReferences(text, references);
    if (collected != EvalOk)
        return collected;

    const bool numericType = dataType == DataTypes::DataReal || dataType == DataTypes::DataInteger;
    if (references.empty()) {
        hasReferences = false;
        if (numericType && !ExpressionIsEvaluable(text, unit))
            return EvalTypeMismatch;
        if (dataType == DataTypes::DataBoolean && !CStringUtil::IsLogicalValue(text))
            return EvalTypeMismatch;
        return EvalOk;
    }

    hasReferences = true;
    if (dataType == DataTypes::DataString)
        return EvalOk; // anything can be concatenated
    if (dataType == DataTypes::DataBoolean) {
        if (references.size() != 1 ||
            (*references.begin())->GetDataType() != DataTypes::DataBoolean)
            return EvalTypeMismatch;
        return EvalOk;
    }
    if (!numericType)
        return EvalOk;

    // Each fitting reference becomes a probe number; any other keeps its braces, which the host
    // then refuses.
    WideString probed = Text(text);
    const WideString checkUnit = Text(unit);
    for (CEncapFamilyColumn* column : references) {
        const DataTypes::ColumnDataType referencedType = column->GetDataType();
        const bool fits = referencedType == dataType || (dataType == DataTypes::DataReal &&
                                                         referencedType == DataTypes::DataInteger);
        if (!fits)
            continue;
        WideString probe = referencedType == DataTypes::DataReal ? L"1.1" : L"1";
        if (checkUnit.empty()) {
            WideString referencedUnit;
            column->GetUnitType(referencedUnit);
            probe += referencedUnit;
        }
        WideString id;
        column->GetColumnID(id);
        ReplaceToken(probed, L"{" + id + L"}", probe);
    }
    if (!ExpressionIsEvaluable(probed.c_str(), unit))
        return EvalTypeMismatch;
    return EvalOk;
}

bool CTableEvaluator::ExpressionIsEvaluable(const wchar_t* text, const wchar_t* unit) {
    if (!m_provider)
        return false;
    const WideString checkUnit = UnitOrNone(Text(unit));
    try {
        double scratch = 0.0;
        return m_provider->EvaluateToDouble(Text(text), checkUnit.c_str(), &scratch) >= 0;
    } catch (...) {
        // Whatever the host throws means it can't compute the text.
        return false;
    }
}

double CTableEvaluator::ExpressionValueInUnit(const WideString& text, const WideString& unit) {
    const WideString checkUnit = UnitOrNone(unit);
    if (!m_provider)
        return CStringUtil::ToDouble(text.c_str());
    try {
        double value = 0.0;
        double scale = 1.0;
        // The host answers in its internal unit; one of `unit` brings it back.
        if (m_provider->EvaluateToDouble(text.c_str(), checkUnit.c_str(), &value) == 0 &&
            m_provider->EvaluateToDouble(L"1.0", checkUnit.c_str(), &scale) == 0)
            return value / scale;
    } catch (...) {
        // Whatever the host throws means it can't compute the text.
    }
    return 0.0;
}

CTableEvaluator::EvaluateResult CTableEvaluator::CheckRange(const wchar_t* text,
                                                            DataTypes::ColumnDataType dataType,
                                                            const wchar_t* unit) {
    const WideString source = Text(text);
    if (!CRangeParser::IsRange(source))
        return EvalInvalidRange;
    if (dataType == DataTypes::DataString || dataType == DataTypes::DataBoolean)
        return EvalTypeMismatch;

    const CRangeParser range(source.c_str());
    const WideString parts[] = {range.getMin(), range.getMax(), range.getStep(),
                                range.getDefault()};
    // A part's flag ends false only when the part is there and refers to nothing.
    bool anyOpen = false;
    for (const WideString& part : parts) {
        bool hasReferences = true;
        if (!part.empty()) {
            const EvaluateResult result =
                CheckExpression(part.c_str(), dataType, unit, hasReferences);
            if (result != EvalOk)
                return result;
        }
        anyOpen = anyOpen || hasReferences;
    }
    if (anyOpen)
        return EvalOk; // a part absent or with references: no comparison

    const double minimum = ExpressionValueInUnit(parts[0], kNoUnit);
    const double maximum = ExpressionValueInUnit(parts[1], kNoUnit);
    const double step = ExpressionValueInUnit(parts[2], kNoUnit);
    const double fallback = ExpressionValueInUnit(parts[3], kNoUnit);
    if (maximum < minimum)
        return EvalInvalidRange;
    if (maximum - minimum < step)
        return EvalInvalidRange;
    if (fallback < minimum || fallback > maximum)
        return EvalInvalidRange;
    return EvalOk;
}

} // namespace torvex
