// ConversionRows.cpp - is each conversion faster than ICU, Qt, GLib and iconv on ordinary text?
//
// The rows convert 4 KiB of the same source units; "memcpy" copies the bytes of the source, the
// limit that no conversion passes. Every library's result is compared with the product's before its
// time is taken. GLib returns blocks of its own, so its times include their allocation; ICU has no
// call between UTF-8 and UTF-32, so its macros for one character are used in a loop. Every library
// is called, none inlined.

#include "Rows.h"

#include <QX/ConvertUTF.h>

#include <glib.h>
#include <iconv.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#ifdef QX_PEER_QT
#include <QStringDecoder>
#include <QStringEncoder>
#endif

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace rows {
namespace {

struct Text
{
    const char* name;
    const char* sentence;
};

const Text kTexts[] = {
    {"ascii", "The quick brown fox jumps over the lazy dog, then sleeps in the warm sun. "},
    {"cyrillic", "Съешь же ещё этих мягких французских булок, да выпей чаю на дорожку. "},
    {"mixed",
     "Пункт 12: set the Volume to -6 dB, затем нажмите Enter и подождите 3 секунды (см. page 4). "},
    {"words", "Level уровень, gain усиление, mute тихо, solo один, pan панорама, bus шина, 5 dB. "},
    {"french",
     "L'entrée est coupée, la sortie reste à zéro : vérifiez le câble branché à l'arrière. "},
    {"cjk", "春眠不覚暁、処処聞啼鳥。夜来風雨声、花落知多少。我能吞下玻璃而不伤身体。"},
    {"emoji",
     "😀🚀🎧🎹🎸🥁🎷🎺🎻🔊🔈🎵🎶🌍🌈🔥👍🎉🐍🦊🦀🍎🍕"
     "🏆"},
};

constexpr std::size_t kSize = 4096;

template <class UnitT>
using Units = std::vector<UnitT>;

constexpr std::size_t kMostUnitsPerUnit = 4;

template <class SourceT, class TargetT>
using Exported = ConversionResult (*)(const SourceT**, const SourceT*, TargetT**, TargetT*,
                                      ConversionFlags);

[[noreturn]] void Fail(const std::string& what)
{
    std::cerr << "ConversionRows: " << what << '\n';
    std::abort();
}

template <class SourceT, class TargetT>
std::size_t RunProduct(Exported<SourceT, TargetT> convert, const Units<SourceT>& source,
                       Units<TargetT>& target)
{
    const SourceT* from = source.data();
    TargetT* to = target.data();
    convert(&from, from + source.size(), &to, to + target.size(), strictConversion);
    return static_cast<std::size_t>(to - target.data());
}

// ICU.

[[gnu::noinline]] std::size_t RunICU(const Units<UTF8>& source, Units<UTF16>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(reinterpret_cast<UChar*>(target.data()), static_cast<int32_t>(target.size()),
                  &length, reinterpret_cast<const char*>(source.data()),
                  static_cast<int32_t>(source.size()), &error);
    return static_cast<std::size_t>(length);
}

[[gnu::noinline]] std::size_t RunICU(const Units<UTF16>& source, Units<UTF8>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(reinterpret_cast<char*>(target.data()), static_cast<int32_t>(target.size()),
                &length, reinterpret_cast<const UChar*>(source.data()),
                static_cast<int32_t>(source.size()), &error);
    return static_cast<std::size_t>(length);
}

[[gnu::noinline]] std::size_t RunICU(const Units<UTF32>& source, Units<UTF16>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF32(reinterpret_cast<UChar*>(target.data()), static_cast<int32_t>(target.size()),
                   &length, reinterpret_cast<const UChar32*>(source.data()),
                   static_cast<int32_t>(source.size()), &error);
    return static_cast<std::size_t>(length);
}

[[gnu::noinline]] std::size_t RunICU(const Units<UTF16>& source, Units<UTF32>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF32(reinterpret_cast<UChar32*>(target.data()), static_cast<int32_t>(target.size()),
                 &length, reinterpret_cast<const UChar*>(source.data()),
                 static_cast<int32_t>(source.size()), &error);
    return static_cast<std::size_t>(length);
}

[[gnu::noinline]] std::size_t RunICU(const Units<UTF8>& source, Units<UTF32>& target)
{
    const UTF8* const bytes = source.data();
    const std::size_t length = source.size();
    std::size_t produced = 0;
    for (std::size_t position = 0; position < length && produced < target.size();) {
        UChar32 character;
        U8_NEXT(bytes, position, length, character);
        if (character < 0) {
            break;
        }
        target[produced++] = static_cast<UTF32>(character);
    }
    return produced;
}

[[gnu::noinline]] std::size_t RunICU(const Units<UTF32>& source, Units<UTF8>& target)
{
    UTF8* const bytes = target.data();
    const std::size_t capacity = target.size();
    std::size_t produced = 0;
    UBool failed = false;
    for (const UTF32 character : source) {
        U8_APPEND(bytes, produced, capacity, character, failed);
        if (failed) {
            break;
        }
    }
    return produced;
}

// GLib.

struct FreeByGLib
{
    void operator()(void* block) const { g_free(block); }
};

/// The length is a reference because the call that makes the block fills it.
template <class TargetT, class MadeT>
std::size_t TakeFromGLib(MadeT* made, const glong& length, Units<TargetT>* target)
{
    const std::unique_ptr<MadeT, FreeByGLib> block(made);
    benchmark::DoNotOptimize(made);
    if (target != nullptr) {
        std::memcpy(target->data(), made, static_cast<std::size_t>(length) * sizeof(TargetT));
    }
    return static_cast<std::size_t>(length);
}

template <class SourceT>
glong LengthForGLib(const Units<SourceT>& source)
{
    return static_cast<glong>(source.size());
}

std::size_t RunGLib(const Units<UTF8>& source, Units<UTF16>* target)
{
    glong length = 0;
    return TakeFromGLib(g_utf8_to_utf16(reinterpret_cast<const char*>(source.data()),
                                        LengthForGLib(source), nullptr, &length, nullptr),
                        length, target);
}

std::size_t RunGLib(const Units<UTF8>& source, Units<UTF32>* target)
{
    glong length = 0;
    return TakeFromGLib(g_utf8_to_ucs4(reinterpret_cast<const char*>(source.data()),
                                       LengthForGLib(source), nullptr, &length, nullptr),
                        length, target);
}

std::size_t RunGLib(const Units<UTF16>& source, Units<UTF8>* target)
{
    glong length = 0;
    return TakeFromGLib(
        g_utf16_to_utf8(source.data(), LengthForGLib(source), nullptr, &length, nullptr), length,
        target);
}

std::size_t RunGLib(const Units<UTF16>& source, Units<UTF32>* target)
{
    glong length = 0;
    return TakeFromGLib(
        g_utf16_to_ucs4(source.data(), LengthForGLib(source), nullptr, &length, nullptr), length,
        target);
}

std::size_t RunGLib(const Units<UTF32>& source, Units<UTF8>* target)
{
    glong length = 0;
    return TakeFromGLib(
        g_ucs4_to_utf8(source.data(), LengthForGLib(source), nullptr, &length, nullptr), length,
        target);
}

std::size_t RunGLib(const Units<UTF32>& source, Units<UTF16>* target)
{
    glong length = 0;
    return TakeFromGLib(
        g_ucs4_to_utf16(source.data(), LengthForGLib(source), nullptr, &length, nullptr), length,
        target);
}

#ifdef QX_PEER_QT

// Qt, into a block that exists. It has no UTF-32 without a copy of its own.

std::size_t RunQt(const Units<UTF8>& source, Units<UTF16>& target)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    auto* const start = reinterpret_cast<QChar*>(target.data());
    const QByteArrayView bytes(source.data(), static_cast<qsizetype>(source.size()));
    return static_cast<std::size_t>(decoder.appendToBuffer(start, bytes) - start);
}

std::size_t RunQt(const Units<UTF16>& source, Units<UTF8>& target)
{
    QStringEncoder encoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    auto* const start = reinterpret_cast<char*>(target.data());
    const QStringView units(reinterpret_cast<const QChar*>(source.data()),
                            static_cast<qsizetype>(source.size()));
    return static_cast<std::size_t>(encoder.appendToBuffer(start, units) - start);
}

#endif

// iconv.

template <class UnitT>
constexpr const char* kIconvName = sizeof(UnitT) == 1   ? "UTF-8"
                                   : sizeof(UnitT) == 2 ? "UTF-16LE"
                                                        : "UTF-32LE";

template <class SourceT, class TargetT>
std::size_t RunIconv(iconv_t converter, const Units<SourceT>& source, Units<TargetT>& target)
{
    // The parameter is not const though the source is only read.
    char* from = const_cast<char*>(reinterpret_cast<const char*>(source.data()));
    std::size_t fromBytes = source.size() * sizeof(SourceT);
    char* to = reinterpret_cast<char*>(target.data());
    std::size_t toBytes = target.size() * sizeof(TargetT);
    iconv(converter, &from, &fromBytes, &to, &toBytes);
    return target.size() - toBytes / sizeof(TargetT);
}

/// The sentence over and over, as many whole characters as fit into the size in units of SourceT.
template <class SourceT>
Units<SourceT> MakeSource(const char* sentence, std::size_t sizeInBytes)
{
    const auto* const bytes = reinterpret_cast<const UTF8*>(sentence);
    const std::size_t length = std::strlen(sentence);
    Units<UTF32> characters(length);
    characters.resize(RunProduct<UTF8, UTF32>(ConvertUTF8toUTF32,
                                              Units<UTF8>(bytes, bytes + length), characters));

    Units<SourceT> source(sizeInBytes / sizeof(SourceT));
    SourceT* to = source.data();
    for (std::size_t i = 0; to < source.data() + source.size(); ++i) {
        const UTF32* from = &characters[i % characters.size()];
        ConversionResult result = conversionOK;
        if constexpr (sizeof(SourceT) == 1) {
            result = ConvertUTF32toUTF8(&from, from + 1, &to, source.data() + source.size(),
                                        strictConversion);
        } else if constexpr (sizeof(SourceT) == 2) {
            result = ConvertUTF32toUTF16(&from, from + 1, &to, source.data() + source.size(),
                                         strictConversion);
        } else {
            *to++ = *from;
        }
        if (result == targetExhausted) {
            break;
        }
    }
    source.resize(static_cast<std::size_t>(to - source.data()));
    return source;
}

/// Registers the benchmark after one run whose result must be the product's.
template <class SourceT, class TargetT, class RunT>
void Register(const std::string& name, std::shared_ptr<const Units<SourceT>> source,
              const Units<TargetT>& expected, RunT run)
{
    auto target = std::make_shared<Units<TargetT>>(source->size() * kMostUnitsPerUnit + 1);
    const std::size_t produced = run(*source, *target, true);
    if (produced != expected.size() ||
        std::memcmp(target->data(), expected.data(), produced * sizeof(TargetT)) != 0) {
        Fail(name + " has another result than the product");
    }
    benchmark::RegisterBenchmark(
        name.c_str(), [source, target, run](benchmark::State& state) mutable {
            for (auto _ : state) {
                benchmark::DoNotOptimize(run(*source, *target, false));
                benchmark::ClobberMemory();
            }
            state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
        });
}

template <class SourceT, class TargetT>
void RegisterLibraries(const std::string& name, Exported<SourceT, TargetT> convert,
                       std::shared_ptr<const Units<SourceT>> source)
{
    Units<TargetT> expected(source->size() * kMostUnitsPerUnit);
    expected.resize(RunProduct(convert, *source, expected));
    const iconv_t converter = iconv_open(kIconvName<TargetT>, kIconvName<SourceT>);

    Register<SourceT, TargetT>(
        name + "/QX", source, expected,
        [convert](const auto& from, auto& to, bool) { return RunProduct(convert, from, to); });
    Register<SourceT, TargetT>(name + "/ICU", source, expected,
                               [](const auto& from, auto& to, bool) { return RunICU(from, to); });
    Register<SourceT, TargetT>(
        name + "/GLib", source, expected,
        [](const auto& from, auto& to, bool keep) { return RunGLib(from, keep ? &to : nullptr); });
#ifdef QX_PEER_QT
    if constexpr (sizeof(SourceT) + sizeof(TargetT) == 3) {
        Register<SourceT, TargetT>(
            name + "/Qt", source, expected,
            [](const auto& from, auto& to, bool) { return RunQt(from, to); });
    }
#endif
    Register<SourceT, TargetT>(
        name + "/iconv", source, expected,
        [converter](const auto& from, auto& to, bool) { return RunIconv(converter, from, to); });
    Register<SourceT, SourceT>(
        name + "/memcpy", source, *source, [](const auto& from, auto& to, bool) {
            std::memcpy(to.data(), from.data(), from.size() * sizeof(from[0]));
            return from.size();
        });
}

template <class SourceT, class TargetT>
void RegisterConversion(const char* conversion, Exported<SourceT, TargetT> convert)
{
    for (const Text& text : kTexts) {
        RegisterLibraries<SourceT, TargetT>(
            std::string("raw.") + conversion + '.' + text.name, convert,
            std::make_shared<const Units<SourceT>>(MakeSource<SourceT>(text.sentence, kSize)));
    }
}

} // namespace

void AddConversionRows()
{
    RegisterConversion<UTF8, UTF16>("8-to-16", ConvertUTF8toUTF16);
    RegisterConversion<UTF16, UTF8>("16-to-8", ConvertUTF16toUTF8);
    RegisterConversion<UTF8, UTF32>("8-to-32", ConvertUTF8toUTF32);
    RegisterConversion<UTF32, UTF8>("32-to-8", ConvertUTF32toUTF8);
    RegisterConversion<UTF16, UTF32>("16-to-32", ConvertUTF16toUTF32);
    RegisterConversion<UTF32, UTF16>("32-to-16", ConvertUTF32toUTF16);
}

} // namespace rows
