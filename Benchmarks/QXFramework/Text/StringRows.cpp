// StringRows.cpp - what do strings cost beside std::string and QByteArray?
//
// A copy of the product's strings and of a QByteArray is one count, whatever the length.

#include "Rows.h"

#include <QX/String.h>

#ifdef QX_PEER_QT
#include <QByteArray>
#endif

#include <string>

namespace rows {
namespace {

using QX::String;

const char* const kPiece = "0123456789abcdef";

String SubString(const String& text)
{
    return text.GetSubString(100, 64);
}

std::string SubString(const std::string& text)
{
    return text.substr(100, 64);
}

#ifdef QX_PEER_QT
QByteArray SubString(const QByteArray& text)
{
    return text.mid(100, 64);
}
#endif

template <class Text>
void AddMake(const char* library, int length)
{
    AddRow("string.make." + std::to_string(length), library, 1, [length] {
        return [source = std::string(static_cast<std::size_t>(length), 'x')] {
            const char* characters = source.c_str();
            benchmark::DoNotOptimize(characters);
            const Text text(characters);
            benchmark::DoNotOptimize(&text);
            benchmark::ClobberMemory();
        };
    });
}

template <class Text>
void AddEqual(const char* library, int length)
{
    AddRow("string.equal." + std::to_string(length), library, 1, [length] {
        const std::string source(static_cast<std::size_t>(length), 'x');
        return [left = Text(source.c_str()), right = Text(source.c_str())] {
            benchmark::DoNotOptimize(&left);
            benchmark::DoNotOptimize(&right);
            benchmark::ClobberMemory();
            bool areEqual = left == right;
            benchmark::DoNotOptimize(areEqual);
        };
    });
}

template <class Text>
void AddAppends(const char* library)
{
    AddRow("string.append-16", library, 64, [] {
        return [piece = Text(kPiece)] {
            Text text;
            for (int count = 0; count < 64; ++count) {
                text += piece;
            }
            benchmark::DoNotOptimize(&text);
            benchmark::ClobberMemory();
        };
    });
    AddRow("string.append-1", library, 256, [] {
        return [] {
            Text text;
            for (int count = 0; count < 256; ++count) {
                text += 'x';
            }
            benchmark::DoNotOptimize(&text);
            benchmark::ClobberMemory();
        };
    });
    AddRow("string.copy-and-append", library, 1, [] {
        return [text = Text(std::string(64, 'x').c_str()), piece = Text(kPiece)] {
            Text copy(text);
            copy += piece;
            benchmark::DoNotOptimize(&copy);
            benchmark::ClobberMemory();
        };
    });
}

template <class Text>
void AddAll(const char* library)
{
    for (const int length : {16, 64, 1024}) {
        AddMake<Text>(library, length);
        AddEqual<Text>(library, length);
    }
    AddAppends<Text>(library);
    AddRow("string.copy", library, 1, [] {
        return [text = Text(std::string(64, 'x').c_str())] {
            const Text copy(text);
            benchmark::DoNotOptimize(&copy);
            benchmark::ClobberMemory();
        };
    });
    AddRow("string.substring", library, 1, [] {
        return [text = Text(std::string(1024, 'x').c_str())] {
            const Text part = SubString(text);
            benchmark::DoNotOptimize(&part);
            benchmark::ClobberMemory();
        };
    });
}

} // namespace

void AddStringRows()
{
    AddAll<String>("QX");
    AddAll<std::string>("std");
#ifdef QX_PEER_QT
    AddAll<QByteArray>("Qt");
#endif
}

} // namespace rows
