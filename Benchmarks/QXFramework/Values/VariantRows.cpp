// VariantRows.cpp - what do variants and their records cost?
//
// A std::variant's record is its index and the bytes of its number, without length or checks.
// GLib's bytes carry no type and no length either, so its caller gives them.

#include "Rows.h"

#include <QX/Variant.h>

#include <glib.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace rows {
namespace {

using QX::uint32;
using QX::Variant;
using Peer = std::variant<std::monostate, bool, int, long long, float, double, std::string,
                          std::vector<unsigned char>>;
using Record = std::array<unsigned char, 64>;

constexpr int kNumber = 0x11223344;
constexpr std::array<unsigned char, 20> kBytes = {1, 2, 3, 4, 5, 6, 7, 8};

void Fill(Variant& value, bool isNumber)
{
    if (isNumber) {
        value.Set(Variant::kInt32, &kNumber, sizeof kNumber);
    } else {
        value.SetBuffer(kBytes.data(), static_cast<uint32>(kBytes.size()));
    }
}

void AddProduct(const std::string& kind, bool isNumber)
{
    AddRow("variant.serialize." + kind, "QX", 1, [isNumber] {
        auto value = std::make_shared<Variant>();
        Fill(*value, isNumber);
        return [value, record = Record()]() mutable {
            Variant::Serialize(*value, record.data(), static_cast<uint32>(record.size()));
            benchmark::DoNotOptimize(record);
        };
    });
    AddRow("variant.deserialize." + kind, "QX", 1, [isNumber] {
        Variant written;
        Fill(written, isNumber);
        Record record{};
        const uint32 size =
            Variant::Serialize(written, record.data(), static_cast<uint32>(record.size()));
        return [record, size, isNumber] {
            Variant value;
            benchmark::DoNotOptimize(Variant::Deserialize(value, record.data(), size));
            uint32 length = 0;
            benchmark::DoNotOptimize(isNumber ? nullptr : value.GetConstPointer(length));
            benchmark::DoNotOptimize(isNumber ? value.GetInt32() : 0);
        };
    });
}

/// Writes the index of the alternative and the bytes of a number; returns their count.
std::size_t WriteStandard(const Peer& value, Record& record)
{
    record[0] = static_cast<unsigned char>(value.index());
    return std::visit(
        [&record]<class Value>(const Value& held) -> std::size_t {
            if constexpr (std::is_arithmetic_v<Value>) {
                std::memcpy(record.data() + 1, &held, sizeof held);
                return sizeof held + 1;
            } else {
                return 0;
            }
        },
        value);
}

void ReadStandard(Peer& value, const Record& record)
{
    if (record[0] == Peer(kNumber).index()) {
        int number = 0;
        std::memcpy(&number, record.data() + 1, sizeof number);
        value = number;
    }
}

void AddStandard()
{
    AddRow("variant.serialize.int", "std", 1, [] {
        return [value = Peer(kNumber), record = Record()]() mutable {
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(WriteStandard(value, record));
            benchmark::DoNotOptimize(record);
        };
    });
    AddRow("variant.deserialize.int", "std", 1, [] {
        Record written{};
        WriteStandard(Peer(kNumber), written);
        return [record = written]() mutable {
            benchmark::DoNotOptimize(record);
            Peer value;
            ReadStandard(value, record);
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(std::get<int>(value));
        };
    });
}

GVariant* MakePeer(bool isNumber)
{
    return g_variant_ref_sink(
        isNumber ? g_variant_new_int32(kNumber)
                 : g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, kBytes.data(), kBytes.size(), 1));
}

void AddGLib(const std::string& kind, bool isNumber)
{
    // The process ends with these values.
    AddRow("variant.serialize." + kind, "GLib", 1, [isNumber] {
        return [value = MakePeer(isNumber), record = Record()]() mutable {
            g_variant_store(value, record.data());
            benchmark::DoNotOptimize(record);
        };
    });
    AddRow("variant.deserialize." + kind, "GLib", 1, [isNumber] {
        GVariant* const written = MakePeer(isNumber);
        alignas(8) Record record{};
        const gsize size = g_variant_get_size(written);
        g_variant_store(written, record.data());
        g_variant_unref(written);
        return [record, size, isNumber] {
            // The copy stands for the product's: either value outlives the record.
            GBytes* const bytes = g_bytes_new(record.data(), size);
            GVariant* const value = g_variant_new_from_bytes(
                isNumber ? G_VARIANT_TYPE_INT32 : G_VARIANT_TYPE_BYTESTRING, bytes, FALSE);
            gsize length = 0;
            benchmark::DoNotOptimize(isNumber ? nullptr
                                              : g_variant_get_fixed_array(value, &length, 1));
            benchmark::DoNotOptimize(isNumber ? g_variant_get_int32(value) : 0);
            g_variant_unref(value);
            g_bytes_unref(bytes);
        };
    });
}

} // namespace

void AddVariantRows()
{
    AddRow("variant.set-and-get", "QX", 1, [] {
        return [value = std::make_shared<Variant>()] {
            int number = kNumber;
            benchmark::DoNotOptimize(number);
            value->Set(Variant::kInt32, &number, sizeof number);
            benchmark::DoNotOptimize(value->GetInt32());
        };
    });
    AddRow("variant.set-and-get", "std", 1, [] {
        return [value = Peer()]() mutable {
            int number = kNumber;
            benchmark::DoNotOptimize(number);
            value = number;
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(std::get<int>(value));
        };
    });
    AddProduct("int", true);
    AddProduct("bytes-20", false);
    AddStandard();
    AddGLib("int", true);
    AddGLib("bytes-20", false);
}

} // namespace rows
