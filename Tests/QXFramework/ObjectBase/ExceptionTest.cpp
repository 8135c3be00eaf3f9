// ExceptionTest.cpp - texts and handlers of the framework's exceptions.

#include <QX/Exception.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Exception, BothNamesOfTheTextAgree)
{
    const QX::Exception<std::logic_error> thrown("Logic Error : some text");

    EXPECT_STREQ(static_cast<const QX::ExceptionBase&>(thrown).What(), "Logic Error : some text");
    EXPECT_STREQ(static_cast<const std::exception&>(thrown).what(), "Logic Error : some text");
}

} // namespace
