// VariantRecords.h - the records of every type: which value writes them, and what they give back.
#pragma once

#include "VariantTestSupport.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace QX {

struct RecordRow
{
    const char* what;
    std::function<void(Variant&)> set; ///< none for a record that no value writes
    const char* record;
    Variant::Type type;   ///< of the value that the record gives
    const char* contents; ///< its bytes, of scalars as on a little-endian machine

    Bytes HostContents() const
    {
        Bytes bytes = FromHex(contents);
        if (kBigEndian && type <= Variant::kDouble)
            std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }
};

/// The records that values write and that give a value back.
inline std::vector<RecordRow> CommonRecords()
{
    static char sMemory[] = "xyz";
    return {
        {"empty", [](Variant&) {}, "0C000000 00000000 00000000", Variant::kEmpty, ""},
        {"bool", Scalar(Variant::kBool, true), "0D000000 00000000 01000000 01", Variant::kBool,
         "01"},
        {"other truth", Scalar(Variant::kBool, uint8{0xC8}), "0D000000 00000000 01000000 C8",
         Variant::kBool, "C8"},
        {"int32 1", Scalar(Variant::kInt32, int32{1}), "10000000 00000000 02000000 01000000",
         Variant::kInt32, "01000000"},
        {"int32", Scalar(Variant::kInt32, int32{0x11223344}), "10000000 00000000 02000000 44332211",
         Variant::kInt32, "44332211"},
        {"int64", Scalar(Variant::kInt64, int64{0x1122334455667788}),
         "14000000 00000000 03000000 8877665544332211", Variant::kInt64, "8877665544332211"},
        {"float", Scalar(Variant::kFloat, 0.5f), "10000000 00000000 04000000 0000003F",
         Variant::kFloat, "0000003F"},
        {"signalling float", Scalar(Variant::kFloat, uint32{0x7FA00001}),
         "10000000 00000000 04000000 0100A07F", Variant::kFloat, "0100A07F"},
        {"double", Scalar(Variant::kDouble, 1.0), "14000000 00000000 05000000 000000000000F03F",
         Variant::kDouble, "000000000000F03F"},
        {"pointer", [](Variant& value) { value.SetPointer(sMemory, 3); },
         "0F000000 00000000 06000000 78797A", Variant::kBuffer, "78797A"},
        {"const pointer", [](Variant& value) { value.SetConstPointer(sMemory, 4); },
         "10000000 00000000 07000000 78797A00", Variant::kBuffer, "78797A00"},
        {"buffer of 2", [](Variant& value) { value.SetBuffer("\1\2", 2); },
         "0E000000 00000000 08000000 0102", Variant::kBuffer, "0102"},
        {"buffer of 4", [](Variant& value) { value.SetBuffer("\1\2\3\4", 4); },
         "10000000 00000000 08000000 01020304", Variant::kBuffer, "01020304"},
        {"buffer of 8", [](Variant& value) { value.SetBuffer("\1\2\3\4\5\6\7\10", 8); },
         "14000000 00000000 08000000 0102030405060708", Variant::kBuffer, "0102030405060708"},
        {"string", [](Variant& value) { value.Set("abc"); }, "10000000 00000000 09000000 61626300",
         Variant::kString, "61626300"},
        {"empty string", [](Variant& value) { value.Set(""); }, "0D000000 00000000 09000000 00",
         Variant::kString, "00"},
        {"const buffer", [](Variant& value) { value.Set(Variant::kConstBuffer, "\1\2\3\4", 4); },
         "10000000 00000000 0A000000 01020304", Variant::kConstBuffer, "01020304"},
        {"empty const buffer", [](Variant& value) { value.Set(Variant::kConstBuffer, nullptr, 0); },
         "0C000000 00000000 0A000000", Variant::kConstBuffer, ""},
    };
}

/// With the one that only a writer knows.
inline std::vector<RecordRow> WrittenRecords()
{
    std::vector<RecordRow> rows = CommonRecords();
    rows.push_back({"empty buffer", [](Variant& value) { value.SetBuffer(nullptr, 0); },
                    "0C000000 00000000 08000000", Variant::kEmpty, ""});
    return rows;
}

/// With those that only a reader knows.
inline std::vector<RecordRow> ReadableRecords()
{
    std::vector<RecordRow> rows = CommonRecords();
    for (const RecordRow& row : std::initializer_list<RecordRow>{
             {"string with more after its end",
              {},
              "12000000 00000000 09000000 616200636400",
              Variant::kString,
              "616200"},
             {"string with an unterminated rest",
              {},
              "10000000 00000000 09000000 61006263",
              Variant::kString,
              "6100"},
             {"int32 of 1 byte", {}, "0D000000 00000000 02000000 01", Variant::kEmpty, ""},
             {"int32 of 2 bytes", {}, "0E000000 00000000 02000000 0102", Variant::kEmpty, ""},
             {"int32 of 3 bytes", {}, "0F000000 00000000 02000000 010203", Variant::kEmpty, ""},
             {"int32 of 8 bytes",
              {},
              "14000000 00000000 02000000 0102030405060708",
              Variant::kEmpty,
              ""},
             {"double of 4 bytes", {}, "10000000 00000000 05000000 01020304", Variant::kEmpty, ""},
             {"bool of 2 bytes", {}, "0E000000 00000000 01000000 0101", Variant::kEmpty, ""},
             {"float of 20 bytes",
              {},
              "20000000 00000000 04000000 0102030405060708090A0B0C0D0E0F1011121314",
              Variant::kEmpty,
              ""},
         }) {
        rows.push_back(row);
    }
    return rows;
}

} // namespace QX
