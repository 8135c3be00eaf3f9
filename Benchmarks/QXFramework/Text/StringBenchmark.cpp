// StringBenchmark.cpp - what do strings cost beside std::string, GLib and the C library?
//
// Each benchmark is named OPERATION, library, length. A copy of a QX::String is one count, whatever
// the length; those of its peers copy the text. "Format" and its peer snprintf fill an area on the
// stack and copy the result once.

#include <QX/String.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using QX::String;
using QX::uint32;

std::string TextOf(const benchmark::State& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}

void CopyQX(benchmark::State& state)
{
    const String text(TextOf(state).c_str());
    for (auto _ : state) {
        const String copy(text);
        benchmark::DoNotOptimize(&copy);
    }
}

void CopyStd(benchmark::State& state)
{
    const std::string text = TextOf(state);
    for (auto _ : state) {
        const std::string copy(text);
        benchmark::DoNotOptimize(copy.data());
    }
}

void CopyGLib(benchmark::State& state)
{
    const std::string text = TextOf(state);
    for (auto _ : state) {
        gchar* const copy = g_strdup(text.c_str());
        benchmark::DoNotOptimize(copy);
        g_free(copy);
    }
}

// A piece of 16 characters after a text of the length.
void AppendQX(benchmark::State& state)
{
    const std::string text = TextOf(state);
    const String piece("0123456789abcdef");
    for (auto _ : state) {
        String target(text.c_str());
        target += piece;
        benchmark::DoNotOptimize(target.CStr());
    }
}

void AppendStd(benchmark::State& state)
{
    const std::string text = TextOf(state);
    const std::string piece("0123456789abcdef");
    for (auto _ : state) {
        std::string target(text.c_str());
        target += piece;
        benchmark::DoNotOptimize(target.data());
    }
}

// A text of the length made of pieces of 16 characters.
void BuildQX(benchmark::State& state)
{
    const String piece("0123456789abcdef");
    for (auto _ : state) {
        String target;
        for (std::int64_t length = 0; length < state.range(0); length += 16) {
            target += piece;
        }
        benchmark::DoNotOptimize(target.CStr());
    }
}

void BuildStd(benchmark::State& state)
{
    const std::string piece("0123456789abcdef");
    for (auto _ : state) {
        std::string target;
        for (std::int64_t length = 0; length < state.range(0); length += 16) {
            target += piece;
        }
        benchmark::DoNotOptimize(target.data());
    }
}

// The middle half of a text of the length.
void SubStringQX(benchmark::State& state)
{
    const String text(TextOf(state).c_str());
    const int start = static_cast<int>(state.range(0) / 4);
    const uint32 count = static_cast<uint32>(state.range(0) / 2);
    for (auto _ : state) {
        const String part = text.GetSubString(start, count);
        benchmark::DoNotOptimize(part.CStr());
    }
}

void SubStringStd(benchmark::State& state)
{
    const std::string text = TextOf(state);
    const auto start = static_cast<std::size_t>(state.range(0) / 4);
    const auto count = static_cast<std::size_t>(state.range(0) / 2);
    for (auto _ : state) {
        const std::string part = text.substr(start, count);
        benchmark::DoNotOptimize(part.data());
    }
}

void EqualQX(benchmark::State& state)
{
    const String left(TextOf(state).c_str());
    const String right(TextOf(state).c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(left == right);
    }
}

void EqualStd(benchmark::State& state)
{
    const std::string left = TextOf(state);
    const std::string right = TextOf(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(left == right);
    }
}

void FormatQX(benchmark::State& state)
{
    for (auto _ : state) {
        const String text = String::Format("channel %d: %s at %.2f dB", 7, "monitor", -6.25);
        benchmark::DoNotOptimize(text.CStr());
    }
}

void FormatTranslatedQX(benchmark::State& state)
{
    for (auto _ : state) {
        const String text = String::Format("channel %I32d: %s at %.2f dB", 7, "monitor", -6.25);
        benchmark::DoNotOptimize(text.CStr());
    }
}

void FormatStd(benchmark::State& state)
{
    for (auto _ : state) {
        char area[16384];
        std::snprintf(area, sizeof area, "channel %d: %s at %.2f dB", 7, "monitor", -6.25);
        const std::string text(area);
        benchmark::DoNotOptimize(text.data());
    }
}

void FormatGLib(benchmark::State& state)
{
    for (auto _ : state) {
        gchar* const text = g_strdup_printf("channel %d: %s at %.2f dB", 7, "monitor", -6.25);
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
}

void ForLengths(benchmark::internal::Benchmark* measured)
{
    measured->Arg(12)->Arg(64)->Arg(4096)->Arg(1 << 20);
}

BENCHMARK(CopyQX)->Apply(ForLengths);
BENCHMARK(CopyStd)->Apply(ForLengths);
BENCHMARK(CopyGLib)->Apply(ForLengths);
BENCHMARK(AppendQX)->Apply(ForLengths);
BENCHMARK(AppendStd)->Apply(ForLengths);
BENCHMARK(BuildQX)->Apply(ForLengths);
BENCHMARK(BuildStd)->Apply(ForLengths);
BENCHMARK(SubStringQX)->Apply(ForLengths);
BENCHMARK(SubStringStd)->Apply(ForLengths);
BENCHMARK(EqualQX)->Apply(ForLengths);
BENCHMARK(EqualStd)->Apply(ForLengths);
BENCHMARK(FormatQX);
BENCHMARK(FormatTranslatedQX);
BENCHMARK(FormatStd);
BENCHMARK(FormatGLib);

} // namespace

BENCHMARK_MAIN();
