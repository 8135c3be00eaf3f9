// SweepNumber.h - a counted object of one number, which can be copied.
#pragma once

#include <QX/RCPtr.h>
#include <QX/RefCountedObject.h>

#include <string>

namespace QX {

class LSweepNumber : public LRefCountedObject
{
public:
    explicit LSweepNumber(int value)
        : mValue(value)
    {}

    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        return RCPtr<LRefCountedObject>(new LSweepNumber(mValue));
    }

    int GetValue() const { return mValue; }

private:
    int mValue;
};

inline RCPtr<LSweepNumber> MakeNumber(int value)
{
    return RCPtr<LSweepNumber>(new LSweepNumber(value));
}

/// "value x holders", or "." for null.
inline std::string Describe(const ConstRCPtr<LSweepNumber>& pointer)
{
    return pointer ? std::to_string(pointer->GetValue()) + "x" +
                         std::to_string(pointer->GetReferenceCount())
                   : ".";
}

} // namespace QX
