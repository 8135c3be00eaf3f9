// ConversionTableTest.cpp - what each conversion does with well-formed and ill-formed units, case
// by case.

#include "QXFramework/Text/ConversionModel.h"

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using conversion::Outcome;
using conversion::RunProduct;
using conversion::Units;

static_assert(sizeof(UTF32) == 4 && sizeof(UTF16) == 2 && sizeof(UTF8) == 1);
static_assert(std::is_unsigned_v<UTF32> && std::is_unsigned_v<UTF16> && std::is_unsigned_v<UTF8>);
static_assert(std::is_same_v<Boolean, unsigned char>);
static_assert(conversionOK == 0 && sourceExhausted == 1 && targetExhausted == 2 &&
              sourceIllegal == 3);
static_assert(strictConversion == 0 && lenientConversion == 1);

constexpr std::size_t kEnough = 32;

template <class SourceT, class TargetT>
struct Case
{
    const char* what;
    Units<SourceT> source;
    std::size_t room;
    Outcome<TargetT> strict;
    Outcome<TargetT> lenient;
};

/// A case in which both modes agree.
template <class SourceT, class TargetT>
Case<SourceT, TargetT> Both(const char* what, Units<SourceT> source, std::size_t room,
                            const Outcome<TargetT>& outcome)
{
    return {what, source, room, outcome, outcome};
}

template <class SourceT, class TargetT>
void ExpectAll(const std::vector<Case<SourceT, TargetT>>& cases)
{
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);

        EXPECT_EQ((RunProduct<SourceT, TargetT>(each.source, each.room, strictConversion)),
                  each.strict);
        EXPECT_EQ((RunProduct<SourceT, TargetT>(each.source, each.room, lenientConversion)),
                  each.lenient);
    }
}

TEST(ConvertUTF16toUTF32, TreatsEachKindOfUnitAsDocumented)
{
    using C = Case<UTF16, UTF32>;
    const auto both = Both<UTF16, UTF32>;

    ExpectAll(std::vector<C>{
        both("nothing", {}, 0, {conversionOK, 0, {}}),
        both("pair", {0xD83D, 0xDE00}, kEnough, {conversionOK, 2, {0x1F600}}),
        {"high, more follows",
         {0x61, 0xD800, 0x62},
         kEnough,
         {sourceIllegal, 1, {0x61}},
         {conversionOK, 3, {0x61, 0xD800, 0x62}}},
        {"two highs, then low",
         {0xD800, 0xD800, 0xDC00},
         kEnough,
         {sourceIllegal, 0, {}},
         {conversionOK, 3, {0xD800, 0x10000}}},
        both("high is last", {0x61, 0xD800}, kEnough, {sourceExhausted, 1, {0x61}}),
        both("high is last, target full", {0x61, 0xD800}, 1, {sourceExhausted, 1, {0x61}}),
        {"low",
         {0x61, 0xDC00, 0x62},
         kEnough,
         {sourceIllegal, 1, {0x61}},
         {conversionOK, 3, {0x61, 0xDC00, 0x62}}},
        {"low is last", {0xDFFF}, kEnough, {sourceIllegal, 0, {}}, {conversionOK, 1, {0xDFFF}}},
        {"low, target full",
         {0x61, 0xDC00},
         1,
         {sourceIllegal, 1, {0x61}},
         {targetExhausted, 1, {0x61}}},
        both("pair, target full", {0x61, 0xD800, 0xDC00}, 1, {targetExhausted, 1, {0x61}}),
        both("no target", {0x61}, 0, {targetExhausted, 0, {}}),
    });
}

TEST(ConvertUTF16toUTF8, TreatsEachKindOfUnitAsDocumented)
{
    using C = Case<UTF16, UTF8>;
    const auto both = Both<UTF16, UTF8>;

    ExpectAll(std::vector<C>{
        both("nothing", {}, 0, {conversionOK, 0, {}}),
        both("one to four bytes", {0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00}, kEnough,
             {conversionOK, 5, {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80}}),
        {"high, more follows",
         {0xD800, 0x61},
         kEnough,
         {sourceIllegal, 0, {}},
         {conversionOK, 2, {0xED, 0xA0, 0x80, 0x61}}},
        both("high is last", {0x61, 0xDBFF}, kEnough, {sourceExhausted, 1, {0x61}}),
        both("high is last, target full", {0x61, 0xDBFF}, 1, {sourceExhausted, 1, {0x61}}),
        {"low",
         {0x61, 0xDFFF, 0x62},
         kEnough,
         {sourceIllegal, 1, {0x61}},
         {conversionOK, 3, {0x61, 0xED, 0xBF, 0xBF, 0x62}}},
        {"low, no room", {0xDC00}, 2, {sourceIllegal, 0, {}}, {targetExhausted, 0, {}}},
        both("two bytes into one", {0xE9}, 1, {targetExhausted, 0, {}}),
        both("three bytes into two", {0x20AC}, 2, {targetExhausted, 0, {}}),
        both("four bytes into three", {0xD83D, 0xDE00}, 3, {targetExhausted, 0, {}}),
    });
}

TEST(ConvertUTF32toUTF16, TreatsEachKindOfUnitAsDocumented)
{
    using C = Case<UTF32, UTF16>;
    const auto both = Both<UTF32, UTF16>;

    ExpectAll(std::vector<C>{
        both("nothing", {}, 0, {conversionOK, 0, {}}),
        both("ends of both planes", {0xFFFF, 0x10000, 0x10FFFF}, kEnough,
             {conversionOK, 3, {0xFFFF, 0xD800, 0xDC00, 0xDBFF, 0xDFFF}}),
        {"high",
         {0x61, 0xD800, 0x62},
         kEnough,
         {sourceIllegal, 1, {0x61}},
         {conversionOK, 3, {0x61, 0xFFFD, 0x62}}},
        {"low is last", {0xDFFF}, kEnough, {sourceIllegal, 0, {}}, {conversionOK, 1, {0xFFFD}}},
        {"high and low are no pair",
         {0xD83D, 0xDE00},
         kEnough,
         {sourceIllegal, 0, {}},
         {conversionOK, 2, {0xFFFD, 0xFFFD}}},
        {"too large",
         {0x61, 0x110000, 0x62},
         kEnough,
         {sourceIllegal, 3, {0x61, 0x62}},
         {conversionOK, 3, {0x61, 0xFFFD, 0x62}}},
        {"largest word",
         {0xFFFFFFFF},
         kEnough,
         {sourceIllegal, 1, {}},
         {conversionOK, 1, {0xFFFD}}},
        {"too large, then surrogate",
         {0x110000, 0x61, 0xDC00},
         kEnough,
         {sourceIllegal, 2, {0x61}},
         {conversionOK, 3, {0xFFFD, 0x61, 0xFFFD}}},
        {"too large, then no room",
         {0x110000, 0x61, 0x62},
         1,
         {targetExhausted, 2, {0x61}},
         {targetExhausted, 1, {0xFFFD}}},
        both("surrogate, target full", {0x61, 0xD800}, 1, {targetExhausted, 1, {0x61}}),
        both("too large, target full", {0x61, 0x110000}, 1, {targetExhausted, 1, {0x61}}),
        both("pair into one unit", {0x61, 0x10000}, 2, {targetExhausted, 1, {0x61}}),
    });
}

TEST(ConvertUTF32toUTF8, TreatsEachKindOfUnitAsDocumented)
{
    using C = Case<UTF32, UTF8>;
    const auto both = Both<UTF32, UTF8>;

    ExpectAll(std::vector<C>{
        both("nothing", {}, 0, {conversionOK, 0, {}}),
        both("last of each length", {0x7F, 0x7FF, 0xFFFF, 0x10FFFF}, kEnough,
             {conversionOK, 4, {0x7F, 0xDF, 0xBF, 0xEF, 0xBF, 0xBF, 0xF4, 0x8F, 0xBF, 0xBF}}),
        {"surrogate",
         {0x61, 0xD800, 0x62},
         kEnough,
         {sourceIllegal, 1, {0x61}},
         {conversionOK, 3, {0x61, 0xED, 0xA0, 0x80, 0x62}}},
        {"surrogate, no room", {0xDFFF}, 2, {sourceIllegal, 0, {}}, {targetExhausted, 0, {}}},
        both("too large", {0x61, 0x110000, 0x62}, kEnough,
             {sourceIllegal, 3, {0x61, 0xEF, 0xBF, 0xBD, 0x62}}),
        both("largest word", {0xFFFFFFFF}, kEnough, {sourceIllegal, 1, {0xEF, 0xBF, 0xBD}}),
        both("too large, no room", {0x61, 0x110000}, 3, {targetExhausted, 1, {0x61}}),
        both("too large, later no room", {0x110000, 0xE9}, 4,
             {targetExhausted, 1, {0xEF, 0xBF, 0xBD}}),
        {"too large, then surrogate",
         {0x110000, 0xD800},
         kEnough,
         {sourceIllegal, 1, {0xEF, 0xBF, 0xBD}},
         {sourceIllegal, 2, {0xEF, 0xBF, 0xBD, 0xED, 0xA0, 0x80}}},
    });
}

/// What is done with bytes does not depend on the wider form.
struct BytesCase
{
    const char* what;
    Units<UTF8> source;
    std::size_t room;
    ConversionResult result;
    std::size_t consumed;
    Units<UTF32> produced; ///< Basic-plane characters only, so both forms have these units.
};

const BytesCase kBytesCases[] = {
    {"nothing", {}, 0, conversionOK, 0, {}},
    {"one to three bytes",
     {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC},
     kEnough,
     conversionOK,
     6,
     {0x61, 0xE9, 0x20AC}},
    {"encoded high surrogate", {0x61, 0xED, 0xA0, 0x80, 0x62}, kEnough, sourceIllegal, 1, {0x61}},
    {"encoded low surrogate is last", {0xED, 0xBF, 0xBF}, kEnough, sourceIllegal, 0, {}},
    {"last before the surrogates", {0xED, 0x9F, 0xBF}, kEnough, conversionOK, 3, {0xD7FF}},
    {"first after the surrogates", {0xEE, 0x80, 0x80}, kEnough, conversionOK, 3, {0xE000}},
    {"second byte of ED is ASCII", {0xED, 0x41, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"second byte of F4 is ASCII", {0xF4, 0x41, 0x80, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"above the last character", {0xF4, 0x90, 0x80, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"longer form of ASCII", {0x61, 0xC1, 0xBF, 0x62}, kEnough, sourceIllegal, 1, {0x61}},
    {"longer form in three bytes", {0xE0, 0x9F, 0xBF}, kEnough, sourceIllegal, 0, {}},
    {"longer form in four bytes", {0xF0, 0x8F, 0xBF, 0xBF}, kEnough, sourceIllegal, 0, {}},
    {"stray continuation", {0x61, 0x80, 0x62}, kEnough, sourceIllegal, 1, {0x61}},
    {"stray continuation, target full", {0x61, 0x80}, 1, sourceIllegal, 1, {0x61}},
    {"F5", {0xF5, 0x80, 0x80, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"five bytes", {0xF8, 0x88, 0x80, 0x80, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"five bytes announced, four there", {0xF8, 0x88, 0x80, 0x80}, kEnough, sourceExhausted, 0, {}},
    {"six bytes", {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, kEnough, sourceIllegal, 0, {}},
    {"six bytes announced, five there",
     {0xFC, 0x84, 0x80, 0x80, 0x80},
     kEnough,
     sourceExhausted,
     0,
     {}},
    {"FF announces six", {0xFF, 0, 0, 0, 0}, kEnough, sourceExhausted, 0, {}},
    {"C0 is last", {0x61, 0xC0}, kEnough, sourceExhausted, 1, {0x61}},
    {"exhausted though already ill-formed", {0xE2, 0x00}, kEnough, sourceExhausted, 0, {}},
    {"ill-formed with all bytes there", {0xE2, 0x82, 0x00}, kEnough, sourceIllegal, 0, {}},
    {"two bytes, second is NUL", {0xC3, 0x00}, kEnough, sourceIllegal, 0, {}},
    {"exhausted before the target is looked at", {0x61, 0xE2, 0x82}, 1, sourceExhausted, 1, {0x61}},
    {"illegal before the target is looked at", {0x61, 0xC3, 0x41}, 1, sourceIllegal, 1, {0x61}},
    {"no room", {0x61, 0xC3, 0xA9}, 1, targetExhausted, 1, {0x61}},
    {"no target", {0x61}, 0, targetExhausted, 0, {}},
};

TEST(ConvertUTF8toUTF16, TreatsEachKindOfByteAsDocumentedInBothModes)
{
    for (const BytesCase& each : kBytesCases) {
        SCOPED_TRACE(each.what);
        const Outcome<UTF16> expected{each.result, each.consumed,
                                      Units<UTF16>(each.produced.begin(), each.produced.end())};

        EXPECT_EQ((RunProduct<UTF8, UTF16>(each.source, each.room, strictConversion)), expected);
        EXPECT_EQ((RunProduct<UTF8, UTF16>(each.source, each.room, lenientConversion)), expected);
    }
}

TEST(ConvertUTF8toUTF32, TreatsEachKindOfByteAsDocumentedInBothModes)
{
    for (const BytesCase& each : kBytesCases) {
        SCOPED_TRACE(each.what);
        const Outcome<UTF32> expected{each.result, each.consumed, each.produced};

        EXPECT_EQ((RunProduct<UTF8, UTF32>(each.source, each.room, strictConversion)), expected);
        EXPECT_EQ((RunProduct<UTF8, UTF32>(each.source, each.room, lenientConversion)), expected);
    }
}

TEST(ConversionFlags, AnyValueButZeroIsLenient)
{
    for (const unsigned int word : {1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(word);
        const auto flags = static_cast<ConversionFlags>(word);

        EXPECT_EQ((RunProduct<UTF16, UTF8>({0xDC00}, kEnough, flags)),
                  (Outcome<UTF8>{conversionOK, 1, {0xED, 0xB0, 0x80}}));
        EXPECT_EQ((RunProduct<UTF16, UTF32>({0xDC00}, kEnough, flags)),
                  (Outcome<UTF32>{conversionOK, 1, {0xDC00}}));
        EXPECT_EQ((RunProduct<UTF32, UTF16>({0xDC00}, kEnough, flags)),
                  (Outcome<UTF16>{conversionOK, 1, {0xFFFD}}));
        EXPECT_EQ((RunProduct<UTF32, UTF8>({0xDC00}, kEnough, flags)),
                  (Outcome<UTF8>{conversionOK, 1, {0xED, 0xB0, 0x80}}));
    }
}

TEST(IsLegalUTF8Sequence, ReadsNothingOfAnEmptySource)
{
    const std::unique_ptr<UTF8[]> block(new UTF8[1]{0x61});

    EXPECT_EQ(isLegalUTF8Sequence(block.get() + 1, block.get() + 1), 0);
    EXPECT_EQ(isLegalUTF8Sequence(nullptr, nullptr), 0);
}

TEST(IsLegalUTF8Sequence, JudgesTheFirstSequenceAlone)
{
    const UTF8 wellFormedFirst[] = {0xC3, 0xA9, 0x80};
    const UTF8 illFormedFirst[] = {0x80, 0xC3, 0xA9};

    EXPECT_EQ(isLegalUTF8Sequence(wellFormedFirst, wellFormedFirst + 3), 1);
    EXPECT_EQ(isLegalUTF8Sequence(illFormedFirst, illFormedFirst + 3), 0);
}

} // namespace
