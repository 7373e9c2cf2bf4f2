#include "torvex/platform/UserLocale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <locale.h>

namespace torvex::platform {
namespace {

struct LocaleId {
    const char* name;
    uint32_t id;
};

// Language and territory to locale id; a bare language falls back to its first entry.
constexpr LocaleId kLocaleIds[] = {
    {"en_US", 1033}, {"en_GB", 2057},  {"en_AU", 3081},  {"en_CA", 4105}, {"en_NZ", 5129},
    {"en_IE", 6153}, {"en_ZA", 7177},  {"en_IN", 16393}, {"de_DE", 1031}, {"de_CH", 2055},
    {"de_AT", 3079}, {"de_LU", 4103},  {"fr_FR", 1036},  {"fr_BE", 2060}, {"fr_CA", 3084},
    {"fr_CH", 4108}, {"fr_LU", 5132},  {"it_IT", 1040},  {"it_CH", 2064}, {"es_ES", 3082},
    {"es_MX", 2058}, {"es_AR", 11274}, {"pt_BR", 1046},  {"pt_PT", 2070}, {"nl_NL", 1043},
    {"nl_BE", 2067}, {"ja_JP", 1041},  {"zh_CN", 2052},  {"zh_TW", 1028}, {"zh_HK", 3076},
    {"zh_SG", 4100}, {"ko_KR", 1042},  {"ru_RU", 1049},  {"pl_PL", 1045}, {"cs_CZ", 1029},
    {"sk_SK", 1051}, {"hu_HU", 1038},  {"sv_SE", 1053},  {"sv_FI", 2077}, {"da_DK", 1030},
    {"nb_NO", 1044}, {"nn_NO", 2068},  {"fi_FI", 1035},  {"tr_TR", 1055}, {"el_GR", 1032},
    {"ro_RO", 1048}, {"bg_BG", 1026},  {"hr_HR", 1050},  {"sl_SI", 1060}, {"sr_RS", 9242},
    {"uk_UA", 1058}, {"et_EE", 1061},  {"lv_LV", 1062},  {"lt_LT", 1063}, {"he_IL", 1037},
    {"ar_SA", 1025}, {"th_TH", 1054},  {"vi_VN", 1066},  {"id_ID", 1057}, {"ms_MY", 1086},
    {"hi_IN", 1081}, {"ca_ES", 1027},  {"eu_ES", 1069},  {"gl_ES", 1110}, {"is_IS", 1039},
};

} // namespace

std::string UserLocaleName() {
    for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return {};
}

wchar_t UserDecimalSeparator() {
    const std::string name = UserLocaleName();
    if (name.empty())
        return L'.';
    // A locale object of its own: the process and thread locales stay as they are.
    locale_t locale = newlocale(LC_NUMERIC_MASK, name.c_str(), static_cast<locale_t>(0));
    if (locale == static_cast<locale_t>(0))
        return L'.';
    const char* radix = nl_langinfo_l(RADIXCHAR, locale);
    wchar_t separator = L'.';
    if (radix && *radix) {
        const unsigned char first = static_cast<unsigned char>(radix[0]);
        if (first < 0x80) {
            separator = static_cast<wchar_t>(first);
        } else if ((first & 0xE0) == 0xC0 && radix[1]) {
            separator = static_cast<wchar_t>(((first & 0x1F) << 6) | (radix[1] & 0x3F));
        } else if ((first & 0xF0) == 0xE0 && radix[1] && radix[2]) {
            separator = static_cast<wchar_t>(((first & 0x0F) << 12) | ((radix[1] & 0x3F) << 6) |
                                             (radix[2] & 0x3F));
        }
    }
    freelocale(locale);
    return separator;
}

uint32_t LocaleIdOf(const std::string& posixName) {
    // "ll_TT.codeset@modifier": only language and territory count.
    const std::string base = posixName.substr(0, posixName.find_first_of(".@"));
    if (base.empty() || base == "C" || base == "POSIX")
        return 1033;
    for (const LocaleId& entry : kLocaleIds)
        if (base == entry.name)
            return entry.id;
    const std::string language = base.substr(0, base.find('_'));
    for (const LocaleId& entry : kLocaleIds)
        if (std::strncmp(entry.name, language.c_str(), language.size()) == 0 &&
            entry.name[language.size()] == '_')
            return entry.id;
    return 1033;
}

uint32_t UserLocaleId() {
    return LocaleIdOf(UserLocaleName());
}

} // namespace torvex::platform
