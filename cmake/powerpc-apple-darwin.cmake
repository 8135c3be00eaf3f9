# powerpc-apple-darwin.cmake - builds for Mac OS X 10.4 and later on 32-bit PowerPC, with a current GCC.
#
#     cmake -G Ninja -B build/mac --toolchain cmake/powerpc-apple-darwin.cmake \
#       -DQX_BUILD_TESTS=OFF -DQX_BUILD_TOOLS=ON
#
# Docs/Mac.md says where the compiler and the SDK come from.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR powerpc)

set(QX_MAC_TRIPLE powerpc-apple-darwin8 CACHE STRING "Prefix of the cross tools")
set(QX_MAC_SDK /Developer/SDKs/MacOSX10.4u.sdk CACHE PATH "The SDK with the frameworks")
set(CMAKE_CXX_COMPILER ${QX_MAC_TRIPLE}-g++)
set(CMAKE_OSX_SYSROOT ${QX_MAC_SDK})
set(CMAKE_OSX_ARCHITECTURES ppc)
set(CMAKE_OSX_DEPLOYMENT_TARGET 10.4)

# The process that loads the bundle may use another C++ library.
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")
