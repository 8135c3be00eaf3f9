// Text.cpp - strings: cutting, formatting, writing into a string, and the other width.

#include <QX/QX.h>
#include <iostream>

int main()
{
    QX::String list("gain,-6.5,dB");
    QX::String rest = list.SplitToken(","); // "gain" stays
    const QX::String number = rest.SplitToken(",").ToLower();
    std::cout << list << " " << rest.ToDouble() << " " << number << "\n";

    std::cout << QX::String::Format("%-6s|%04X", list.CStr(), 255) << "\n";

    QX::String name("abc");
    const QX::String copy = name;     // one buffer, two strings
    char* const field = name.Lock(8); // a buffer of its own, with room for 7 characters
    field[0] = 'A';
    name.Release();
    std::cout << name << " " << copy << "\n";

    const QX::String16 wide("\xE2\x82\xAC 5"); // the euro sign has three bytes in UTF-8
    std::cout << wide.GetLength() << " units, " << QX::String(wide).GetLength() << " bytes\n";

    const UTF8 bytes[] = {'a', 0xC3}; // the second character is cut
    const UTF8* source = bytes;
    UTF16 units[2];
    UTF16* target = units;
    const ConversionResult result =
        ConvertUTF8toUTF16(&source, bytes + 2, &target, units + 2, strictConversion);
    std::cout << (result == sourceExhausted ? "exhausted" : "whole") << " after " << target - units
              << " unit\n";
}
