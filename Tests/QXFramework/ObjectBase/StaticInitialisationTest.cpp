// StaticInitialisationTest.cpp - what static constructors and destructors may rely on.
//
// This file is linked first: its static objects are built before those of every other file, the
// framework's included, and destroyed after them.

#include "Support/Witness.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

namespace {

using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

// Would not compile if a null pointer needed code to run.
constinit const RCPtr<Witness> gConstantNull;

struct EarlyUser
{
    EarlyUser()
        : copyOfNull(RCPtr<LRefCountedObject>::Null)
        , witnessNull(RCPtr<Witness>::Null)
        , object(new LRefCountedObject)
        , buffer(QX::LByteBuffer::Create(3, 0, true))
    {
        bufferWasMade = buffer->FillN('x', 0, -1) == QX::kResultSuccess;
        object = RCPtr<LRefCountedObject>::Null;
        nullReleasedTheObject = object == nullptr;
        object = buffer;
    }

    RCPtr<LRefCountedObject> copyOfNull;
    RCPtr<Witness> witnessNull;
    RCPtr<LRefCountedObject> object;
    RCPtr<LIBuffer> buffer;
    bool bufferWasMade = false;
    bool nullReleasedTheObject = false;
};

const EarlyUser gEarlyUser;

TEST(StaticInitialisation, FindsTheNullPointers)
{
    EXPECT_EQ(gEarlyUser.copyOfNull, nullptr);
    EXPECT_EQ(gEarlyUser.witnessNull, nullptr);
    EXPECT_TRUE(gEarlyUser.nullReleasedTheObject);
    EXPECT_EQ(gConstantNull, nullptr);
}

TEST(StaticInitialisation, CanMakeABufferThatLivesUntilTheExit)
{
    EXPECT_TRUE(gEarlyUser.bufferWasMade);
    EXPECT_EQ(gEarlyUser.buffer->GetReferenceCount(), 2);
}

} // namespace
