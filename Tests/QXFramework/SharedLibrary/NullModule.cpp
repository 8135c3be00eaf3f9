// NullModule.cpp - a loadable module that tells where it sees the null pointers.

#include "NullAddresses.h"

extern "C" {
QX_API void CopyNullAddresses(NullAddresses* addresses);
}

void CopyNullAddresses(NullAddresses* addresses)
{
    *addresses = GetOwnNullAddresses();
}
