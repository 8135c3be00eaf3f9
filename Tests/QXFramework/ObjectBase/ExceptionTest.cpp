// ExceptionTest.cpp - texts and handlers of the framework's exceptions.

#include "Support/FailingHeap.h"

#include <QX/Exception.h>
#include <QX/ThrowSites.h>

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace {

using QX::Exception;
using QX::ExceptionBase;
using QX::ThrowException;
namespace ThrowSites = QX::ThrowSites;

template <class T>
constexpr bool kHasTheTwoBasesAndNothingElse = std::is_base_of_v<T, Exception<T>>&&
                                                   std::is_base_of_v<ExceptionBase, Exception<T>> &&
                                               sizeof(Exception<T>) ==
                                                   sizeof(T) + sizeof(ExceptionBase);

static_assert(sizeof(ExceptionBase) == sizeof(void*));
static_assert(kHasTheTwoBasesAndNothingElse<std::logic_error>);
static_assert(kHasTheTwoBasesAndNothingElse<std::runtime_error>);
static_assert(kHasTheTwoBasesAndNothingElse<std::domain_error>);
static_assert(kHasTheTwoBasesAndNothingElse<std::out_of_range>);
static_assert(!std::is_convertible_v<const char*, Exception<std::logic_error>>);

TEST(Exception, ItsStandardBaseLiesFirst)
{
    const Exception<std::domain_error> thrown("text");
    const auto* const start = reinterpret_cast<const char*>(&thrown);

    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<const std::domain_error*>(&thrown)), start);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<const ExceptionBase*>(&thrown)),
              start + sizeof(std::domain_error));
}

TEST(Exception, StoresItsTextUnchanged)
{
    EXPECT_STREQ(Exception<std::logic_error>("no prefix").what(), "no prefix");
    EXPECT_STREQ(Exception<std::out_of_range>(std::string("from a string")).what(),
                 "from a string");
    EXPECT_STREQ(Exception<std::runtime_error>("").what(), "");
}

TEST(Exception, TakesANullTextAsEmpty)
{
    const char* const text = nullptr;

    const Exception<std::runtime_error> thrown(text);

    EXPECT_STREQ(thrown.what(), "");
    EXPECT_STREQ(thrown.What(), "");
}

TEST(Exception, BothNamesOfTheTextAgree)
{
    const Exception<std::logic_error> thrown("Logic Error : some text");

    EXPECT_STREQ(static_cast<const ExceptionBase&>(thrown).What(), "Logic Error : some text");
    EXPECT_STREQ(static_cast<const std::exception&>(thrown).what(), "Logic Error : some text");
}

TEST(Exception, ACopyKeepsTheText)
{
    const auto original = std::make_unique<Exception<std::out_of_range>>("a text to keep");
    const Exception<std::out_of_range> copy(*original);

    EXPECT_STREQ(copy.what(), "a text to keep");
    EXPECT_STREQ(copy.What(), "a text to keep");
}

TEST(ExceptionBase, HasNoTextWithoutAStandardException)
{
    class Bare : public ExceptionBase
    {};

    EXPECT_STREQ(Bare().What(), "");
}

enum class Handler
{
    kExact,
    kLogicError,
    kRuntimeError,
    kOther
};

template <class T>
Handler FirstMatchingHandler()
{
    try {
        throw Exception<T>("text");
    } catch (const std::runtime_error&) {
        return Handler::kRuntimeError;
    } catch (const std::logic_error&) {
        return Handler::kLogicError;
    } catch (...) {
        return Handler::kOther;
    }
}

TEST(Exception, IsCaughtByTheHandlersOfItsStandardBase)
{
    EXPECT_EQ(FirstMatchingHandler<std::logic_error>(), Handler::kLogicError);
    EXPECT_EQ(FirstMatchingHandler<std::runtime_error>(), Handler::kRuntimeError);
    EXPECT_EQ(FirstMatchingHandler<std::domain_error>(), Handler::kLogicError);
    EXPECT_EQ(FirstMatchingHandler<std::out_of_range>(), Handler::kLogicError);
}

template <class Caught>
std::string WhatCaughtAs()
{
    try {
        ThrowException<std::domain_error>("message", {"Folder/File", 7});
    } catch (const Caught& thrown) {
        return thrown.what();
    }
}

template <class Caught>
std::string FrameworkWhatCaughtAs()
{
    try {
        ThrowException<std::domain_error>("message", {"Folder/File", 7});
    } catch (const Caught& thrown) {
        return thrown.What();
    }
}

TEST(Exception, EveryHandlerSeesTheSameText)
{
    const std::string text = "Domain Error : message :  : Folder/File : Line 7";

    EXPECT_EQ(WhatCaughtAs<Exception<std::domain_error>>(), text);
    EXPECT_EQ(WhatCaughtAs<std::domain_error>(), text);
    EXPECT_EQ(WhatCaughtAs<std::logic_error>(), text);
    EXPECT_EQ(WhatCaughtAs<std::exception>(), text);
    EXPECT_EQ(FrameworkWhatCaughtAs<Exception<std::domain_error>>(), text);
    EXPECT_EQ(FrameworkWhatCaughtAs<ExceptionBase>(), text);
}

struct TextRow
{
    const char* what;
    std::function<void()> throwIt;
    const char* text;
};

template <class T>
std::function<void()> Throw(const char* message, QX::ThrowSite site)
{
    return [=] { ThrowException<T>(message, site); };
}

const TextRow kTexts[] = {
    {"assignment of a counted object",
     Throw<std::domain_error>("Invalid Assignment of RefCountedObject",
                              ThrowSites::kRefCountedAssignment),
     "Domain Error : Invalid Assignment of RefCountedObject :  : ObjectBase/RefCountedObject : "
     "Line 20"},
    {"unshareable with two holders",
     Throw<std::runtime_error>("", ThrowSites::kRefCountedSetUnshareable),
     "Runtime Error :  : ObjectBase/RefCountedObject : Line 28"},
    {"undo",
     Throw<std::logic_error>("Undo() not implemented for RefCountedObject",
                             ThrowSites::kRefCountedUndo),
     "Logic Error : Undo() not implemented for RefCountedObject :  : ObjectBase/RefCountedObject "
     ": Line 157"},
    {"copy",
     Throw<std::logic_error>("CreateCopy() not implemented for RefCountedObject",
                             ThrowSites::kRefCountedCreateCopy),
     "Logic Error : CreateCopy() not implemented for RefCountedObject :  : "
     "ObjectBase/RefCountedObject : Line 225"},
    {"copy of another type",
     Throw<std::logic_error>("N2QX17LRefCountedObjectE", ThrowSites::kRefCountedUnshare),
     "Logic Error : N2QX17LRefCountedObjectE :  : ObjectBase/RefCountedObject : Line 363"},
    {"array of pointers", Throw<std::out_of_range>("", ThrowSites::kRCPtrArrayRemoveItem),
     "Out of Range :  : Utilities/Storage/RCPtrArray : Line 177"},
    {"array of const pointers",
     Throw<std::out_of_range>("", ThrowSites::kConstRCPtrArrayRemoveItem),
     "Out of Range :  : Utilities/Storage/ConstRCPtrArray : Line 218"},
    {"empty queue", Throw<std::runtime_error>("", ThrowSites::kRCPtrQueueDequeue),
     "Runtime Error :  : Utilities/Storage/RCPtrQueue : Line 106"},
    {"string lock", Throw<std::runtime_error>("", ThrowSites::kStringLock),
     "Runtime Error :  : Utilities/Storage/StringT : Line 744"},
    {"16-bit splitting",
     Throw<std::domain_error>("Not implemented.", ThrowSites::kStringSplitToken16),
     "Domain Error : Not implemented. :  : Utilities/Storage/StringT : Line 70"},
    {"16-bit search", Throw<std::domain_error>("Not implemented.", ThrowSites::kStringCSpn16),
     "Domain Error : Not implemented. :  : Utilities/Storage/StringT : Line 1315"},
    {"16-bit format",
     Throw<std::domain_error>(" vsnwprintf not supported on Mac", ThrowSites::kStringFormat16),
     "Domain Error :  vsnwprintf not supported on Mac :  : Utilities/Storage/StringT : Line 39"},
    {"16-bit formatted assignment",
     Throw<std::domain_error>(" vsnwprintf not supported on Mac",
                              ThrowSites::kStringSetFormatted16),
     "Domain Error :  vsnwprintf not supported on Mac :  : Utilities/Storage/StringT : Line 549"},
    {"buffer of a value without one",
     Throw<std::runtime_error>("", ThrowSites::kVariantExGetBuffer),
     "Runtime Error :  : Utilities/Storage/VariantEx : Line 293"},
};

TEST(ExceptionText, NamesKindMessageAndPosition)
{
    for (const TextRow& row : kTexts) {
        SCOPED_TRACE(row.what);
        std::string text;

        try {
            row.throwIt();
        } catch (const ExceptionBase& thrown) {
            text = thrown.What();
        }

        EXPECT_EQ(text, row.text);
    }
}

TEST(ExceptionText, LosesNothingWhenMemoryRunsOutWhileItIsComposed)
{
    const long blocksBefore = TestSupport::CountLiveBlocks();
    bool isThrown = false;
    int call = 0;

    while (!isThrown && ++call < 20) {
        const TestSupport::FailingHeap failing(call);
        try {
            ThrowException<std::logic_error>("a message that does not fit a short string",
                                             ThrowSites::kRefCountedUndo);
        } catch (const ExceptionBase&) {
            isThrown = true;
        } catch (const std::bad_alloc&) {
        }
    }

    EXPECT_TRUE(isThrown);
    EXPECT_GT(call, 1);
    EXPECT_EQ(TestSupport::CountLiveBlocks(), blocksBefore);
}

} // namespace
