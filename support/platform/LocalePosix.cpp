// Locale names of POSIX ("de_AT.UTF-8") to the locale identifiers of the platform interface. A territory that is not
// listed gets the language's default.
#include "support/platform/PosixParts.hpp"

namespace deftmapi::posix
{

namespace
{

struct TLocale
{
    std::string_view Name;
    std::uint32_t Id;
};

// The first entry of a language is its default.
constexpr TLocale locales[] = {
    {"en_US", 0x0409}, {"en_GB", 0x0809}, {"en_AU", 0x0C09}, {"en_CA", 0x1009}, {"en_NZ", 0x1409}, {"en_IE", 0x1809},
    {"en_ZA", 0x1C09}, {"en_PH", 0x3409}, {"en_IN", 0x4009}, {"en_SG", 0x4809}, {"de_DE", 0x0407}, {"de_CH", 0x0807},
    {"de_AT", 0x0C07}, {"de_LU", 0x1007}, {"de_LI", 0x1407}, {"fr_FR", 0x040C}, {"fr_BE", 0x080C}, {"fr_CA", 0x0C0C},
    {"fr_CH", 0x100C}, {"fr_LU", 0x140C}, {"es_ES", 0x0C0A}, {"es_MX", 0x080A}, {"es_GT", 0x100A}, {"es_CR", 0x140A},
    {"es_PA", 0x180A}, {"es_DO", 0x1C0A}, {"es_VE", 0x200A}, {"es_CO", 0x240A}, {"es_PE", 0x280A}, {"es_AR", 0x2C0A},
    {"es_EC", 0x300A}, {"es_CL", 0x340A}, {"es_UY", 0x380A}, {"es_US", 0x540A}, {"it_IT", 0x0410}, {"it_CH", 0x0810},
    {"nl_NL", 0x0413}, {"nl_BE", 0x0813}, {"pt_PT", 0x0816}, {"pt_BR", 0x0416}, {"da_DK", 0x0406}, {"sv_SE", 0x041D},
    {"sv_FI", 0x081D}, {"nb_NO", 0x0414}, {"no_NO", 0x0414}, {"nn_NO", 0x0814}, {"fi_FI", 0x040B}, {"is_IS", 0x040F},
    {"pl_PL", 0x0415}, {"cs_CZ", 0x0405}, {"sk_SK", 0x041B}, {"hu_HU", 0x040E}, {"ro_RO", 0x0418}, {"bg_BG", 0x0402},
    {"hr_HR", 0x041A}, {"sl_SI", 0x0424}, {"sr_RS", 0x281A}, {"mk_MK", 0x042F}, {"sq_AL", 0x041C}, {"el_GR", 0x0408},
    {"tr_TR", 0x041F}, {"ru_RU", 0x0419}, {"uk_UA", 0x0422}, {"be_BY", 0x0423}, {"et_EE", 0x0425}, {"lv_LV", 0x0426},
    {"lt_LT", 0x0427}, {"ka_GE", 0x0437}, {"hy_AM", 0x042B}, {"he_IL", 0x040D}, {"ar_SA", 0x0401}, {"ar_EG", 0x0C01},
    {"ar_MA", 0x1801}, {"ar_AE", 0x3801}, {"fa_IR", 0x0429}, {"hi_IN", 0x0439}, {"th_TH", 0x041E}, {"vi_VN", 0x042A},
    {"id_ID", 0x0421}, {"ms_MY", 0x043E}, {"ja_JP", 0x0411}, {"ko_KR", 0x0412}, {"zh_CN", 0x0804}, {"zh_TW", 0x0404},
    {"zh_HK", 0x0C04}, {"zh_SG", 0x1004}, {"ca_ES", 0x0403}, {"eu_ES", 0x042D}, {"gl_ES", 0x0456}, {"cy_GB", 0x0452},
    {"ga_IE", 0x083C}, {"mt_MT", 0x043A}, {"af_ZA", 0x0436}, {"kk_KZ", 0x043F},
};

} // namespace

std::uint32_t LocaleOfName(std::string_view name) noexcept
{
    name = name.substr(0, name.find_first_of(".@"));
    const std::string_view language = name.substr(0, name.find('_'));
    std::uint32_t byLanguage = 0;
    for (const TLocale& locale : locales) {
        if (locale.Name == name)
            return locale.Id;
        if (byLanguage == 0 && locale.Name.substr(0, locale.Name.find('_')) == language)
            byLanguage = locale.Id;
    }
    return byLanguage;
}

} // namespace deftmapi::posix
