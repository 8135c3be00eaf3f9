// WidthRows.cpp - what does a string made from one of the other width cost beside Qt's?

#include "Rows.h"

#include <QX/String.h>

#ifdef QX_PEER_QT
#include <QString>
#endif

#include <string>

namespace rows {
namespace {

using QX::String;
using QX::String16;

template <class Target, class Source>
void Add(const std::string& row, const char* library, const Source& source)
{
    AddRow(row, library, 1, [source] {
        return [source] {
            const Target target(source);
            benchmark::DoNotOptimize(&target);
            benchmark::ClobberMemory();
        };
    });
}

void AddText(const std::string& name, const std::string& text)
{
    const String narrow(text.c_str());
    Add<String16>("width.8-to-16." + name, "QX", narrow);
    Add<String>("width.16-to-8." + name, "QX", String16(narrow));
#ifdef QX_PEER_QT
    const QByteArray bytes(text.c_str());
    AddRow("width.8-to-16." + name, "Qt", 1, [bytes] {
        return [bytes] {
            const QString wide = QString::fromUtf8(bytes);
            benchmark::DoNotOptimize(&wide);
            benchmark::ClobberMemory();
        };
    });
    AddRow("width.16-to-8." + name, "Qt", 1, [wide = QString::fromUtf8(bytes)] {
        return [wide] {
            const QByteArray target = wide.toUtf8();
            benchmark::DoNotOptimize(&target);
            benchmark::ClobberMemory();
        };
    });
#endif
}

} // namespace

void AddWidthRows()
{
    AddText("ascii-64", std::string(64, 'x'));
    AddText("ascii-4096", std::string(4096, 'x'));
    std::string ideographs;
    while (ideographs.size() < 4096) {
        ideographs += "春";
    }
    AddText("cjk-4096", ideographs);
}

} // namespace rows
