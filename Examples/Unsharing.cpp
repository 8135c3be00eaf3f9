// Unsharing.cpp - a holder that gets an object of its own before it writes.

#include <QX/QX.h>
#include <iostream>

int main()
{
    const auto shared = QX::LByteBuffer::Create(1, 0, true);
    *shared->GetPtr<char>(0) = 'a';
    auto mine = shared; // two holders, one buffer
    mine.Unshare();     // a copy: one holder each
    *mine->GetPtr<char>(0) = 'b';
    std::cout << *shared->GetPtr<char>(0) << *mine->GetPtr<char>(0) << "\n";

    shared->SetUnshareable(true); // one holder and no more
    const auto other = shared;    // so this copies at once
    std::cout << (other == shared ? "one buffer\n" : "two buffers\n");
}
