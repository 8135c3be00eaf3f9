// ExceptionTest.cpp - texts and handlers of the framework's exceptions.

#include <QX/Exception.h>

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace {

using QX::Exception;
using QX::ExceptionBase;
using QX::ThrowException;

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
std::string TextCaughtAs()
{
    try {
        ThrowException<std::domain_error>("message", {"Folder/File", 7});
    } catch (const Caught& thrown) {
        if constexpr (std::is_base_of_v<std::exception, Caught>) {
            return thrown.what();
        } else {
            return thrown.What();
        }
    }
}

TEST(Exception, EveryHandlerSeesTheSameText)
{
    const std::string text = "Domain Error : message :  : Folder/File : Line 7";

    EXPECT_EQ(TextCaughtAs<Exception<std::domain_error>>(), text);
    EXPECT_EQ(TextCaughtAs<std::domain_error>(), text);
    EXPECT_EQ(TextCaughtAs<std::logic_error>(), text);
    EXPECT_EQ(TextCaughtAs<std::exception>(), text);
    EXPECT_EQ(TextCaughtAs<ExceptionBase>(), text);
}

template <class T>
std::string TextOf(const char* message)
{
    try {
        ThrowException<T>(message, {"Folder/Sub/File", 1315});
    } catch (const Exception<T>& thrown) {
        return thrown.What();
    }
}

// The positions of the framework's own exceptions are checked where they are thrown.
TEST(ExceptionText, NamesKindMessageAndPosition)
{
    EXPECT_EQ(TextOf<std::logic_error>("some message"),
              "Logic Error : some message :  : Folder/Sub/File : Line 1315");
    EXPECT_EQ(TextOf<std::domain_error>(" blank first"),
              "Domain Error :  blank first :  : Folder/Sub/File : Line 1315");
    EXPECT_EQ(TextOf<std::runtime_error>(""), "Runtime Error :  : Folder/Sub/File : Line 1315");
    EXPECT_EQ(TextOf<std::out_of_range>(""), "Out of Range :  : Folder/Sub/File : Line 1315");
}

} // namespace
