#include "SiteLayout.h"

namespace torvex::cli {

SiteLayout::SiteLayout(std::vector<std::string> languages) : languages_(std::move(languages)) {}

std::string SiteLayout::Clean(const std::string& text) {
    std::string clean;
    for (char c : text) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_';
        clean += keep ? c : '_';
    }
    return clean.empty() ? "_" : clean;
}

std::string SiteLayout::AddFamily(const std::string& folder) {
    const std::string base = Clean(folder);
    std::string name = base;
    // Names compare without case, so that no two collide on a file system that ignores it.
    const auto key = [](std::string text) {
        for (char& c : text)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        return text;
    };
    for (int n = 2; names_.count(key(name)); ++n)
        name = base + "-" + std::to_string(n);
    names_.insert(key(name));
    return name;
}

std::string SiteLayout::Suffix(size_t language) const {
    std::string suffix;
    if (language > 0 && language < languages_.size()) {
        suffix += '.';
        suffix += Clean(languages_[language]);
    }
    return suffix;
}

std::string SiteLayout::IndexFile(size_t language) const {
    return "index" + Suffix(language) + ".html";
}

std::string SiteLayout::FamilyFile(const std::string& name, size_t language) const {
    return name + Suffix(language) + ".html";
}

} // namespace torvex::cli
