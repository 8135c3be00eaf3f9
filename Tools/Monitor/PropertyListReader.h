// PropertyListReader.h - reads the XML property list of a request, and says where it is wrong.
//
//     std::vector<Finding> findings;
//     const PropertyList list = ReadPropertyList(document, size, findings);
//     if (const Entry* device = list.Find("CoreAudioDeviceIDKey")) { ... device->integer ... }
//
// The platform has a reader of its own, which answers null for anything that it does not like. A
// monitor's user needs the reason and the place, so this reader keeps the offset of every entry. It
// knows the whole XML form (nested values, comments, entities), and keeps of a value that is
// neither an integer nor data only what kind it is.
#pragma once

#include "Tools/Monitor/Message.h"

#include <string_view>

namespace Monitor {

/// One key of the dictionary with its value.
struct Entry
{
    std::string key;
    std::size_t keyOffset = 0; ///< where its tag begins
    std::size_t keySize = 0;   ///< to the end of its closing tag
    std::size_t valueOffset = 0;
    std::size_t valueSize = 0;
    std::string kind; ///< the value's tag: "integer", "data", "string", ...
    std::optional<SInt64> integer;
    std::optional<Bytes> data;
};

/// The top dictionary of a document, in the document's order.
struct PropertyList
{
    /// A message has two keys. A document with more than this many is not read to its end, so that
    /// what it takes to show it stays bounded.
    static constexpr std::size_t kMostEntries = 64;

    bool isDictionary = false; ///< false if the document could not be read to its end
    std::size_t offset = 0;    ///< where the dictionary's tag begins
    std::size_t size = 0;      ///< to the end of its closing tag, or 0 if there is none
    std::vector<Entry> entries;

    /// Returns the first entry of that key, or null.
    Entry* Find(std::string_view key);
};

/// Reads a document. What is wrong is appended to `findings`, with offsets into the document; an
/// error of the XML itself ends the reading, a value that does not fit its tag does not.
PropertyList ReadPropertyList(std::string_view document, std::vector<Finding>& findings);

/// Lists the dictionary, and the keys and values in it, with what they say.
std::vector<Field> ListElements(const PropertyList& list);

} // namespace Monitor
