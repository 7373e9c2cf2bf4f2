// torvex edit: actions on a family's table and properties, each checked before it is written,
// then one safe save. A refused action writes nothing at all.

#include "Commands.h"

#include "FamilySave.h"
#include "HostProvider.h"
#include "NoExpressionProvider.h"
#include "PropertyNames.h"
#include "ResultNames.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/text/FamilyPropType.h"

#include <charconv>
#include <utility>

namespace torvex::cli {
namespace {

struct ActionForm {
    const char* name;
    size_t arguments;
};

// Each action with the number of arguments it takes; --insert-row takes one optionally.
constexpr ActionForm kActions[] = {
    {"--set", 3},        {"--formula", 2},     {"--insert-row", 0},       {"--copy-row", 1},
    {"--delete-row", 1}, {"--add-column", 1},  {"--duplicate-column", 2}, {"--delete-column", 1},
    {"--move-row", 2},   {"--move-column", 2}, {"--set-property", 2},     {"--bind", 4},
    {"--unbind", 1},     {"--geometry", 2},    {"--category-param", 3},   {"--link", 1},
    {"--unlink", 0},
};

// A positive decimal number without sign or blanks; false for anything else or an overflow.
bool ParsePosition(const std::string& text, int& out) {
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, out);
    return ec == std::errc() && ptr == end && out >= 1;
}

bool IsInteger(const std::string& text) {
    int value = 0;
    return ParsePosition(text, value);
}

// Applies the actions in order; the first one refused stops with its message.
class Editor {
public:
    Editor(CEncapFamily& family, std::ostream& out) : m_family(family), m_out(out) {}

    bool Apply(const EditAction& action, std::string& error) {
        m_action = action.name;
        m_error = &error;
        const std::vector<std::string>& a = action.arguments;
        const std::string& name = action.name;
        if (name == "--set")
            return Set(a[0], a[1], a[2]);
        if (name == "--formula")
            return Formula(a[0], a[1]);
        if (name == "--insert-row")
            return InsertRow(a.empty() ? std::string() : a[0]);
        if (name == "--copy-row")
            return CopyRow(a[0]);
        if (name == "--delete-row")
            return DeleteRow(a[0]);
        if (name == "--add-column")
            return AddColumn(a[0]);
        if (name == "--duplicate-column")
            return DuplicateColumn(a[0], a[1]);
        if (name == "--delete-column")
            return DeleteColumn(a[0]);
        if (name == "--move-row")
            return MoveRow(a[0], a[1]);
        if (name == "--move-column")
            return MoveColumn(a[0], a[1]);
        if (name == "--bind")
            return Bind(a[0], a[1], a[2], a[3]);
        if (name == "--unbind")
            return Unbind(a[0]);
        if (name == "--geometry")
            return Geometry(a[0], a[1]);
        if (name == "--category-param")
            return CategoryParam(a[0], a[1], a[2]);
        if (name == "--link")
            return Link(a[0], action.inactive);
        if (name == "--unlink")
            return Unlink();
        return SetProperty(a[0], a[1]);
    }

private:
    CEncapFamilyTable& Table() { return *m_family.GetEncapFamilyTable(); }

    bool Refuse(const std::string& what, const std::string& reason) {
        *m_error = m_action + " " + what + ": " + reason;
        return false;
    }

    // The row named by id (ignoring case) or by its 1-based number; -1 with a refusal.
    int RowIndex(const std::string& row) {
        const WideString id = platform::FromUtf8(row);
        int index = Table().GetFamilyRowIndexByID(id.c_str());
        if (index >= 0)
            return index;
        int number = 0;
        const int count = static_cast<int>(Table().GetRowsCount());
        if (ParsePosition(row, number) && number <= count)
            return number - 1;
        Refuse("row " + row,
               "no row has this id or number (the table has " + std::to_string(count) + " rows)");
        return -1;
    }

    // The listed spelling of a column id (ignoring case); empty with a refusal.
    WideString ColumnId(const std::string& column) {
        const int index = Table().GetFamilyColumnIndexByID(platform::FromUtf8(column).c_str());
        if (index < 0) {
            Refuse("column " + column, "the table has no such column");
            return WideString();
        }
        return Table().GetFamilyColumnIDByIndex(index);
    }

    // A 1-based place among `count` places; -1 with a refusal.
    int Place(const std::string& text, int count, const std::string& what) {
        int number = 0;
        if (!ParsePosition(text, number) || number > count) {
            Refuse(what, "the place " + text + " is not between 1 and " + std::to_string(count));
            return -1;
        }
        return number - 1;
    }

    // Why IsCellValueValid refused the value, in the words of the column's type.
    std::string WhyInvalid(const CEncapFamilyColumn& column, const WideString& value) {
        WideString unit, formula;
        column.GetUnitType(unit);
        column.GetFormula(formula);
        switch (column.GetDataType()) {
        case DataTypes::DataBoolean:
            return "not a logical value (true or false) for a Boolean column";
        case DataTypes::DataReal:
        case DataTypes::DataInteger: {
            double number = 0.0;
            if (!CStringUtil::IsNumericValue(value.c_str()) &&
                !Table().GetValueFromExpression(value.c_str(), unit.c_str(), number))
                return "neither a number nor an expression that computes in the unit \"" +
                       Narrow(unit.empty() ? WideString(L"ul") : unit) + "\"";
            if (column.IsCustom())
                return "outside the range " + Narrow(formula) + " of the column";
            return "not an integer for an Integer column";
        }
        default:
            return "not a value the column can hold";
        }
    }

    bool Set(const std::string& row, const std::string& column, const std::string& value) {
        const int index = RowIndex(row);
        if (index < 0)
            return false;
        const WideString columnId = ColumnId(column);
        if (columnId.empty())
            return false;
        const WideString rowId = Table().GetRowIDByIndex(index);
        const std::string cell = "row " + row + " column " + Narrow(columnId);
        CEncapFamilyColumn& target = *Table().GetFamilyColumnByID(columnId.c_str());
        WideString text = platform::FromUtf8(value);
        // An empty value removes the cell, so that the row shows the column's formula again.
        if (!text.empty() && !Table().IsCellValueValid(rowId.c_str(), columnId.c_str(), text))
            return Refuse(cell, "\"" + value + "\" is " + WhyInvalid(target, text));
        if (target.IsStatusColumn())
            Table().SetStatusColValue(index, text.c_str());
        else
            Table().SetValue(rowId.c_str(), columnId.c_str(), text.c_str(), true);
        m_out << "set " << cell << " to \"" << Narrow(text) << "\"\n";
        return true;
    }

    bool Formula(const std::string& column, const std::string& formula) {
        const WideString columnId = ColumnId(column);
        if (columnId.empty())
            return false;
        CEncapFamilyColumn& target = *Table().GetFamilyColumnByID(columnId.c_str());
        const WideString text = platform::FromUtf8(formula);
        const std::string what = "column " + Narrow(columnId);
        if (text.empty()) {
            target.SetEmptyFormula();
        } else {
            CTableEvaluator::EvaluateResult result =
                Table().IsFormulaValid(columnId.c_str(), text.c_str());
            if (result == CTableEvaluator::EvalOk)
                result = target.SetFormula(text.c_str());
            if (result != CTableEvaluator::EvalOk)
                return Refuse(what,
                              "the formula \"" + formula + "\" is refused: " + ResultName(result));
        }
        m_out << "formula of " << what << " set to \"" << formula << "\"\n";
        return true;
    }

    bool InsertRow(const std::string& place) {
        const int count = static_cast<int>(Table().GetRowsCount());
        int index = count;
        if (!place.empty() && (index = Place(place, count + 1, "row")) < 0)
            return false;
        CEncapFamilyRow* row = Table().InsertNewRow(index, WideString());
        if (!row)
            return Refuse("row", "the row could not be added to the document");
        m_out << "inserted row " << Narrow(Table().GetRowIDByIndex(index)) << " as number "
              << index + 1 << "\n";
        return true;
    }

    bool CopyRow(const std::string& row) {
        const int index = RowIndex(row);
        if (index < 0)
            return false;
        if (!Table().CopyRow(Table().GetRowIDByIndex(index)))
            return Refuse("row " + row, "the copy could not be added to the document");
        const int copy = static_cast<int>(Table().GetRowsCount()) - 1;
        m_out << "copied row " << row << " to row " << Narrow(Table().GetRowIDByIndex(copy))
              << " as number " << copy + 1 << "\n";
        return true;
    }

    bool DeleteRow(const std::string& row) {
        const int index = RowIndex(row);
        if (index < 0)
            return false;
        const std::string id = Narrow(Table().GetRowIDByIndex(index));
        if (!Table().DeleteRow(index))
            return Refuse("row " + row, "the row could not be deleted");
        m_out << "deleted row " << id << "\n";
        return true;
    }

    bool CheckNewName(const std::string& name) {
        if (Table().IsValidNewColumnName(platform::FromUtf8(name).c_str()))
            return true;
        return Refuse("column " + name,
                      Table().GetFamilyColumnIndexByID(platform::FromUtf8(name).c_str()) >= 0
                          ? "a column of this id exists already (ids ignore case)"
                          : "not a valid column id (a letter first, then letters, digits, _ "
                            "or -)");
    }

    bool AddColumn(const std::string& id) {
        if (!CheckNewName(id))
            return false;
        if (!Table().InsertNewColumn(static_cast<int>(Table().GetColumnsCount()),
                                     platform::FromUtf8(id).c_str()))
            return Refuse("column " + id, "the column could not be added to the document");
        m_out << "added column " << id << "\n";
        return true;
    }

    bool DuplicateColumn(const std::string& source, const std::string& id) {
        const WideString sourceId = ColumnId(source);
        if (sourceId.empty() || !CheckNewName(id))
            return false;
        if (!Table().DuplicateColumn(static_cast<int>(Table().GetColumnsCount()), sourceId.c_str(),
                                     platform::FromUtf8(id).c_str()))
            return Refuse("column " + id, "the column could not be added to the document");
        m_out << "duplicated column " << Narrow(sourceId) << " as " << id << "\n";
        return true;
    }

    bool DeleteColumn(const std::string& column) {
        const WideString columnId = ColumnId(column);
        if (columnId.empty())
            return false;
        // A formula that refers to the column would be left with an unknown reference.
        std::string users;
        for (const CEncapFamilyColumn* user :
             Table().GetFamilyColumnByID(columnId.c_str())->GetDependantColumns()) {
            WideString id;
            user->GetColumnID(id);
            users += (users.empty() ? "" : ", ") + Narrow(id);
        }
        if (!users.empty())
            return Refuse("column " + column, "the formulas of " + users + " refer to it");
        if (!Table().DeleteColumn(Table().GetFamilyColumnIndexByID(columnId.c_str())))
            return Refuse("column " + column, "the column could not be deleted");
        m_out << "deleted column " << Narrow(columnId) << "\n";
        return true;
    }

    bool MoveRow(const std::string& row, const std::string& place) {
        const int from = RowIndex(row);
        if (from < 0)
            return false;
        int index = Place(place, static_cast<int>(Table().GetRowsCount()), "row " + row);
        if (index < 0)
            return false;
        const WideString id = Table().GetRowIDByIndex(from);
        Table().ChangeRowIndex(id.c_str(), index);
        if (Table().GetRowIDByIndex(index) != id)
            return Refuse("row " + row, "the row could not be moved");
        m_out << "moved row " << Narrow(id) << " to number " << index + 1 << "\n";
        return true;
    }

    bool MoveColumn(const std::string& column, const std::string& place) {
        const WideString id = ColumnId(column);
        if (id.empty())
            return false;
        int index = Place(place, static_cast<int>(Table().GetColumnsCount()), "column " + column);
        if (index < 0)
            return false;
        Table().ChangeColumnIndex(id.c_str(), index);
        if (Table().GetFamilyColumnIDByIndex(index) != id)
            return Refuse("column " + column, "the column could not be moved");
        m_out << "moved column " << Narrow(id) << " to number " << index + 1 << "\n";
        return true;
    }

    bool SetProperty(const std::string& name, const std::string& value) {
        for (const PropertyName& property : kFamilyProperties) {
            if (!property.settable || name != property.name)
                continue;
            const FamilyPropType type = property.type;
            if (!m_family.SetFamilyProperty(type, platform::FromUtf8(value).c_str()))
                return Refuse("property " + name, "the property can't be set");
            m_out << "set property " << name << " to \"" << value << "\"\n";
            return true;
        }
        std::string names;
        for (const PropertyName& property : kFamilyProperties) {
            if (property.settable)
                names += (names.empty() ? "" : ", ") + std::string(property.name);
        }
        return Refuse("property " + name, "not a property that can be set (" + names + ")");
    }

    // ---- Mapping ----

    CEncapFamilyColumn* MappedColumn(const std::string& column) {
        const WideString id = ColumnId(column);
        if (id.empty())
            return nullptr;
        if (!m_family.GetEncapFamilyMapping()) {
            Refuse("column " + column, "the family has no mapping");
            return nullptr;
        }
        return Table().GetFamilyColumnByID(id.c_str());
    }

    // Whether the column has what a template needs of it: a ColumnToTemplate to hold its
    // parameters, which the library makes only where MemberParametersMap/ColumnsToTemplate
    // stands.
    bool CanMap(const std::string& column) {
        XMLNode list;
        if (m_family.GetFamilyXML().GetRootNode().GetChildNode(
                L"ParameterMap/MemberParametersMap/ColumnsToTemplate", list))
            return true;
        return Refuse("column " + column,
                      "the family has no ParameterMap/MemberParametersMap/ColumnsToTemplate to "
                      "hold a column's template parameters");
    }

    bool Bind(const std::string& column, const std::string& key, const std::string& subObject,
              const std::string& typeText) {
        using Data = CEncapFamilyColIPropertyData;
        CEncapFamilyColumn* target = MappedColumn(column);
        if (!target || !CanMap(column))
            return false;
        // The type by its number or its name.
        int number = -1;
        const auto [end, ec] =
            std::from_chars(typeText.data(), typeText.data() + typeText.size(), number);
        Data::ColPropertyObjectType type =
            ec == std::errc() && end == typeText.data() + typeText.size() && number >= 0 &&
                    number <= 7
                ? static_cast<Data::ColPropertyObjectType>(number)
                : Data::StringToColPropObjType(platform::FromUtf8(typeText).c_str());
        if (type == Data::Unknown && typeText != "0" && typeText != "Unknown")
            return Refuse("column " + column, "unknown object type " + typeText +
                                                  " (a number 0-7 or a name such as "
                                                  "kPropertyObject)");
        const WideString wideKey = platform::FromUtf8(key);
        const WideString wideSub = platform::FromUtf8(subObject);
        if (wideKey.empty() && wideSub.empty())
            return Refuse("column " + column, "give an object reference key or a sub-object");
        CEncapFamilyMapping& mapping = *m_family.GetEncapFamilyMapping();
        if (mapping.IsPropertyAlreadyUsed(wideKey.c_str(), wideSub.c_str()))
            return Refuse("column " + column,
                          "a column drives " + key + "/" + subObject + " already");
        mapping.UpdateColumnMapping(target, wideKey.c_str(), wideSub.c_str(), type);
        if (!target->IsHostPropertyColumn())
            return Refuse("column " + column, "the binding did not take");
        m_out << "bound column " << column << " to " << key << "/" << subObject << " ("
              << Narrow(Data::ColPropObjTypeToString(type)) << ")\n";
        return true;
    }

    bool Unbind(const std::string& column) {
        CEncapFamilyColumn* target = MappedColumn(column);
        if (!target)
            return false;
        m_family.GetEncapFamilyMapping()->UpdateColumnMapping(
            target, L"", L"", CEncapFamilyColIPropertyData::Unknown);
        m_out << "unbound column " << column << " from its host property\n";
        return true;
    }

    bool Geometry(const std::string& column, const std::string& state) {
        CEncapFamilyColumn* target = MappedColumn(column);
        if (!target)
            return false;
        if (state != "on" && state != "off")
            return Refuse("column " + column, "say on or off, not " + state);
        if (target->ColIPropertyData())
            return Refuse("column " + column,
                          "the column is bound to a host property; --unbind it first");
        if (state == "on" && !CanMap(column))
            return false;
        target->SetIsGeometryColumn(state == "on");
        m_family.GetEncapFamilyMapping()->UpdateColumnMapping(
            target, L"", L"", CEncapFamilyColIPropertyData::Unknown);
        m_out << "column " << column << " is " << (state == "on" ? "" : "no longer ")
              << "a geometry column\n";
        return true;
    }

    bool CategoryParam(const std::string& column, const std::string& category,
                       const std::string& parameter) {
        CEncapFamilyColumn* target = MappedColumn(column);
        if (!target)
            return false;
        if (parameter.empty())
            return Refuse("column " + column, "give a category parameter");
        if (!m_family.GetEncapFamilyMapping()->AddParamToColumnMapping(
                target, platform::FromUtf8(category).c_str(),
                platform::FromUtf8(parameter).c_str()))
            return Refuse("column " + column,
                          "the family's ParameterMap can't take the category parameter");
        m_out << "column " << column << " bears category parameter " << parameter << "\n";
        return true;
    }

    // ---- Link ----

    bool Link(const std::string& sourcePath, bool inactive) {
        WideString library;
        if (m_family.IsLinked()) {
            m_family.GetCopyFrom(library);
            return Refuse(sourcePath, "the family is linked already (to library " +
                                          Narrow(library) + "); --unlink it first");
        }
        FamilyInput input;
        input.familyPath = sourcePath;
        std::string error;
        auto source = OpenFamily(input, std::make_unique<NoExpressionProvider>(), error);
        if (!source)
            return Refuse(sourcePath, error);
        m_family.SetLink(source.get(), !inactive);
        if (!m_family.IsLinked())
            return Refuse(sourcePath, "the source has no MEMBER_REVISION value for every member "
                                      "of this family");
        WideString name;
        source->GetInternalName(name);
        m_out << "linked to " << Narrow(name) << (inactive ? " (inactive)" : "") << "\n";
        return true;
    }

    bool Unlink() {
        if (!m_family.IsLinked())
            return Refuse("", "the family is not linked");
        m_family.ClearLink();
        m_out << "unlinked\n";
        return true;
    }

    CEncapFamily& m_family;
    std::ostream& m_out;
    std::string m_action;
    std::string* m_error = nullptr;
};

} // namespace

bool ParseEditArguments(const std::vector<std::string>& words, EditOptions& options,
                        std::string& error) {
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        auto next = [&](const char* what) -> const std::string* {
            if (i + 1 >= words.size()) {
                error = word + " needs " + what;
                return nullptr;
            }
            return &words[++i];
        };
        if (word == "--strings" || word == "-s") {
            const std::string* path = next("a file");
            if (!path)
                return false;
            options.input.stringPaths.push_back(*path);
        } else if (word == "--output" || word == "-o") {
            const std::string* path = next("a file");
            if (!path)
                return false;
            options.output = *path;
        } else if (word == "--in-place") {
            options.inPlace = true;
        } else if (word == "--localize") {
            options.input.localize = true;
        } else if (word == "--inactive") {
            // Makes the --link before it an inactive one.
            if (options.actions.empty() || options.actions.back().name != "--link") {
                error = "--inactive goes right after --link SOURCE.xml";
                return false;
            }
            options.actions.back().inactive = true;
        } else if (word.rfind("--", 0) == 0) {
            const ActionForm* form = nullptr;
            for (const ActionForm& action : kActions)
                form = word == action.name ? &action : form;
            if (!form) {
                error = "unknown option " + word;
                return false;
            }
            EditAction action{word, {}};
            size_t wanted = form->arguments;
            if (word == "--insert-row" && i + 1 < words.size() && IsInteger(words[i + 1]))
                wanted = 1;
            if (i + wanted >= words.size()) {
                error = word + " needs " + std::to_string(wanted) + " arguments";
                return false;
            }
            action.arguments.assign(words.begin() + static_cast<std::ptrdiff_t>(i + 1),
                                    words.begin() + static_cast<std::ptrdiff_t>(i + 1 + wanted));
            i += wanted;
            options.actions.push_back(std::move(action));
        } else if (options.input.familyPath.empty()) {
            options.input.familyPath = word;
        } else {
            error = "unexpected argument " + word + " (only one family document is edited)";
            return false;
        }
    }
    if (options.input.familyPath.empty())
        error = "no family document given";
    else if (options.actions.empty())
        error = "no action given";
    else if (options.inPlace == !options.output.empty())
        error = "give either --output FILE or --in-place";
    return error.empty();
}

int RunEdit(const EditOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    std::string bytes;
    if (!platform::ReadFileBytes(platform::FromUtf8(options.input.familyPath), bytes)) {
        err << "torvex: cannot read " << options.input.familyPath << '\n';
        return kExitFailed;
    }
    auto family = OpenEvaluatingFamily(options.input, {}, err);
    if (!family)
        return kExitFailed;
    const std::vector<WideString> stringsBefore = StringTexts(*family);
    Editor editor(*family, out);
    for (const EditAction& action : options.actions) {
        if (!editor.Apply(action, error)) {
            err << "torvex: " << error << "; nothing was written\n";
            return kExitFailed;
        }
    }
    // String files are written only when an action changed them; untouched ones keep their
    // bytes.
    const bool stringsChanged = StringTexts(*family) != stringsBefore;
    std::vector<std::string> written;
    const std::string& target = options.inPlace ? options.input.familyPath : options.output;
    if (!SaveFamily(*family, target, DetectEncoding(bytes), stringsChanged, written, error)) {
        err << "torvex: " << error << '\n';
        for (const std::string& path : written)
            err << "torvex: written before the failure: " << path << '\n';
        return kExitFailed;
    }
    for (const std::string& path : written)
        out << "wrote " << path << '\n';
    return kExitOk;
}

} // namespace torvex::cli
