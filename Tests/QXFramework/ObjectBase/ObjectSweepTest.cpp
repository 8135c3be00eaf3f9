// ObjectSweepTest.cpp - smart pointers, counted objects and exceptions with each of their requests
// for memory refused.

#include "Support/FailureSweep.h"
#include "Support/SweepNumber.h"

#include <QX/Exception.h>
#include <QX/String.h>
#include <QX/ThrowSites.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace QX {
namespace {

using TestSupport::CaughtText;
using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

/// An object whose copy is of another class, and there beforehand.
class LOddNumber final : public LSweepNumber
{
public:
    using LSweepNumber::LSweepNumber;

    RCPtr<LRefCountedObject> CreateCopy() const override { return mCopy; }

private:
    RCPtr<LRefCountedObject> mCopy = RCPtr<LRefCountedObject>(new LRefCountedObject);
};

/// The number 7 with one holder, and holders for what operations make.
struct Pointers
{
    RCPtr<LSweepNumber> number = MakeNumber(7);
    RCPtr<LSweepNumber> other;
    ConstRCPtr<LSweepNumber> reader;
    RCPtr<LRefCountedObject> base;
    String text;
    std::string standardText;
    CaughtText caught;

    /// "number, other, reader", each with its holders; base's holders; texts.
    std::string Describe() const
    {
        std::string seen = QX::Describe(number) + " " + QX::Describe(other);
        if (reader != nullptr) {
            seen += " " + QX::Describe(reader);
        }
        if (base != nullptr) {
            seen += " base x" + std::to_string(base->GetReferenceCount());
        }
        return seen.append(std::string_view(text)) + standardText + caught.Get();
    }
};

using Operation = SweptOperation<Pointers>;

void Share(Pointers& pointers)
{
    pointers.other = pointers.number;
}

void MarkUnshareable(Pointers& pointers)
{
    pointers.number->SetUnshareable(true);
}

TEST(ObjectSweep, APointerThatCannotGetItsCopyIsAsItWas)
{
    const Operation operations[] = {
        {.what = "a new object",
         .run = [](Pointers& pointers) { pointers.other = MakeNumber(8); },
         .done = "7x1 8x1",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "a further holder",
         .run = [](Pointers& pointers) { pointers.other = pointers.number; },
         .done = "7x2 7x2"},
        {.what = "CreateCopy",
         .run = [](Pointers& pointers) { pointers.base = pointers.number->CreateCopy(); },
         .done = "7x1 . base x1",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "Unshare",
         .prepare = &Share,
         .run = [](Pointers& pointers) { pointers.other.Unshare(); },
         .done = "7x1 7x1",
         .thrown = "7x2 7x2",
         .least = 1},
        {.what = "Unshare of a reader",
         .prepare = [](Pointers& pointers) { pointers.reader = pointers.number; },
         .run = [](Pointers& pointers) { pointers.reader.Unshare(); },
         .done = "7x1 . 7x1",
         .thrown = "7x2 . 7x2",
         .least = 1},
        {.what = "a copy of a pointer to what must not be shared",
         .prepare = &MarkUnshareable,
         .run =
             [](Pointers& pointers) {
                 RCPtr<LSweepNumber> copy(pointers.number);
                 pointers.other.Swap(copy);
             },
         .done = "7x1 7x1",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "an assignment of what must not be shared",
         .prepare =
             [](Pointers& pointers) {
                 MarkUnshareable(pointers);
                 pointers.other = MakeNumber(8);
             },
         .run = [](Pointers& pointers) { pointers.other = pointers.number; },
         .done = "7x1 7x1",
         .thrown = "7x1 8x1",
         .least = 1},
        {.what = "a pointer to the base of what must not be shared",
         .prepare = &MarkUnshareable,
         .run =
             [](Pointers& pointers) { pointers.base = RCPtr<LRefCountedObject>(pointers.number); },
         .done = "7x1 . base x1",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "a downcast to what must not be shared",
         .prepare =
             [](Pointers& pointers) {
                 pointers.base = std::move(pointers.number);
                 pointers.base->SetUnshareable(true);
             },
         .run =
             [](Pointers& pointers) {
                 pointers.other = RCPtr<LSweepNumber>::Downcast(pointers.base);
             },
         .done = ". 7x1 base x1",
         .thrown = ". . base x1",
         .least = 1},
        {.what = "a move of what must not be shared",
         .prepare = &MarkUnshareable,
         .run =
             [](Pointers& pointers) {
                 if (pointers.number) {
                     pointers.other = std::move(pointers.number);
                 }
             },
         .done = ". 7x1"},
    };

    SweepRefusals<Pointers>(operations);
}

TEST(ObjectSweep, AnExceptionThatCannotBeMadeIsBadAlloc)
{
    const Operation operations[] = {
        {.what = "assignment",
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::domain_error>(
                     [&] { *pointers.number = *pointers.number; });
             },
         .done = "7x1 .Domain Error : Invalid Assignment of RefCountedObject :  : "
                 "ObjectBase/RefCountedObject : Line 20",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "SetUnshareable with two holders",
         .prepare = &Share,
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::runtime_error>(
                     [&] { pointers.number->SetUnshareable(true); });
                 return pointers.number->IsShareable();
             },
         .done = "7x2 7x2Runtime Error :  : ObjectBase/RefCountedObject : Line 28",
         .thrown = "7x2 7x2",
         .least = 1},
        {.what = "Undo",
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::logic_error>(
                     [&] { pointers.number->Undo(RCPtr<LRefCountedObject>::Null, pointers.base); });
             },
         .done = "7x1 .Logic Error : Undo() not implemented for RefCountedObject :  : "
                 "ObjectBase/RefCountedObject : Line 157",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "CreateCopy",
         .prepare =
             [](Pointers& pointers) {
                 pointers.base = RCPtr<LRefCountedObject>(new LRefCountedObject);
             },
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::logic_error>([&] { pointers.base->CreateCopy(); });
             },
         .done = "7x1 . base x1Logic Error : CreateCopy() not implemented for RefCountedObject "
                 ":  : ObjectBase/RefCountedObject : Line 225",
         .thrown = "7x1 . base x1",
         .least = 1},
        {.what = "assignment of what must not be shared and cannot be copied",
         .prepare =
             [](Pointers& pointers) {
                 pointers.base = RCPtr<LRefCountedObject>(new LRefCountedObject);
                 pointers.base->SetUnshareable(true);
             },
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::logic_error>([&] {
                     RCPtr<LRefCountedObject> held = pointers.number;
                     held = pointers.base;
                 });
             },
         .done = "7x1 . base x1Logic Error : CreateCopy() not implemented for RefCountedObject "
                 ":  : ObjectBase/RefCountedObject : Line 225",
         .thrown = "7x1 . base x1",
         .least = 1},
        {.what = "ComposeExceptionText",
         .run =
             [](Pointers& pointers) {
                 std::string text = ComposeExceptionText("Logic Error : ", "a message",
                                                         ThrowSites::kRefCountedUndo);
                 pointers.standardText.swap(text);
             },
         .done = "7x1 .Logic Error : a message :  : ObjectBase/RefCountedObject : Line 157",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "an exception of a short text",
         .run =
             [](Pointers& pointers) {
                 pointers.caught.Catch<std::runtime_error>(
                     [] { throw Exception<std::runtime_error>("text"); });
             },
         .done = "7x1 .text",
         .thrown = "7x1 .",
         .least = 1},
        {.what = "ToString",
         .run = [](Pointers& pointers) { pointers.text = pointers.number->ToString(); },
         .done = "7x1 .PKN2QX17LRefCountedObjectE",
         .thrown = "7x1 .",
         .least = 2},
    };

    SweepRefusals<Pointers>(operations);
}

TEST(ObjectSweep, ACopyOfAnotherClassLeavesTheHolderNullWithoutMemoryToo)
{
    const Operation operations[] = {
        {.what = "Unshare",
         .prepare =
             [](Pointers& pointers) { pointers.number = RCPtr<LSweepNumber>(new LOddNumber(7)); },
         .run =
             [](Pointers& pointers) {
                 Share(pointers);
                 pointers.caught.Catch<std::logic_error>([&] { pointers.other.Unshare(); });
             },
         .done = "7x1 .Logic Error : N2QX12LSweepNumberE :  : ObjectBase/RefCountedObject : "
                 "Line 363",
         .thrown = "7x1 .",
         .least = 1},
    };

    SweepRefusals<Pointers>(operations);
}

} // namespace
} // namespace QX
