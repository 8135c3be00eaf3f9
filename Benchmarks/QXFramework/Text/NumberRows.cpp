// NumberRows.cpp - what do number text and formatted text cost?
//
// "snprintf" formats into an area on the stack and copies the result into a std::string.

#include "Rows.h"

#include <QX/String.h>

#ifdef QX_PEER_ABSL
#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>
#endif
#ifdef QX_PEER_FMT
#include <fmt/format.h>
#endif
#ifdef QX_PEER_QT
#include <QByteArray>
#endif

#include <cstdio>
#include <string>

namespace rows {
namespace {

template <class Value, class MakeText>
void Add(const char* row, const char* library, Value value, MakeText makeText)
{
    AddRow(row, library, 1, [=] {
        return [=] {
            Value input = value;
            benchmark::DoNotOptimize(input);
            const auto text = makeText(input);
            benchmark::DoNotOptimize(&text);
            benchmark::ClobberMemory();
        };
    });
}

template <class MakeText>
void AddInt(const char* library, MakeText makeText)
{
    Add("number.int", library, -123456, makeText);
}

template <class MakeText>
void AddDouble(const char* library, MakeText makeText)
{
    Add("number.double", library, -1234.5678, makeText);
}

template <class MakeText>
void AddFormat(const char* library, MakeText makeText)
{
    Add("format", library, -6.25, makeText);
}

} // namespace

void AddNumberRows()
{
    using QX::String;
    AddInt("QX", [](int value) { return String::FormatNumber(value, 0); });
    AddInt("std", [](int value) { return std::to_string(value); });
    AddDouble("QX", [](double value) { return String::FormatNumber(value, 2); });
    AddDouble("snprintf", [](double value) {
        char area[64];
        std::snprintf(area, sizeof area, "%.2f", value);
        return std::string(area);
    });
    AddFormat("QX",
              [](double value) { return String::Format("%s=%d (%.3f dB)", "level", 7, value); });
    AddFormat("snprintf", [](double value) {
        char area[64];
        std::snprintf(area, sizeof area, "%s=%d (%.3f dB)", "level", 7, value);
        return std::string(area);
    });
#ifdef QX_PEER_ABSL
    AddInt("absl", [](int value) { return absl::StrCat(value); });
    AddDouble("absl", [](double value) { return absl::StrFormat("%.2f", value); });
    AddFormat("absl",
              [](double value) { return absl::StrFormat("%s=%d (%.3f dB)", "level", 7, value); });
#endif
#ifdef QX_PEER_FMT
    AddInt("fmt", [](int value) { return fmt::to_string(value); });
    AddDouble("fmt", [](double value) { return fmt::format("{:.2f}", value); });
    AddFormat("fmt",
              [](double value) { return fmt::format("{}={} ({:.3f} dB)", "level", 7, value); });
#endif
#ifdef QX_PEER_QT
    AddInt("Qt", [](int value) { return QByteArray::number(value); });
    AddDouble("Qt", [](double value) { return QByteArray::number(value, 'f', 2); });
#endif
}

} // namespace rows
