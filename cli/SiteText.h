#pragma once
// The words of the web catalogue's own pages (headings, labels, notes) in the languages it
// knows; a family's own texts come from its string documents.

#include <string>

namespace torvex::cli {

struct SiteText {
    const char* catalogue;
    const char* filterFamilies;
    const char* otherFamilies;
    const char* standard;
    const char* manufacturer;
    const char* members;
    const char* familyFailed;
    const char* language;
    const char* properties;
    const char* filterMembers;
    const char* showHidden;
    const char* suppressed;
    const char* legendOverride;
    const char* legendFailed;
    const char* legendSuppressed;
    const char* columns;
    const char* column;
    const char* title;
    const char* type;
    const char* unit;
    const char* kind;
    const char* flags;
    const char* formula;
    const char* drives;
    const char* bears;
    const char* dependencies;
    const char* usedBy;
    const char* noDependencies;
    const char* asList;
    const char* pictures;
    const char* thumbnail;
    const char* cannotOpen;
    const char* shownIn; // followed by the language tag the page is shown in
    const char* backToCatalogue;
    const char* generated;

    /// The words for a language tag by its primary subtag ("de-DE", "de-AT": German); English
    /// for a language it does not know.
    static const SiteText& For(const std::string& languageTag);
};

} // namespace torvex::cli
