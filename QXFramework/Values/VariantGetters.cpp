// VariantGetters.cpp - the conversions of variants to truth values and numbers.

#include <QX/Variant.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <limits>

namespace QX {

// Rounding is defined operation by operation: excess precision would change its results.
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);
static_assert(FLT_EVAL_METHOD == 0);

namespace {

// Rounds in the precision of Float. The library's rounding functions differ: they give 0 for the
// greatest double below 0.5, and do not move odd values beyond 2^52.
template <class Integer, class Float>
Integer RoundToInteger(Float value)
{
    using Limits = std::numeric_limits<Integer>;
    constexpr Float kBeyond = -static_cast<Float>(Limits::min());
    constexpr Float kHalf = static_cast<Float>(0.5);
    const Float shifted = value >= 0 ? value + kHalf : value - kHalf;
    if (shifted >= kBeyond) {
        return Limits::max();
    }
    // Negated, so that it is true for a NaN too.
    if (!(shifted > -kBeyond)) {
        return Limits::min();
    }
    return static_cast<Integer>(shifted);
}

} // namespace

template <class T>
T Variant::LoadValue() const
{
    T value;
    static_assert(sizeof value <= sizeof mValue);
    std::memcpy(&value, mValue, sizeof value);
    return value;
}

template <class T>
T Variant::LoadFromData() const
{
    uint32 size = 0;
    const void* const data = GetConstPointer(size);
    T value = 0;
    if (data != nullptr && size > 0) {
        std::memcpy(&value, data, std::min<size_t>(size, sizeof value));
    }
    return value;
}

uint32 Variant::GetDataSize() const
{
    uint32 size = 0;
    GetConstPointer(size);
    return size;
}

uint32 Variant::GetTextLength() const
{
    const uint32 size = GetDataSize();
    return size > 0 ? size - 1 : 0;
}

bool Variant::GetBool() const
{
    switch (mType) {
    case kBool:
        return LoadValue<uint8>() != 0;
    case kInt32:
        return LoadValue<int32>() != 0;
    case kInt64:
        return LoadValue<int64>() != 0;
    case kFloat:
        return LoadValue<float>() != 0.0f;
    case kDouble:
        return LoadValue<double>() != 0.0;
    case kPointer:
    case kConstPointer:
        return GetBlock() != nullptr;
    case kBuffer:
    case kConstBuffer:
        return GetDataSize() != 0;
    case kString:
        return GetTextLength() != 0;
    case kEmpty:
        break;
    }
    return false;
}

int32 Variant::GetInt32() const
{
    if (mType == kInt32) {
        return LoadValue<int32>();
    }
    switch (mType) {
    case kBool:
        return LoadValue<uint8>();
    case kInt64:
        return static_cast<int32>(LoadValue<int64>());
    case kFloat:
        return RoundToInteger<int32>(static_cast<double>(LoadValue<float>()));
    case kDouble:
        return RoundToInteger<int32>(LoadValue<double>());
    case kPointer:
    case kConstPointer:
    case kBuffer:
        return LoadFromData<int32>();
    case kString:
        return static_cast<int32>(GetTextLength());
    case kInt32: // above
    case kEmpty:
    case kConstBuffer:
        break;
    }
    return 0;
}

int64 Variant::GetInt64() const
{
    switch (mType) {
    case kBool:
        return LoadValue<uint8>();
    case kInt32:
        return LoadValue<int32>();
    case kInt64:
        return LoadValue<int64>();
    case kFloat:
        return RoundToInteger<int64>(LoadValue<float>());
    case kDouble:
        return RoundToInteger<int64>(LoadValue<double>());
    case kPointer:
    case kConstPointer:
    case kBuffer:
        return LoadFromData<int64>();
    case kString:
        return GetTextLength();
    case kEmpty:
    case kConstBuffer:
        break;
    }
    return 0;
}

float Variant::GetFloat() const
{
    switch (mType) {
    case kBool:
        return LoadValue<uint8>();
    case kInt32:
        return static_cast<float>(LoadValue<int32>());
    case kInt64:
        return static_cast<float>(LoadValue<int64>());
    case kFloat:
        return LoadValue<float>();
    case kDouble:
        return static_cast<float>(LoadValue<double>());
    case kPointer:
    case kConstPointer:
    case kBuffer:
    case kString:
        return static_cast<float>(GetInt32());
    case kEmpty:
    case kConstBuffer:
        break;
    }
    return 0.0f;
}

double Variant::GetDouble() const
{
    switch (mType) {
    case kBool:
        return LoadValue<uint8>();
    case kInt32:
        return LoadValue<int32>();
    case kInt64:
        return static_cast<double>(LoadValue<int64>());
    case kFloat:
        return LoadValue<float>();
    case kDouble:
        return LoadValue<double>();
    case kPointer:
    case kConstPointer:
    case kBuffer:
    case kString:
        return static_cast<double>(GetInt64());
    case kEmpty:
    case kConstBuffer:
        break;
    }
    return 0.0;
}

} // namespace QX
