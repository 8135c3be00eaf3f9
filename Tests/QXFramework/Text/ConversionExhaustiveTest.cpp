// ConversionExhaustiveTest.cpp - every character, every short byte string, every cut.

#include "QXFramework/Text/ConversionModel.h"

#include <gtest/gtest.h>

namespace {

using conversion::Encode;
using conversion::kFunction;
using conversion::Outcome;
using conversion::RunProduct;
using conversion::Units;

bool IsScalar(UTF32 value)
{
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

template <class UnitT>
Units<UnitT> EveryScalar()
{
    Units<UnitT> all;
    all.reserve(4500000);
    for (UTF32 value = 0; value <= 0x10FFFF; ++value) {
        if (IsScalar(value)) {
            const Units<UnitT> units = Encode<UnitT>(value);
            all.insert(all.end(), units.begin(), units.end());
        }
    }
    return all;
}

template <class SourceT, class TargetT>
void ExpectEveryScalarInOneCall()
{
    const Units<SourceT> source = EveryScalar<SourceT>();
    const Units<TargetT> expected = EveryScalar<TargetT>();

    const Outcome<TargetT> outcome =
        RunProduct<SourceT, TargetT>(source, expected.size(), strictConversion);

    EXPECT_EQ(outcome.result, conversionOK);
    EXPECT_EQ(outcome.consumed, source.size());
    EXPECT_TRUE(outcome.produced == expected);
}

/// Runs the conversion on one character with exactly the room that it needs.
template <class SourceT, class TargetT>
bool ConvertsAlone(UTF32 value, ConversionFlags flags)
{
    const Units<SourceT> source = Encode<SourceT>(value);
    const Units<TargetT> expected = Encode<TargetT>(value);
    Units<TargetT> target(expected.size());
    const SourceT* from = source.data();
    TargetT* to = target.data();

    const ConversionResult result = kFunction<SourceT, TargetT>(
        &from, source.data() + source.size(), &to, target.data() + target.size(), flags);

    return result == conversionOK && from == source.data() + source.size() &&
           to == target.data() + target.size() && target == expected;
}

template <class SourceT, class TargetT>
void ExpectScalarsOneByOne()
{
    // Every 17th character and the neighbourhood of each limit; the calls for the whole range at
    // once see all the others.
    for (UTF32 value = 0; value <= 0x10FFFF; value += 17) {
        if (IsScalar(value)) {
            ASSERT_TRUE((ConvertsAlone<SourceT, TargetT>(value, strictConversion))) << value;
        }
    }
    for (const UTF32 limit : {0x80u, 0x800u, 0xD800u, 0xE000u, 0xFFFFu, 0x10000u, 0x10FFFFu}) {
        for (UTF32 value = limit - 2; value < limit + 2; ++value) {
            if (IsScalar(value)) {
                ASSERT_TRUE((ConvertsAlone<SourceT, TargetT>(value, strictConversion))) << value;
                ASSERT_TRUE((ConvertsAlone<SourceT, TargetT>(value, lenientConversion))) << value;
            }
        }
    }
}

TEST(EveryScalarValue, GoesBetweenUTF8AndUTF16)
{
    ExpectEveryScalarInOneCall<UTF8, UTF16>();
    ExpectEveryScalarInOneCall<UTF16, UTF8>();
    ExpectScalarsOneByOne<UTF8, UTF16>();
    ExpectScalarsOneByOne<UTF16, UTF8>();
}

TEST(EveryScalarValue, GoesBetweenUTF8AndUTF32)
{
    ExpectEveryScalarInOneCall<UTF8, UTF32>();
    ExpectEveryScalarInOneCall<UTF32, UTF8>();
    ExpectScalarsOneByOne<UTF8, UTF32>();
    ExpectScalarsOneByOne<UTF32, UTF8>();
}

TEST(EveryScalarValue, GoesBetweenUTF16AndUTF32)
{
    ExpectEveryScalarInOneCall<UTF16, UTF32>();
    ExpectEveryScalarInOneCall<UTF32, UTF16>();
    ExpectScalarsOneByOne<UTF16, UTF32>();
    ExpectScalarsOneByOne<UTF32, UTF16>();
}

TEST(IsLegalUTF8Sequence, AgreesWithTheTableOnAllStringsOfOneAndTwoBytes)
{
    for (unsigned int first = 0; first < 256; ++first) {
        for (unsigned int second = 0; second < 256; ++second) {
            const UTF8 bytes[] = {static_cast<UTF8>(first), static_cast<UTF8>(second)};
            const std::size_t length = conversion::AnnouncedLength(bytes[0]);

            ASSERT_EQ(isLegalUTF8Sequence(bytes, bytes + 1) != 0,
                      conversion::IsWellFormed(bytes, 1))
                << first;
            ASSERT_EQ(isLegalUTF8Sequence(bytes, bytes + 2) != 0,
                      length <= 2 && conversion::IsWellFormed(bytes, length))
                << first << ' ' << second;
        }
    }
}

TEST(IsLegalUTF8Sequence, AgreesWithTheTableOnAllStringsOfThreeBytes)
{
    for (unsigned int number = 0; number < 1u << 24; ++number) {
        const UTF8 bytes[] = {static_cast<UTF8>(number >> 16), static_cast<UTF8>(number >> 8),
                              static_cast<UTF8>(number)};
        const std::size_t length = conversion::AnnouncedLength(bytes[0]);
        const bool legal = length <= 3 && conversion::IsWellFormed(bytes, length);

        if ((isLegalUTF8Sequence(bytes, bytes + 3) != 0) != legal) {
            FAIL() << std::hex << number;
        }
    }
}

/// The bytes, then filler: the sequence is judged as part of a longer text too.
template <class TargetT>
void ExpectJudgement(const UTF8* bytes, std::size_t length)
{
    UTF8 source[16] = {};
    std::copy_n(bytes, length, source);
    const std::size_t announced = conversion::AnnouncedLength(bytes[0]);
    const bool legal = conversion::IsWellFormed(source, announced);
    TargetT target[16];
    const UTF8* from = source;
    TargetT* to = target;

    const ConversionResult result =
        kFunction<UTF8, TargetT>(&from, source + announced + 4, &to, target + 16, strictConversion);

    // A legal first sequence may be followed by bytes that are not.
    if ((from != source) != legal || (!legal && result != sourceIllegal)) {
        FAIL() << std::hex << +bytes[0] << ' ' << +bytes[1] << ' ' << +bytes[2];
    }
}

TEST(ConvertFromUTF8, AcceptsExactlyTheWellFormedSequencesOfTwoAndThreeBytes)
{
    for (unsigned int number = 0; number < 1u << 24; ++number) {
        const UTF8 bytes[] = {static_cast<UTF8>(number >> 16), static_cast<UTF8>(number >> 8),
                              static_cast<UTF8>(number), 0};
        const bool thirdIsTelling =
            bytes[2] == 0x7F || bytes[2] == 0x80 || bytes[2] == 0xBF || bytes[2] == 0xC0;
        if (!thirdIsTelling) {
            continue;
        }
        ExpectJudgement<UTF16>(bytes, 3);
        ExpectJudgement<UTF32>(bytes, 3);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(ConvertFromUTF8, AcceptsExactlyTheWellFormedSequencesOfFourBytes)
{
    constexpr UTF8 kTelling[] = {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF};
    for (unsigned int first = 0xF0; first < 256; ++first) {
        for (unsigned int second = 0; second < 256; ++second) {
            for (const UTF8 third : kTelling) {
                for (const UTF8 fourth : kTelling) {
                    const UTF8 bytes[] = {static_cast<UTF8>(first), static_cast<UTF8>(second),
                                          third, fourth};
                    const std::size_t length = conversion::AnnouncedLength(bytes[0]);

                    ASSERT_EQ(isLegalUTF8Sequence(bytes, bytes + 4) != 0,
                              length == 4 && conversion::IsWellFormed(bytes, 4));
                    ExpectJudgement<UTF16>(bytes, 4);
                    ExpectJudgement<UTF32>(bytes, 4);
                    if (HasFatalFailure()) {
                        return;
                    }
                }
            }
        }
    }
}

/// Texts of up to three of four characters, one of each length in UTF-8.
std::vector<Units<UTF32>> ShortTexts()
{
    constexpr UTF32 kCharacters[] = {0x61, 0xE9, 0x20AC, 0x1F600};
    std::vector<Units<UTF32>> texts = {{}};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i].size() < 3) {
            for (const UTF32 character : kCharacters) {
                Units<UTF32> longer = texts[i];
                longer.push_back(character);
                texts.push_back(longer);
            }
        }
    }
    return texts;
}

/// Cuts the source after every unit and the target to every size.
template <class SourceT, class TargetT>
void ExpectWholeCharactersAtEveryCut(const Units<UTF32>& text)
{
    Units<SourceT> source;
    Units<TargetT> target;
    for (const UTF32 character : text) {
        const auto from = Encode<SourceT>(character);
        const auto to = Encode<TargetT>(character);
        source.insert(source.end(), from.begin(), from.end());
        target.insert(target.end(), to.begin(), to.end());
    }
    for (std::size_t length = 0; length <= source.size(); ++length) {
        for (std::size_t room = 0; room <= target.size(); ++room) {
            Outcome<TargetT> expected;
            for (const UTF32 character : text) {
                const auto from = Encode<SourceT>(character);
                const auto to = Encode<TargetT>(character);
                if (expected.consumed == length) {
                    break;
                }
                if (expected.consumed + from.size() > length) {
                    expected.result = sourceExhausted;
                    break;
                }
                if (expected.produced.size() + to.size() > room) {
                    expected.result = targetExhausted;
                    break;
                }
                expected.consumed += from.size();
                expected.produced.insert(expected.produced.end(), to.begin(), to.end());
            }
            const Units<SourceT> cut(source.begin(),
                                     source.begin() + static_cast<std::ptrdiff_t>(length));
            for (const ConversionFlags flags : {strictConversion, lenientConversion}) {
                ASSERT_EQ((RunProduct<SourceT, TargetT>(cut, room, flags)), expected)
                    << "length " << length << ", room " << room;
            }
        }
    }
}

TEST(EveryCut, LeavesWholeCharacters)
{
    for (const Units<UTF32>& text : ShortTexts()) {
        ExpectWholeCharactersAtEveryCut<UTF8, UTF16>(text);
        ExpectWholeCharactersAtEveryCut<UTF8, UTF32>(text);
        ExpectWholeCharactersAtEveryCut<UTF16, UTF8>(text);
        ExpectWholeCharactersAtEveryCut<UTF16, UTF32>(text);
        ExpectWholeCharactersAtEveryCut<UTF32, UTF8>(text);
        ExpectWholeCharactersAtEveryCut<UTF32, UTF16>(text);
    }
}

} // namespace
