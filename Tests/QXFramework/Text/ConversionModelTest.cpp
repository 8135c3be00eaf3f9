// ConversionModelTest.cpp - the product beside the slow and literal model.

#include "QXFramework/Text/ConversionModel.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using conversion::Outcome;
using conversion::RunModel;
using conversion::RunProduct;
using conversion::Units;

template <class SourceT, class TargetT>
void ExpectAgreement(const Units<SourceT>& source, std::size_t room)
{
    for (const ConversionFlags flags : {strictConversion, lenientConversion}) {
        ASSERT_EQ((RunProduct<SourceT, TargetT>(source, room, flags)),
                  (RunModel<SourceT, TargetT>(source, room, flags)))
            << "flags " << flags << ", room " << room << ", length " << source.size();
    }
}

/// Picks characters that lie close to everything that a conversion distinguishes.
UTF32 PickCharacter(std::mt19937& random)
{
    constexpr struct
    {
        UTF32 first;
        UTF32 last;
    } kRanges[] = {
        {0x00, 0x7F},       {0x80, 0x7FF},        {0x410, 0x44F},   {0x800, 0xD7FF},
        {0x4E00, 0x9FFF},   {0xD7F0, 0xD7FF},     {0xE000, 0xFFFF}, {0x10000, 0x10FFFF},
        {0x1F600, 0x1F64F}, {0x10FFF0, 0x10FFFF}, {0x7E, 0x81},     {0x7FE, 0x801},
    };
    const auto& range = kRanges[random() % std::size(kRanges)];
    return range.first + static_cast<UTF32>(random() % (range.last - range.first + 1));
}

/// Text in stretches of one kind, as long as the blocks that the product converts at once and
/// longer, with some units spoilt.
template <class UnitT>
Units<UnitT> PickText(std::mt19937& random, bool spoil)
{
    constexpr UTF32 kSpoilt[] = {0xD800,   0xDBFF,     0xDC00, 0xDFFF, 0x80, 0xBF, 0xC0, 0xC1,
                                 0x110000, 0xFFFFFFFF, 0xE0,   0xED,   0xF0, 0xF4, 0xF8, 0xFF};
    Units<UnitT> text;
    const unsigned long stretches = 1 + random() % 6;
    for (unsigned long i = 0; i < stretches; ++i) {
        const UTF32 first = PickCharacter(random);
        const unsigned long length = 1 + random() % 24;
        for (unsigned long j = 0; j < length; ++j) {
            const UTF32 character = random() % 16 == 0 ? PickCharacter(random) : first;
            const auto units = conversion::Encode<UnitT>(character);
            text.insert(text.end(), units.begin(), units.end());
        }
    }
    for (unsigned long i = spoil ? 1 + random() % 3 : 0; i > 0; --i) {
        text[random() % text.size()] = static_cast<UnitT>(kSpoilt[random() % std::size(kSpoilt)]);
    }
    return text;
}

template <class SourceT, class TargetT>
void ExpectAgreementOnRandomText(unsigned int seed)
{
    std::mt19937 random(seed);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const auto source = PickText<SourceT>(random, round % 2 == 0);
        const std::size_t needed =
            RunModel<SourceT, TargetT>(source, source.size() * 4, lenientConversion)
                .produced.size();

        ExpectAgreement<SourceT, TargetT>(source, source.size() * 4);
        ExpectAgreement<SourceT, TargetT>(source, needed);
        ExpectAgreement<SourceT, TargetT>(source, random() % (needed + 1));
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

TEST(ConversionModel, AgreesOnRandomTextFromUTF8)
{
    ExpectAgreementOnRandomText<UTF8, UTF16>(1);
    ExpectAgreementOnRandomText<UTF8, UTF32>(2);
}

TEST(ConversionModel, AgreesOnRandomTextFromUTF16)
{
    ExpectAgreementOnRandomText<UTF16, UTF8>(3);
    ExpectAgreementOnRandomText<UTF16, UTF32>(4);
}

TEST(ConversionModel, AgreesOnRandomTextFromUTF32)
{
    ExpectAgreementOnRandomText<UTF32, UTF8>(5);
    ExpectAgreementOnRandomText<UTF32, UTF16>(6);
}

/// One strange unit at every place of a text of one kind, with room to spare, just enough and one
/// unit too little.
template <class SourceT, class TargetT>
void ExpectAgreementOnOneStrangeUnit()
{
    constexpr UTF32 kFillers[] = {0x61, 0x434, 0x6F22, 0x1F600};
    constexpr UTF32 kStrange[] = {0x00,  0x7F,   0x80,   0xC1,   0xED,    0xF5,     0x7FF,
                                  0x800, 0xD800, 0xDC00, 0xFFFF, 0x10000, 0x110000, 0x80000061};
    for (const UTF32 filler : kFillers) {
        Units<SourceT> text;
        const auto units = conversion::Encode<SourceT>(filler);
        while (text.size() < 84) {
            text.insert(text.end(), units.begin(), units.end());
        }
        for (std::size_t place = 0; place < text.size(); ++place) {
            for (const UTF32 strange : kStrange) {
                Units<SourceT> source = text;
                source[place] = static_cast<SourceT>(strange);
                const std::size_t needed =
                    RunModel<SourceT, TargetT>(source, source.size() * 4, lenientConversion)
                        .produced.size();

                ExpectAgreement<SourceT, TargetT>(source, needed + 64);
                ExpectAgreement<SourceT, TargetT>(source, needed);
                ExpectAgreement<SourceT, TargetT>(source, needed - (needed > 0 ? 1 : 0));
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(ConversionModel, AgreesWhereverOneStrangeUnitStands)
{
    ExpectAgreementOnOneStrangeUnit<UTF8, UTF16>();
    ExpectAgreementOnOneStrangeUnit<UTF8, UTF32>();
    ExpectAgreementOnOneStrangeUnit<UTF16, UTF8>();
    ExpectAgreementOnOneStrangeUnit<UTF16, UTF32>();
    ExpectAgreementOnOneStrangeUnit<UTF32, UTF8>();
    ExpectAgreementOnOneStrangeUnit<UTF32, UTF16>();
}

TEST(ConversionModel, AgreesOnEveryLengthAndRoomOfOneKindOfText)
{
    for (const UTF32 character : {0x61u, 0x434u, 0x6F22u, 0x1F600u}) {
        SCOPED_TRACE(character);
        const Units<UTF8> bytes = conversion::Encode<UTF8>(character);
        Units<UTF8> text;
        for (std::size_t length = 0; length <= 70; ++length) {
            for (std::size_t room = 0; room <= 70; room += (room < 20 || room > 60 ? 1 : 7)) {
                ExpectAgreement<UTF8, UTF16>(text, room);
                ExpectAgreement<UTF8, UTF32>(text, room);
            }
            text.push_back(bytes[length % bytes.size()]);
        }
    }
}

} // namespace
