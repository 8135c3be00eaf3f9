// ConversionModel.h - the conversions once more, slow and literal, to compare the product with.
//
// The model reads one unit after the other, encodes by division and remainder, and judges UTF-8 by
// the rows of the Unicode Standard's table of well-formed byte sequences. It shares no code with
// the product.
#pragma once

#include <QX/ConvertUTF.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <vector>

namespace conversion {

template <class UnitT>
using Units = std::vector<UnitT>;

/// What a conversion has done.
template <class TargetT>
struct Outcome
{
    ConversionResult result = conversionOK;
    std::size_t consumed = 0;
    Units<TargetT> produced;
    bool wroteBeyond = false; ///< Whether a unit after the produced ones has changed.

    friend bool operator==(const Outcome&, const Outcome&) = default;

    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
    {
        stream << "result " << outcome.result << ", consumed " << outcome.consumed << ", produced"
               << std::hex;
        for (const TargetT unit : outcome.produced) {
            stream << ' ' << static_cast<unsigned long>(unit);
        }
        return stream << std::dec << (outcome.wroteBeyond ? ", wrote beyond" : "");
    }
};

/// One character in the units of an encoding form; the value may be a surrogate.
template <class UnitT>
Units<UnitT> Encode(UTF32 value);
template <>
Units<UTF8> Encode(UTF32 value);
template <>
Units<UTF16> Encode(UTF32 value);
template <>
Units<UTF32> Encode(UTF32 value);

/// How many bytes a first byte announces.
std::size_t AnnouncedLength(UTF8 firstByte);

/// Tells whether the bytes are, as a whole, one row of the table of well-formed sequences.
bool IsWellFormed(const UTF8* bytes, std::size_t length);

/// What the conversion does with this source and room for `room` units.
template <class SourceT, class TargetT>
Outcome<TargetT> RunModel(const Units<SourceT>& source, std::size_t room, ConversionFlags flags);

template <class SourceT, class TargetT>
using Function = ConversionResult (*)(const SourceT**, const SourceT*, TargetT**, TargetT*,
                                      ConversionFlags);

/// The exported function of these widths.
template <class SourceT, class TargetT>
constexpr Function<SourceT, TargetT> kFunction = nullptr;
template <>
inline constexpr Function<UTF32, UTF16> kFunction<UTF32, UTF16> = ConvertUTF32toUTF16;
template <>
inline constexpr Function<UTF16, UTF32> kFunction<UTF16, UTF32> = ConvertUTF16toUTF32;
template <>
inline constexpr Function<UTF16, UTF8> kFunction<UTF16, UTF8> = ConvertUTF16toUTF8;
template <>
inline constexpr Function<UTF8, UTF16> kFunction<UTF8, UTF16> = ConvertUTF8toUTF16;
template <>
inline constexpr Function<UTF32, UTF8> kFunction<UTF32, UTF8> = ConvertUTF32toUTF8;
template <>
inline constexpr Function<UTF8, UTF32> kFunction<UTF8, UTF32> = ConvertUTF8toUTF32;

/// What the product does. Source and target are heap blocks of exactly their sizes, so that the
/// address sanitizer sees any access outside.
template <class SourceT, class TargetT>
Outcome<TargetT> RunProduct(const Units<SourceT>& source, std::size_t room, ConversionFlags flags)
{
    constexpr auto kUntouched = static_cast<TargetT>(0xA5A5A5A5u);
    const std::unique_ptr<SourceT[]> sourceBlock(new SourceT[source.size()]);
    std::copy(source.begin(), source.end(), sourceBlock.get());
    const std::unique_ptr<TargetT[]> targetBlock(new TargetT[room]);
    std::fill_n(targetBlock.get(), room, kUntouched);

    const SourceT* from = sourceBlock.get();
    TargetT* to = targetBlock.get();
    TargetT* const end = to + room;
    Outcome<TargetT> outcome;
    outcome.result =
        kFunction<SourceT, TargetT>(&from, sourceBlock.get() + source.size(), &to, end, flags);
    outcome.consumed = static_cast<std::size_t>(from - sourceBlock.get());
    outcome.produced.assign(targetBlock.get(), to);
    outcome.wroteBeyond = std::any_of(to, end, [=](TargetT unit) { return unit != kUntouched; });
    return outcome;
}

} // namespace conversion
