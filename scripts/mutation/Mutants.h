// Mutants.h - what the instrumented sources of a mutation run call.
//
// Each mutant has a number, and its place in the source calls On(number), which returns whether it
// is the one that QX_MUTANT names. It returns false while the compiler evaluates a constant: such
// constants never change. Each call marks the mutant as reached in the file that QX_MUTANTS_REACHED
// names, also in processes that a test starts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>

namespace QXMutants {

inline constexpr std::size_t kMostMutants = 65536;

// Each program, and each library that it loads, has its own copies. The compiler initialises them,
// and Start allocates nothing: the first call may come from a static object's constructor or a
// failing heap.
inline unsigned char gUnrecorded[kMostMutants];
inline unsigned char* gReached = nullptr;
inline int gMutant = 0;

[[gnu::noinline, gnu::cold]] inline void Start()
{
    const char* const mutant = std::getenv("QX_MUTANT");
    gMutant = mutant != nullptr ? std::atoi(mutant) : 0;
    gReached = gUnrecorded;
    const char* const path = std::getenv("QX_MUTANTS_REACHED");
    const int file = path != nullptr ? open(path, O_RDWR) : -1;
    if (file < 0) {
        return;
    }
    void* const map = mmap(nullptr, kMostMutants, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (map != MAP_FAILED) {
        gReached = static_cast<unsigned char*>(map);
    }
}

inline bool Ask(int number)
{
    if (gReached == nullptr) {
        Start();
    }
    gReached[number] = 1;
    return number == gMutant;
}

constexpr bool On(int number)
{
    return !std::is_constant_evaluated() && Ask(number);
}

/// The value, or another one of its type.
template <class T>
constexpr T Next(int number, T value)
{
    if constexpr (std::is_same_v<T, bool>) {
        return On(number) != value;
    } else if constexpr (std::is_enum_v<T>) {
        const auto word = static_cast<std::underlying_type_t<T>>(value);
        return On(number) ? static_cast<T>(word + 1) : value;
    } else {
        static_assert(std::is_arithmetic_v<T>);
        return On(number) ? static_cast<T>(value + 1) : value;
    }
}

/// The opposite answer; for a vector, the opposite of each of its units.
template <class T>
constexpr T Turned(int number, const T& answer)
{
    if constexpr (std::is_same_v<T, bool>) {
        return On(number) != answer;
    } else {
        return On(number) ? ~answer : answer;
    }
}

template <class T>
constexpr T Other(int number, T value, std::type_identity_t<T> other)
{
    return On(number) ? other : value;
}

// Also for an unsigned word, so that adding the result subtracts it.
template <class T>
constexpr auto Negative(int number, T value)
{
    static_assert(std::is_arithmetic_v<T>);
    if constexpr (std::is_floating_point_v<T>) {
        return On(number) ? -value : value;
    } else {
        const auto wide = static_cast<std::ptrdiff_t>(value);
        return On(number) ? -wide : wide;
    }
}

template <class T, class U>
constexpr auto Plus(int number, T left, U right)
{
    return On(number) ? left - right : left + right;
}

template <class T, class U>
constexpr auto Minus(int number, T left, U right)
{
    return On(number) ? left + right : left - right;
}

template <class T>
constexpr T& Up(int number, T& value)
{
    return On(number) ? --value : ++value;
}

template <class T>
constexpr T& Down(int number, T& value)
{
    return On(number) ? ++value : --value;
}

// Two mutants: one moves the limit by one, one gives the opposite answer.
template <class Operator, class Moved, class T, class U>
constexpr bool Compare(int border, int turned, const T& left, const U& right)
{
    const bool answer = On(border) ? Moved()(left, right) : Operator()(left, right);
    return On(turned) != answer;
}

} // namespace QXMutants
