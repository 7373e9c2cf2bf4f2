#pragma once
// The style sheet and the script that every page of the web catalogue loads from its assets
// folder: plain CSS that reads on a phone, and the filters of the index and the member tables.

#include <string_view>

namespace torvex::cli {

class SiteAssets {
public:
    static std::string_view StyleSheet();
    static std::string_view Script();
};

} // namespace torvex::cli
