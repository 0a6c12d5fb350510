#ifndef ZK_TESTS_LOCALESYMBOLS_H
#define ZK_TESTS_LOCALESYMBOLS_H

#include <zklocale.h>

/// Puts the symbols back that a test changes.
class LocaleSymbols
{
public:
    LocaleSymbols()
        : m_zero(ZkLocale::mZeroDigit),
          m_exponential(ZkLocale::mExponential),
          m_percent(ZkLocale::mPercentSign),
          m_minus(ZkLocale::mNegativeSign),
          m_plus(ZkLocale::mPositiveSign),
          m_group(ZkLocale::mGroupSeparator),
          m_decimal(ZkLocale::mDecimal),
          m_list(ZkLocale::mListSign),
          m_options(ZkLocale::mNumberOptions)
    {
    }

    ~LocaleSymbols()
    {
        ZkLocale::mZeroDigit = m_zero;
        ZkLocale::mExponential = m_exponential;
        ZkLocale::mPercentSign = m_percent;
        ZkLocale::mNegativeSign = m_minus;
        ZkLocale::mPositiveSign = m_plus;
        ZkLocale::mGroupSeparator = m_group;
        ZkLocale::mDecimal = m_decimal;
        ZkLocale::mListSign = m_list;
        ZkLocale::mNumberOptions = m_options;
    }

    LocaleSymbols(const LocaleSymbols &) = delete;
    LocaleSymbols &operator=(const LocaleSymbols &) = delete;

    /// Arabic-Indic digits with their decimal and thousands separators.
    static void setArabic()
    {
        ZkLocale::mZeroDigit = 0x660;
        ZkLocale::mDecimal = 0x66B;
        ZkLocale::mGroupSeparator = 0x66C;
    }

private:
    ZkUcs2 m_zero, m_exponential, m_percent, m_minus, m_plus, m_group, m_decimal, m_list;
    std::uint16_t m_options;
};

#endif
