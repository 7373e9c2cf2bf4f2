#include "SiteText.h"

#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"

namespace torvex::cli {
namespace {

const SiteText kEnglish{
    "Catalogue",
    "Filter families",
    "Families in no category",
    "Standard",
    "Manufacturer",
    "Members",
    "failed to open",
    "Language",
    "Properties",
    "Filter members",
    "Show hidden columns",
    "suppressed",
    "the member's own value, in place of the column's formula or value",
    "failed to evaluate; the result is named",
    "suppressed member",
    "Columns",
    "Column",
    "Title",
    "Type",
    "Unit",
    "Kind",
    "Flags",
    "Formula or value",
    "Drives",
    "Bears category parameters",
    "Dependencies",
    "used by",
    "No column refers to another.",
    "As a list",
    "Thumbnail and icons",
    "Thumbnail",
    "This family could not be opened:",
    "No texts in this language; shown in",
    "Back to the catalogue",
    "Written by torvex site.",
};

const SiteText kGerman{
    "Katalog",
    "Familien filtern",
    "Familien ohne Kategorie",
    "Norm",
    "Hersteller",
    "Mitglieder",
    "ließ sich nicht öffnen",
    "Sprache",
    "Eigenschaften",
    "Mitglieder filtern",
    "Ausgeblendete Spalten zeigen",
    "unterdrückt",
    "eigener Wert des Mitglieds statt der Formel oder des Werts der Spalte",
    "Auswertung fehlgeschlagen; das Ergebnis ist genannt",
    "unterdrücktes Mitglied",
    "Spalten",
    "Spalte",
    "Titel",
    "Typ",
    "Einheit",
    "Art",
    "Merkmale",
    "Formel oder Wert",
    "Steuert",
    "Trägt Kategorieparameter",
    "Abhängigkeiten",
    "verwendet von",
    "Keine Spalte verweist auf eine andere.",
    "Als Liste",
    "Vorschaubild und Symbole",
    "Vorschaubild",
    "Diese Familie ließ sich nicht öffnen:",
    "Keine Texte in dieser Sprache; gezeigt in",
    "Zurück zum Katalog",
    "Geschrieben von torvex site.",
};

} // namespace

const SiteText& SiteText::For(const std::string& languageTag) {
    const std::string primary = languageTag.substr(0, languageTag.find_first_of("-_"));
    if (platform::EqualsIgnoringAsciiCase(platform::FromUtf8(primary), L"de"))
        return kGerman;
    return kEnglish;
}

} // namespace torvex::cli
