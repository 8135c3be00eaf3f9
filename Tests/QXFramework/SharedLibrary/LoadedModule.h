// LoadedModule.h - a library or module that is loaded as long as this object lives.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>

#include <dlfcn.h>

class LoadedModule
{
public:
    explicit LoadedModule(const std::string& path)
        : mHandle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        EXPECT_NE(mHandle, nullptr) << dlerror();
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() { EXPECT_EQ(dlclose(mHandle), 0); }

    /// Where the module, which is NullModule.cpp, sees the null pointers.
    std::array<const void*, 7> GetNullAddresses() const
    {
        using Function = void(std::array<const void*, 7>*);
        std::array<const void*, 7> addresses{};
        reinterpret_cast<Function*>(dlsym(mHandle, "CopyNullAddresses"))(&addresses);
        return addresses;
    }

private:
    void* mHandle;
};
