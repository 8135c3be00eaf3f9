// FuzzConversion.cpp - arbitrary units through each conversion, compared with the literal model.
//
// The first byte chooses conversion and mode, the second the room in the target; the others are the
// source, each unit with its lowest byte first.

#include "FuzzCheck.h"
#include "QXFramework/Text/ConversionModel.h"

#include <cstddef>
#include <cstdint>

namespace {

using conversion::RunModel;
using conversion::RunProduct;
using conversion::Units;

template <class UnitT>
Units<UnitT> ReadUnits(const uint8_t* bytes, std::size_t size)
{
    Units<UnitT> units(size / sizeof(UnitT));
    for (std::size_t i = 0; i < units.size() * sizeof(UnitT); ++i) {
        const UTF32 part = static_cast<UTF32>(bytes[i]) << 8 * (i % sizeof(UnitT));
        units[i / sizeof(UnitT)] = static_cast<UnitT>(units[i / sizeof(UnitT)] | part);
    }
    return units;
}

template <class SourceT, class TargetT>
void Compare(const uint8_t* bytes, std::size_t size, std::size_t room, ConversionFlags flags)
{
    const Units<SourceT> source = ReadUnits<SourceT>(bytes, size);
    const std::size_t ample = source.size() * 4;

    FUZZ_CHECK((RunProduct<SourceT, TargetT>(source, room, flags) ==
                RunModel<SourceT, TargetT>(source, room, flags)));
    FUZZ_CHECK((RunProduct<SourceT, TargetT>(source, ample, flags) ==
                RunModel<SourceT, TargetT>(source, ample, flags)));
}

void CompareLegality(const uint8_t* bytes, std::size_t size)
{
    const Units<UTF8> source = ReadUnits<UTF8>(bytes, size);
    const std::size_t length = source.empty() ? 0 : conversion::AnnouncedLength(source[0]);
    const bool legal =
        length > 0 && length <= source.size() && conversion::IsWellFormed(source.data(), length);

    FUZZ_CHECK((isLegalUTF8Sequence(source.data(), source.data() + source.size()) != 0) == legal);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const uint8_t choice = bytes[0];
    const std::size_t room = bytes[1];
    const ConversionFlags flags = choice % 2 == 0 ? strictConversion : lenientConversion;
    bytes += 2;
    size -= 2;
    switch (choice / 2 % 6) {
    case 0:
        Compare<UTF8, UTF16>(bytes, size, room, flags);
        CompareLegality(bytes, size);
        break;
    case 1:
        Compare<UTF8, UTF32>(bytes, size, room, flags);
        break;
    case 2:
        Compare<UTF16, UTF8>(bytes, size, room, flags);
        break;
    case 3:
        Compare<UTF16, UTF32>(bytes, size, room, flags);
        break;
    case 4:
        Compare<UTF32, UTF8>(bytes, size, room, flags);
        break;
    default:
        Compare<UTF32, UTF16>(bytes, size, room, flags);
        break;
    }
    return 0;
}
