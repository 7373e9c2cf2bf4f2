#pragma once
// Where the files of the web catalogue go, below its folder:
//   index.html, index.<tag>.html           the catalogue in the first language, in the others
//   assets/site.css, assets/site.js
//   families/<name>.html, <name>.<tag>.html a family's page in each language
//   families/<name>/                         its pictures and dependency graphs
// <name> is the family's folder with every character but letters, digits, '-' and '_' turned
// into '_', made unique with "-2", "-3" ...; tags are cleaned the same way.

#include <set>
#include <string>
#include <vector>

namespace torvex::cli {

class SiteLayout {
public:
    /// `languages`: the site's language tags, the first the default.
    explicit SiteLayout(std::vector<std::string> languages);

    const std::vector<std::string>& Languages() const { return languages_; }
    /// A name for a family's files made from its folder, unique among the names given so far.
    std::string AddFamily(const std::string& folder);

    /// "index.html", or "index.<tag>.html" for a language after the first.
    std::string IndexFile(size_t language) const;
    /// "<name>.html", or "<name>.<tag>.html" for a language after the first (in families/).
    std::string FamilyFile(const std::string& name, size_t language) const;

    /// Letters, digits, '-' and '_' as they are, anything else '_'; "_" for an empty text.
    static std::string Clean(const std::string& text);

private:
    std::string Suffix(size_t language) const;

    std::vector<std::string> languages_;
    std::set<std::string> names_;
};

} // namespace torvex::cli
