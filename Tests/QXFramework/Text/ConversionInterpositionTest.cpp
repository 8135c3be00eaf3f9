// ConversionInterpositionTest.cpp - the framework in a process that brings the same names.
//
// This program is linked with -rdynamic and defines the exported names, and the framework's own as
// well, all of them wrong. The loader prefers a program's definitions to a library's.

#include "UTFConversion.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#define WRONG_CONVERSION(FUNCTION, SOURCE, TARGET, ...)                                            \
    QX_API ConversionResult FUNCTION(const SOURCE**, const SOURCE*, TARGET**,                      \
                                     TARGET* __VA_OPT__(, ) __VA_ARGS__)                           \
    {                                                                                              \
        return sourceIllegal;                                                                      \
    }

extern "C" {
WRONG_CONVERSION(ConvertUTF8toUTF16, UTF8, UTF16, ConversionFlags)
WRONG_CONVERSION(ConvertUTF16toUTF8, UTF16, UTF8, ConversionFlags)
QX_API Boolean isLegalUTF8Sequence(const UTF8*, const UTF8*)
{
    return 0;
}
}

namespace QX {
WRONG_CONVERSION(UTF8ToUTF16, UTF8, UTF16)
WRONG_CONVERSION(UTF16ToUTF8, UTF16, UTF8, ConversionMode)
QX_API bool IsLegalUTF8Sequence(const UTF8*, const UTF8*)
{
    return false;
}
QX_API bool IsLegalUTF8(const UTF8*, int)
{
    return false;
}
QX_API int UTF8SequenceLength(UTF8)
{
    return 1;
}
} // namespace QX

namespace {

class ConversionInterposition : public testing::Test
{
protected:
    void SetUp() override
    {
        mFramework = dlopen(QX_FRAMEWORK_FILE, RTLD_NOW | RTLD_GLOBAL);
        ASSERT_NE(mFramework, nullptr) << dlerror();
    }

    void TearDown() override { dlclose(mFramework); }

    template <class FunctionT>
    FunctionT* Find(const char* name)
    {
        return reinterpret_cast<FunctionT*>(dlsym(mFramework, name));
    }

    void* mFramework = nullptr;
};

TEST_F(ConversionInterposition, TheProgramsOwnDefinitionIsTheWrongOne)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ConvertUTF8toUTF16"),
              reinterpret_cast<void*>(&ConvertUTF8toUTF16));
    EXPECT_NE(dlsym(mFramework, "ConvertUTF8toUTF16"),
              reinterpret_cast<void*>(&ConvertUTF8toUTF16));
}

TEST_F(ConversionInterposition, LeavesTheFrameworksFunctionsAlone)
{
    const UTF8 bytes[] = {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC};
    const UTF8* from = bytes;
    UTF16 words[4] = {};
    UTF16* to = words;

    const auto convert = Find<decltype(ConvertUTF8toUTF16)>("ConvertUTF8toUTF16");
    const auto isLegal = Find<decltype(isLegalUTF8Sequence)>("isLegalUTF8Sequence");
    ASSERT_NE(convert, nullptr);
    ASSERT_NE(isLegal, nullptr);

    EXPECT_EQ(convert(&from, bytes + 6, &to, words + 4, strictConversion), conversionOK);
    EXPECT_EQ(from, bytes + 6);
    EXPECT_EQ(to, words + 3);
    EXPECT_EQ(words[2], 0x20AC);
    EXPECT_EQ(isLegal(bytes + 3, bytes + 6), 1);
}

TEST_F(ConversionInterposition, TheFrameworkExportsThePublishedNamesAndNotItsOwn)
{
    for (const char* name :
         {"ConvertUTF32toUTF16", "ConvertUTF16toUTF32", "ConvertUTF16toUTF8", "ConvertUTF8toUTF16",
          "ConvertUTF32toUTF8", "ConvertUTF8toUTF32", "isLegalUTF8Sequence"}) {
        EXPECT_NE(dlsym(mFramework, name), nullptr) << name;
    }
    for (const char* name : {"isLegalUTF8", "_ZN2QX11IsLegalUTF8EPKhi"}) {
        EXPECT_EQ(dlsym(mFramework, name), nullptr) << name;
    }
}

} // namespace
