// Exception.h - exceptions that are at once the standard library's and the framework's.
//
// An Exception<T> is caught as itself, as T, as std::exception or as ExceptionBase, and gives the
// same text each way. The text names the kind, the message and the position of the throw:
//
//     try {
//         center->Undo(before, after);
//     } catch (const std::logic_error& error) {
//         error.what(); // "Logic Error : Undo() not implemented for RefCountedObject :  : "
//     }                 // "ObjectBase/RefCountedObject : Line 157"
//
// Exceptions report misuse and impossible requests; operations on data return result codes. What
// the standard library throws, such as std::bad_alloc, passes as it is and is no ExceptionBase.
//
// Threads: any; an exception belongs to the thread that catches it.
#pragma once

#include <QX/Types.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace QX {

/// The framework's part of an Exception<T>. It has no data: the text is in the standard exception
/// that the thrown object also is.
class QX_API ExceptionBase
{
public:
    // Slot order is fixed; append only.
    virtual ~ExceptionBase();

    /// Returns the text of the standard exception that this object also is, or "" if it is none.
    /// The text belongs to the exception object.
    virtual const char* What() const;
};

/// A standard exception of type T that is an ExceptionBase too.
template <class T>
class QX_API Exception : public T, public ExceptionBase
{
public:
    /// Holds `text` unchanged; a null pointer counts as "".
    explicit Exception(const char* text)
        : T(text != nullptr ? text : "")
    {}
    explicit Exception(const std::string& text)
        : T(text)
    {}
};

/// Where an exception text says that it was thrown. The position is part of the text's contract,
/// so it is data and not the position of the code.
struct ThrowSite
{
    const char* path; ///< a fixed label, in the form of a path without extension
    int line;         ///< fixed too; neither need match a file of today
};

/// The word that begins the text of an Exception<T>, with its separator.
template <class T>
inline constexpr const char* kExceptionKind = nullptr;
template <>
inline constexpr const char* kExceptionKind<std::logic_error> = "Logic Error : ";
template <>
inline constexpr const char* kExceptionKind<std::runtime_error> = "Runtime Error : ";
template <>
inline constexpr const char* kExceptionKind<std::domain_error> = "Domain Error : ";
template <>
inline constexpr const char* kExceptionKind<std::out_of_range> = "Out of Range : ";

/// Returns the text of an exception: `kind`, the message followed by " : " (neither if it is
/// empty), the separator of an empty field, the path, and the line.
QX_API std::string ComposeExceptionText(const char* kind, std::string_view message, ThrowSite site);

/// Throws an Exception<T> with the composed text.
template <class T>
[[noreturn]] void ThrowException(std::string_view message, ThrowSite site)
{
    static_assert(kExceptionKind<T> != nullptr, "T must be one of the four types above");
    throw Exception<T>(ComposeExceptionText(kExceptionKind<T>, message, site));
}

} // namespace QX
