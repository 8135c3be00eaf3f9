// Errors.cpp - what answers with a code, and what throws.

#include <QX/QX.h>
#include <iostream>

int main()
{
    QX::RCPtrArray<QX::LIBuffer, 1, 0> buffers;
    // An operation on data answers with a code: negative if it failed, with nothing changed.
    if (buffers.Insert(9, 1) == QX::kResultOutOfRange) {
        std::cout << "out of range\n";
    }
    // Misuse throws, and the exception is one of the standard library's too.
    try {
        QX::RCPtr<QX::LIBuffer> removed;
        buffers.RemoveItem(0, removed);
    } catch (const std::out_of_range& error) {
        std::cout << error.what() << "\n";
    }
    try {
        throw QX::Exception<std::runtime_error>("no device");
    } catch (const QX::ExceptionBase& error) {
        std::cout << error.What() << "\n";
    }
}
