// ElementList.cpp - the elements of a property list, one by one.

#include "Tools/Common/Text.h"
#include "Tools/Monitor/PropertyListReader.h"

namespace Monitor {
namespace {

using Tools::FormatText;

std::string DescribeValue(const Entry& entry)
{
    if (entry.integer) {
        return FormatText("%lld", *entry.integer);
    }
    return entry.data ? Tools::Count(entry.data->size(), "byte") : "";
}

} // namespace

std::vector<Field> ListElements(const PropertyList& list)
{
    std::vector<Field> elements;
    if (list.size > 0) {
        elements.push_back(
            {list.offset, list.size, "<dict>", Tools::Count(list.entries.size(), "key")});
    }
    for (const Entry& entry : list.entries) {
        elements.push_back({entry.keyOffset, entry.keySize, "<key>", Tools::Shorten(entry.key)});
        elements.push_back(
            {entry.valueOffset, entry.valueSize, "<" + entry.kind + ">", DescribeValue(entry)});
    }
    return elements;
}

} // namespace Monitor
