#pragma once
// Test helpers: environment variables set for one test and put back afterwards, and a check
// whether a locale is installed.

#include <cstdlib>
#include <locale.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvex::testing {

/// Remembers the variables it touches and restores them on destruction.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            if (it->second)
                ::setenv(it->first.c_str(), it->second->c_str(), 1);
            else
                ::unsetenv(it->first.c_str());
        }
    }
    void Set(const std::string& name, const std::string& value) {
        Remember(name);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    void Unset(const std::string& name) {
        Remember(name);
        ::unsetenv(name.c_str());
    }
    /// Clears LC_ALL, LC_NUMERIC and LANG, the variables that name the user's locale.
    void ClearLocale() {
        Unset("LC_ALL");
        Unset("LC_NUMERIC");
        Unset("LANG");
    }

private:
    void Remember(const std::string& name) {
        const char* value = std::getenv(name.c_str());
        saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

/// True when the system can make the named locale.
inline bool LocaleInstalled(const char* name) {
    locale_t locale = ::newlocale(LC_ALL_MASK, name, static_cast<locale_t>(0));
    if (locale == static_cast<locale_t>(0))
        return false;
    ::freelocale(locale);
    return true;
}

} // namespace torvex::testing
