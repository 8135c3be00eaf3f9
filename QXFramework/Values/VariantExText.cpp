// VariantExText.cpp - extended variants as text and as parsed text, and how they compare.

#include <QX/VariantEx.h>

#include "ByteCount.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace QX {
namespace {

// Returns the XML entity for a character, or "" if it needs none.
std::string_view EntityOf(char character)
{
    switch (character) {
    case '"':
        return "&quot;";
    case '&':
        return "&amp;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {};
    }
}

} // namespace

StringT<char> VariantEx::GetString() const
{
    switch (GetType()) {
    case kEmpty:
    case kConstBuffer:
        break;
    case kBool:
        return Variant::GetBool() ? "true" : "false";
    case kInt32:
        return String::Format("%I32d", static_cast<int>(Variant::GetInt32()));
    case kInt64:
        return String::Format("%I64d", Variant::GetInt64());
    case kFloat:
    case kDouble:
        return String::Format("%f", Variant::GetDouble());
    case kPointer:
    case kConstPointer:
    case kBuffer:
        return String::Format("%I64X", GetPointerBits());
    case kString: {
        const std::string_view data = DataView();
        if (!data.empty() && data.find('\0') == data.size() - 1) {
            return mData;
        }
        // Adoption would trim the buffer of every holder to this text.
        return StringT<char>(data);
    }
    }
    return {};
}

// Returns the value field of a variant with a data pointer, as one number in the machine's order.
// A pointer of 32 bits is in the field's first word, and the other word is 0.
uint64 VariantEx::GetPointerBits() const
{
    const void* const data = DataView().data();
    uint64 bits = 0;
    std::memcpy(&bits, &data, sizeof data);
    return bits;
}

StringT<char> VariantEx::GetXMLString() const
{
    const String text = GetString();
    uint64 length = 0;
    for (const char character : std::string_view(text)) {
        const std::size_t entityLength = EntityOf(character).size();
        length += entityLength != 0 ? entityLength : 1;
    }
    String escaped;
    char* target = escaped.Lock(CheckedByteCount(length + 1, sizeof(char)));
    for (const char character : std::string_view(text)) {
        const std::string_view entity = EntityOf(character);
        if (entity.empty()) {
            *target++ = character;
        } else {
            target = std::copy(entity.begin(), entity.end(), target);
        }
    }
    escaped.Release();
    return escaped;
}

bool VariantEx::GetBool() const
{
    return GetType() == kString ? GetString().Compare("True", false) == 0 : Variant::GetBool();
}

int32 VariantEx::GetInt32() const
{
    return GetType() == kString ? GetString().ToInt() : Variant::GetInt32();
}

int64 VariantEx::GetInt64() const
{
    if (GetType() != kString) {
        return Variant::GetInt64();
    }
    return static_cast<int64>(std::strtoull(GetString().CStr(), nullptr, 10));
}

float VariantEx::GetFloat() const
{
    return GetType() == kString ? static_cast<float>(GetDouble()) : Variant::GetFloat();
}

double VariantEx::GetDouble() const
{
    return GetType() == kString ? GetString().ToDouble() : Variant::GetDouble();
}

bool VariantEx::operator==(const VariantEx& other) const
{
    if (GetType() != other.GetType()) {
        return false;
    }
    switch (GetType()) {
    case kFloat:
    case kDouble:
        return GetDouble() == other.GetDouble();
    case kPointer:
    case kConstPointer:
        return DataView().data() == other.DataView().data() &&
               DataView().size() == other.DataView().size();
    case kEmpty:
    case kBool:
    case kInt32:
    case kInt64:
    case kBuffer:
    case kString:
    case kConstBuffer:
        break;
    }
    return DataView() == other.DataView();
}

bool VariantEx::operator<(const VariantEx& other) const
{
    if (GetType() == other.GetType()) {
        return IsLessOfSameType(other);
    }
    if (GetType() == kEmpty || other.GetType() == kEmpty) {
        return GetType() < other.GetType();
    }
    return GetDouble() < other.GetDouble();
}

bool VariantEx::IsLessOfSameType(const VariantEx& other) const
{
    switch (GetType()) {
    case kBool:
    case kInt32:
    case kInt64:
        return GetInt64() < other.GetInt64();
    case kFloat:
    case kDouble:
        return GetDouble() < other.GetDouble();
    case kPointer:
    case kConstPointer: {
        const std::string_view own = DataView();
        const std::string_view others = other.DataView();
        return own.size() < others.size() || reinterpret_cast<std::uintptr_t>(own.data()) <
                                                 reinterpret_cast<std::uintptr_t>(others.data());
    }
    case kBuffer: {
        const std::string_view own = DataView();
        const std::string_view others = other.DataView();
        return own.size() != others.size() ? own.size() < others.size() : own < others;
    }
    case kString:
        return GetString().Compare(other.GetString(), true) < 0;
    case kConstBuffer:
        return true;
    case kEmpty:
        break;
    }
    return false;
}

int VariantEx::Compare(const VariantEx& other) const
{
    if (*this < other) {
        return -1;
    }
    return other < *this ? 1 : 0;
}

} // namespace QX
