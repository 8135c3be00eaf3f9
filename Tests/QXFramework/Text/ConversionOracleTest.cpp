// ConversionOracleTest.cpp - the conversions beside ICU's, which know nothing of ours.

#include "QXFramework/Text/ConversionModel.h"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

namespace {

using conversion::Outcome;
using conversion::RunProduct;
using conversion::Units;

constexpr std::size_t kRoom = 256;

/// What ICU makes of UTF-8; empty and false where it refuses.
bool ConvertByICU(const Units<UTF8>& source, Units<UTF16>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    target.resize(kRoom);
    u_strFromUTF8(reinterpret_cast<UChar*>(target.data()), kRoom, &length,
                  reinterpret_cast<const char*>(source.data()), static_cast<int32_t>(source.size()),
                  &error);
    target.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return U_SUCCESS(error);
}

bool ConvertByICU(const Units<UTF16>& source, Units<UTF8>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    target.resize(kRoom);
    u_strToUTF8(reinterpret_cast<char*>(target.data()), kRoom, &length,
                reinterpret_cast<const UChar*>(source.data()), static_cast<int32_t>(source.size()),
                &error);
    target.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return U_SUCCESS(error);
}

/// Strict conversion and ICU accept the same texts and make the same of them.
template <class SourceT, class TargetT>
void ExpectICUAgrees(const Units<SourceT>& source)
{
    Units<TargetT> expected;
    const bool accepted = ConvertByICU(source, expected);

    const Outcome<TargetT> outcome = RunProduct<SourceT, TargetT>(source, kRoom, strictConversion);

    ASSERT_EQ(outcome.result == conversionOK, accepted) << outcome;
    if (accepted) {
        ASSERT_EQ(outcome.produced, expected);
    }
}

TEST(ConversionOracle, AcceptsTheSameUTF8AsICU)
{
    constexpr UTF8 kTelling[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1,
                                 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3,
                                 0xF4, 0xF5, 0xF7, 0xF8, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF};
    for (const UTF8 first : kTelling) {
        for (const UTF8 second : kTelling) {
            for (const UTF8 third : kTelling) {
                for (const UTF8 fourth : kTelling) {
                    ExpectICUAgrees<UTF8, UTF16>({first, second, third, fourth});
                    if (HasFatalFailure()) {
                        return;
                    }
                }
            }
        }
    }
}

TEST(ConversionOracle, AcceptsTheSameUTF16AsICU)
{
    constexpr UTF16 kTelling[] = {0x00,   0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                                  0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
    for (const UTF16 first : kTelling) {
        for (const UTF16 second : kTelling) {
            for (const UTF16 third : kTelling) {
                ExpectICUAgrees<UTF16, UTF8>({first, second, third});
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

} // namespace
