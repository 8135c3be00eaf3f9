// VariantBenchmark.cpp - does a variant's record cost less than GLib's serialized variants?
//
// Each benchmark is named OPERATION/VALUE/LIBRARY. "Serialize" makes the bytes of a ready value in
// a ready block; "Deserialize" makes a value from a record and reads it, which for the product
// includes all checks of the record. GLib's bytes carry no type and no length, so the caller
// gives them; its untrusted form checks them as the product does. "memcpy" copies the record, the
// limit that no record of its size passes.

#include <QX/Variant.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

using QX::uint32;
using QX::Variant;

constexpr int kNumber = 0x11223344;
constexpr size_t kByteCount = 20;
constexpr unsigned char kBytes[kByteCount] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                              11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
constexpr uint32 kHeaderSize = 12;

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::cerr << "VariantBenchmark: " << what << '\n';
        std::abort();
    }
}

void Fill(Variant& value, bool isNumber)
{
    if (isNumber)
        value.Set(Variant::kInt32, &kNumber, sizeof kNumber);
    else
        value.SetBuffer(kBytes, kByteCount);
}

GVariant* MakePeer(bool isNumber)
{
    return g_variant_ref_sink(
        isNumber ? g_variant_new_int32(kNumber)
                 : g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, kBytes, kByteCount, 1));
}

void SerializeProduct(benchmark::State& state, bool isNumber)
{
    Variant value;
    Fill(value, isNumber);
    unsigned char record[64];
    uint32 total = 0;
    for (auto _ : state) {
        total = Variant::Serialize(value, record, sizeof record);
        benchmark::DoNotOptimize(record);
    }
    Require(total == kHeaderSize + (isNumber ? sizeof kNumber : kByteCount), "wrong length");
}

void SerializePeer(benchmark::State& state, bool isNumber)
{
    GVariant* const value = MakePeer(isNumber);
    unsigned char record[64];
    for (auto _ : state) {
        g_variant_store(value, record);
        benchmark::DoNotOptimize(record);
    }
    Require(isNumber ? std::memcmp(record, &kNumber, sizeof kNumber) == 0
                     : std::memcmp(record, kBytes, kByteCount) == 0,
            "GLib wrote other bytes");
    g_variant_unref(value);
}

void CopyRecord(benchmark::State& state, bool isNumber)
{
    unsigned char source[64] = {1};
    unsigned char record[64];
    size_t size = kHeaderSize + (isNumber ? sizeof kNumber : kByteCount);
    for (auto _ : state) {
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(source);
        std::memcpy(record, source, size);
        benchmark::DoNotOptimize(record);
    }
}

void DeserializeProduct(benchmark::State& state, bool isNumber)
{
    unsigned char record[64];
    Variant written;
    Fill(written, isNumber);
    const uint32 total = Variant::Serialize(written, record, sizeof record);
    for (auto _ : state) {
        Variant value;
        const uint32 result = Variant::Deserialize(value, record, total);
        benchmark::DoNotOptimize(result);
        uint32 size = 0;
        benchmark::DoNotOptimize(isNumber ? nullptr : value.GetConstPointer(size));
        benchmark::DoNotOptimize(isNumber ? value.GetInt32() : 0);
    }
    Variant value;
    Variant::Deserialize(value, record, total);
    Require(!isNumber || value.GetInt32() == kNumber, "the record gives another number");
}

void DeserializePeer(benchmark::State& state, bool isNumber)
{
    // GLib reads its data in place and wants it aligned.
    alignas(8) unsigned char record[64] = {};
    GVariant* const written = MakePeer(isNumber);
    const gsize total = g_variant_get_size(written);
    g_variant_store(written, record);
    g_variant_unref(written);
    const GVariantType* const type = isNumber ? G_VARIANT_TYPE_INT32 : G_VARIANT_TYPE_BYTESTRING;
    for (auto _ : state) {
        // The copy stands for the product's: either value outlives the record.
        GBytes* const bytes = g_bytes_new(record, total);
        GVariant* const value = g_variant_new_from_bytes(type, bytes, FALSE);
        gsize size = 0;
        benchmark::DoNotOptimize(isNumber ? nullptr : g_variant_get_fixed_array(value, &size, 1));
        benchmark::DoNotOptimize(isNumber ? g_variant_get_int32(value) : 0);
        g_variant_unref(value);
        g_bytes_unref(bytes);
    }
}

void Register(const char* value, bool isNumber)
{
    const struct
    {
        const char* operation;
        const char* library;
        void (*run)(benchmark::State&, bool);
    } rows[] = {
        {"Serialize", "QX", SerializeProduct},    {"Serialize", "GLib", SerializePeer},
        {"Serialize", "memcpy", CopyRecord},      {"Deserialize", "QX", DeserializeProduct},
        {"Deserialize", "GLib", DeserializePeer},
    };
    for (const auto& row : rows) {
        const std::string name = std::string(row.operation) + '/' + value + '/' + row.library;
        benchmark::RegisterBenchmark(name.c_str(), row.run, isNumber);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Register("Int32", true);
    Register("Bytes20", false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
