// NameIndexTest.cpp - the set of names with hashes that are chosen, so that they meet and wrap.

#include "NameIndex.h"

#include <QX/Types.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using QX::NameIndex;
using QX::uint32;

TEST(NameIndex, TellsNamesOfOneHashApart)
{
    NameIndex index;
    const char* const first = "first";
    const char* const second = "second";

    index.Add(first, 7);
    index.Add(second, 7);

    EXPECT_EQ(index.Find("first", 7), first);
    EXPECT_EQ(index.Find("second", 7), second);
    EXPECT_EQ(index.Find("third", 7), nullptr);
}

TEST(NameIndex, FindsNoNameByAnotherHash)
{
    NameIndex index;
    const char* const name = "name";

    index.Add(name, 7);

    EXPECT_EQ(index.Find("name", 7 + 256), nullptr);
}

// The hashes take the slots from the last one down, and the first one before them.
TEST(NameIndex, FindsEveryNameWhileItGrows)
{
    std::vector<std::string> names;
    for (int number = 0; number < 2000; ++number) {
        names.push_back("name " + std::to_string(number));
    }
    NameIndex index;

    for (uint32 number = 0; number < names.size(); ++number) {
        index.ReserveOne();
        index.Add(names[number].c_str(), 0u - number);
    }

    for (uint32 number = 0; number < names.size(); ++number) {
        SCOPED_TRACE(number);
        EXPECT_EQ(index.Find(names[number], 0u - number), names[number].c_str());
    }
}

} // namespace
